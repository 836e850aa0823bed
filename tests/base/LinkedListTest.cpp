#include "base/LinkedList.h"

#include "support/Seed.h"
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
    const TestSeed seed;
    std::mt19937 random(seed.value);
    LinkedList<std::string> list;
    std::vector<std::pair<__POSITION*, std::string>> model;
    for (int step = 0; step < 2000; ++step) {
        const std::size_t pick = model.empty() ? 0 : random() % model.size();
        const unsigned op = random() % 6;
        const bool empty = model.empty();
        if (op < 2) {
            model.emplace_back(nullptr, std::to_string(step));
            model.back().first = list.AddTail(model.back().second);
        } else if (op < 5) { // RemoveAt a held position (null on an empty list), head, tail
            const std::size_t at = op == 2 ? pick : op == 3 ? 0 : model.size() - 1;
            ASSERT_EQ(op == 2   ? list.RemoveAt(empty ? nullptr : model[pick].first)
                      : op == 3 ? list.RemoveHead()
                                : list.RemoveTail(),
                      !empty);
            if (!empty)
                model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
        } else if (random() % 50 == 0) {
            list.RemoveAll();
            model.clear();
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
