#include "base/LinkedList.h"

#include "support/Testing.h"

namespace {

using LinkedListDeathTest = ::testing::Test;

TEST_F(LinkedListDeathTest, EmptyTailAndNullPositionStopTheProgram) {
    LinkedList<std::string> list;
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file LinkedList, line [0-9]+");
    EXPECT_DEATH(list.GetAt(nullptr), "\\(node\\), function GetAt, file LinkedList, line [0-9]+");
}

// Random adds and removals against a vector of (position, value): after every step the list holds
// the model's values in order, and every position still held reaches its own value.
TEST(LinkedList, RandomOperationsKeepOrderAndOtherPositionsValid) {
    const std::uint32_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    LinkedList<std::string> list;
    std::vector<std::pair<__POSITION*, std::string>> model;
    for (int step = 0; step < 2000; ++step) {
        const std::size_t pick = model.empty() ? 0 : random() % model.size();
        switch (random() % 6) {
        case 0:
        case 1:
            model.emplace_back(nullptr, std::to_string(step));
            model.back().first = list.AddTail(model.back().second);
            break;
        case 2:
            ASSERT_EQ(list.RemoveAt(model.empty() ? nullptr : model[pick].first), !model.empty());
            if (!model.empty())
                model.erase(model.begin() + static_cast<std::ptrdiff_t>(pick));
            break;
        case 3:
            ASSERT_EQ(list.RemoveHead(), !model.empty());
            if (!model.empty())
                model.erase(model.begin());
            break;
        case 4:
            ASSERT_EQ(list.RemoveTail(), !model.empty());
            if (!model.empty())
                model.pop_back();
            break;
        default:
            if (random() % 50 == 0) {
                list.RemoveAll();
                model.clear();
            }
        }
        ASSERT_EQ(list.GetCount(), model.size());
        __POSITION* pos = list.GetHeadPosition();
        for (const auto& [held, value] : model) {
            ASSERT_EQ(pos, held);
            ASSERT_EQ(list.GetNext(pos), value);
        }
        ASSERT_EQ(pos, nullptr);
        if (!model.empty()) {
            ASSERT_EQ(list.GetTail(), model.back().second);
        }
    }
}

} // namespace
