#include "base/LinkedList.h"

#include <gtest/gtest.h>

#include <list>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Node = LinkedListNode<std::string>;

// Random edits against a std::list model. Every position handed out must keep naming its element,
// and the chain must agree both ways with the count and the tail.
TEST(LinkedList, MatchesAModelUnderRandomEdits) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    LinkedList<std::string> list;
    std::list<std::pair<std::string, __POSITION*>> model;
    for (int step = 0; step < 2000; ++step) {
        const unsigned op = rng() % 6;
        const bool empty = model.empty();
        if (op <= 2) {
            const std::string value = std::to_string(step);
            model.emplace_back(value, list.AddTail(value));
        } else if (op == 3) {
            auto it = std::next(model.begin(), empty ? 0 : rng() % model.size());
            ASSERT_EQ(list.RemoveAt(empty ? nullptr : it->second), !empty);
            if (!empty)
                model.erase(it);
        } else if (op == 4) {
            ASSERT_EQ(list.RemoveHead(), !empty);
            if (!empty)
                model.pop_front();
        } else {
            ASSERT_EQ(list.RemoveTail(), !empty);
            if (!empty)
                model.pop_back();
        }
        Node* prev = nullptr;
        __POSITION* pos = list.GetHeadPosition();
        for (auto& [value, held] : model) {
            ASSERT_EQ(pos, held) << "step " << step;
            ASSERT_EQ(reinterpret_cast<Node*>(pos)->prev, prev);
            prev = reinterpret_cast<Node*>(pos);
            ASSERT_EQ(list.GetNext(pos), value);
        }
        ASSERT_EQ(pos, nullptr);
        ASSERT_EQ(list.GetCount(), model.size());
        if (prev) {
            ASSERT_EQ(&list.GetTail(), &prev->value);
        }
    }
}

using LinkedListDeathTest = ::testing::Test;

TEST_F(LinkedListDeathTest, EmptyTailAndNullPositionStopTheProgram) {
    LinkedList<std::string> list;
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file LinkedList, line [0-9]+");
    EXPECT_DEATH(list.GetAt(nullptr), "\\(node\\), function GetAt, file LinkedList, line [0-9]+");
}

} // namespace
