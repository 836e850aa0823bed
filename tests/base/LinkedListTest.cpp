#include "base/LinkedList.h"

#include <gtest/gtest.h>

#include <list>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Node = LinkedListNode<std::string>;

Node* NodeOf(__POSITION* pos) {
    return reinterpret_cast<Node*>(pos);
}

// The elements head to tail, checking the back links and the count on the way.
std::vector<std::string> Walk(LinkedList<std::string>& list) {
    std::vector<std::string> out;
    Node* prev = nullptr;
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;) {
        EXPECT_EQ(NodeOf(pos)->prev, prev);
        prev = NodeOf(pos);
        out.push_back(list.GetNext(pos));
    }
    EXPECT_EQ(out.size(), list.GetCount());
    if (prev != nullptr) {
        EXPECT_EQ(&list.GetTail(), &prev->value);
    }
    return out;
}

// Counts live elements, so that a leaked or doubly destroyed element shows.
struct Counted {
    static int live;
    int value = 0;
    Counted() { ++live; }
    Counted(const Counted& other) : value(other.value) { ++live; }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --live; }
};
int Counted::live = 0;

TEST(LinkedList, AddTailOnEmptyMakesHeadAndTail) {
    LinkedList<std::string> list;
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    __POSITION* pos = list.AddTail(std::string("a"));
    EXPECT_EQ(list.GetHeadPosition(), pos);
    EXPECT_EQ(&list.GetTail(), &list.GetAt(pos));
    EXPECT_EQ(list.GetCount(), 1u);
    EXPECT_EQ(NodeOf(pos)->prev, nullptr);
    EXPECT_EQ(NodeOf(pos)->next, nullptr);
}

TEST(LinkedList, AddTailStoresACopy) {
    LinkedList<std::string> list;
    std::string value = "before";
    __POSITION* pos = list.AddTail(value);
    value = "after";
    EXPECT_EQ(list.GetAt(pos), "before");
}

TEST(LinkedList, RemovingTheOnlyNodeEmptiesTheList) {
    for (int how = 0; how < 3; ++how) {
        LinkedList<std::string> list;
        __POSITION* pos = list.AddTail(std::string("x"));
        bool removed = how == 0   ? list.RemoveAt(pos)
                       : how == 1 ? list.RemoveHead()
                                  : list.RemoveTail();
        EXPECT_TRUE(removed) << how;
        EXPECT_EQ(list.GetCount(), 0u) << how;
        EXPECT_EQ(list.GetHeadPosition(), nullptr) << how;
        list.AddTail(std::string("y"));
        EXPECT_EQ(Walk(list), std::vector<std::string>{"y"}) << "tail was reset too, " << how;
    }
}

TEST(LinkedList, RemovalsOnAnEmptyListOrNullPositionReturnFalse) {
    LinkedList<std::string> list;
    EXPECT_FALSE(list.RemoveHead());
    EXPECT_FALSE(list.RemoveTail());
    EXPECT_FALSE(list.RemoveAt(nullptr));
    list.AddTail(std::string("a"));
    EXPECT_FALSE(list.RemoveAt(nullptr));
    EXPECT_EQ(list.GetCount(), 1u);
    list.RemoveAll();
    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0u);
}

TEST(LinkedList, ElementsAreDestroyedWithTheirNodes) {
    {
        LinkedList<Counted> list;
        Counted c;
        for (int i = 0; i < 5; ++i)
            list.AddTail(c);
        EXPECT_EQ(Counted::live, 6);
        list.RemoveHead();
        list.RemoveTail();
        list.RemoveAt(list.GetHeadPosition());
        EXPECT_EQ(Counted::live, 3);
    }
    EXPECT_EQ(Counted::live, 0);
}

// Random edits against a std::list model. Every position handed out must keep naming its element.
TEST(LinkedList, MatchesAModelUnderRandomEdits) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    LinkedList<std::string> list;
    std::list<std::pair<std::string, __POSITION*>> model;
    int next = 0;
    for (int step = 0; step < 2000; ++step) {
        int op = static_cast<int>(rng() % 5);
        if (op <= 1 || model.empty()) {
            std::string value = std::to_string(next++);
            model.emplace_back(value, list.AddTail(value));
        } else if (op == 2) {
            auto it = model.begin();
            std::advance(it, rng() % model.size());
            ASSERT_TRUE(list.RemoveAt(it->second));
            model.erase(it);
        } else if (op == 3) {
            ASSERT_TRUE(list.RemoveHead());
            model.pop_front();
        } else {
            ASSERT_TRUE(list.RemoveTail());
            model.pop_back();
        }
        if (step % 50 == 0 || model.size() < 3) {
            std::vector<std::string> expected;
            for (auto& [value, pos] : model) {
                expected.push_back(value);
                ASSERT_EQ(list.GetAt(pos), value) << "position moved at step " << step;
            }
            ASSERT_EQ(Walk(list), expected) << "step " << step;
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
