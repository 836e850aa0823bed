#include "base/BList.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

struct BListTestPeer {
    template <class T> static void SetNextId(BList<T>& list, std::uint32_t id) {
        list.m_nextId = id;
    }

    // Walks the chain both ways, checks the invariant and returns (id, value) from the head.
    template <class T> static std::vector<std::pair<std::uint32_t, T>> Chain(BList<T>& list) {
        std::vector<std::pair<std::uint32_t, T>> out;
        BListNode<T>* prev = nullptr;
        for (BListNode<T>* node = list.m_head; node; node = node->next) {
            EXPECT_EQ(node->prev, prev);
            EXPECT_NE(node->id, 0u);
            out.emplace_back(node->id, node->value);
            prev = node;
        }
        EXPECT_EQ(list.m_tail, prev);
        EXPECT_EQ(list.m_head == nullptr, list.m_count == 0);
        EXPECT_EQ(list.m_count, out.size());
        return out;
    }
};

namespace {

using List = BList<std::string>;
using Node = BListNode<std::string>;

Node* NodeOf(__POSITION* pos) {
    return reinterpret_cast<Node*>(pos);
}

std::vector<std::string> Values(List& list) {
    std::vector<std::string> out;
    for (auto& item : BListTestPeer::Chain(list))
        out.push_back(item.second);
    return out;
}

std::vector<std::uint32_t> Ids(List& list) {
    std::vector<std::uint32_t> out;
    for (auto& item : BListTestPeer::Chain(list))
        out.push_back(item.first);
    return out;
}

__POSITION* Add(List& list, const char* text) {
    std::string value = text;
    return list.AddTail(value);
}

// Counts live instances, so that a test can see every stored copy destroyed with its node.
struct Tracked {
    static int live;
    int value = 0;
    Tracked() { ++live; }
    Tracked(const Tracked& other) : value(other.value) { ++live; }
    Tracked& operator=(const Tracked& other) = default;
    ~Tracked() { --live; }
};
int Tracked::live = 0;

TEST(BListTest, NewListIsEmptyAndNumbersNodesFromOne) {
    List list;
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    Add(list, "a");
    Add(list, "b");
    EXPECT_EQ(Ids(list), (std::vector<std::uint32_t>{1, 2}));
}

TEST(BListTest, NumberingSkipsZeroAfterTheLargestId) {
    List list;
    BListTestPeer::SetNextId(list, 0xFFFFFFFFu);
    Add(list, "a");
    Add(list, "b");
    EXPECT_EQ(Ids(list), (std::vector<std::uint32_t>{0xFFFFFFFFu, 1u}));
}

TEST(BListTest, RemovingEverythingDoesNotRestartNumbering) {
    List list;
    Add(list, "a");
    Add(list, "b");
    list.RemoveAll();
    EXPECT_EQ(Values(list), std::vector<std::string>{});
    Add(list, "c");
    EXPECT_EQ(Ids(list), (std::vector<std::uint32_t>{3}));
}

TEST(BListTest, InsertBeforeNullHeadOrOnEmptyListPutsElementFirst) {
    struct Case {
        std::vector<const char*> initial;
        int at; // index of the position passed, -1 for null
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {{}, -1, {"new"}},
        {{"a", "b"}, -1, {"new", "a", "b"}},
        {{"a", "b"}, 0, {"new", "a", "b"}},
        {{"a", "b"}, 1, {"a", "new", "b"}},
        {{"a", "b", "c"}, 2, {"a", "b", "new", "c"}},
    };
    for (const Case& c : cases) {
        List list;
        std::vector<__POSITION*> positions;
        for (const char* text : c.initial)
            positions.push_back(Add(list, text));
        std::string value = "new";
        __POSITION* pos = list.InsertBefore(c.at < 0 ? nullptr : positions[c.at], value);
        EXPECT_EQ(Values(list), c.expected) << "at " << c.at;
        EXPECT_EQ(NodeOf(pos)->value, "new");
        EXPECT_EQ(NodeOf(pos)->id, c.initial.size() + 1);
    }
}

TEST(BListTest, StoresItsOwnCopyAndDestroysItWithTheNode) {
    {
        BList<Tracked> list;
        Tracked mine;
        mine.value = 7;
        list.AddTail(mine);
        mine.value = 8;
        EXPECT_EQ(list.GetTail().value, 7);
        list.GetTail().value = 9;
        EXPECT_EQ(mine.value, 8);
        list.AddHead(mine);
        list.AddTail(mine);
        EXPECT_EQ(Tracked::live, 4);
        list.RemoveHead();
        EXPECT_EQ(Tracked::live, 3);
        list.RemoveAll();
        EXPECT_EQ(Tracked::live, 1);
        list.AddTail(mine);
        list.AddTail(mine);
    }
    EXPECT_EQ(Tracked::live, 0);
}

// Random operations against a vector of (id, value): order, ids, counts, removal results and every
// position still held must agree after every step.
TEST(BListTest, RandomOperationsMatchAVectorModelAndKeepPositionsValid) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    for (int round = 0; round < 50; ++round) {
        List list;
        std::vector<std::pair<std::uint32_t, std::string>> model;
        std::vector<__POSITION*> positions; // parallel to model
        std::uint32_t nextId = 1;
        for (int step = 0; step < 200; ++step) {
            std::string value = std::to_string(rng() % 1000);
            const std::size_t n = model.size();
            const std::size_t pick = n ? rng() % n : 0;
            switch (rng() % 8) {
            case 0:
                positions.insert(positions.begin(), list.AddHead(value));
                model.insert(model.begin(), {nextId++, value});
                break;
            case 1:
            case 2:
                positions.push_back(list.AddTail(value));
                model.push_back({nextId++, value});
                break;
            case 3: {
                const bool null = n == 0 || rng() % 4 == 0;
                const std::size_t at = null ? 0 : pick;
                __POSITION* pos = list.InsertBefore(null ? nullptr : positions[at], value);
                positions.insert(positions.begin() + at, pos);
                model.insert(model.begin() + at, {nextId++, value});
                break;
            }
            case 4:
                ASSERT_EQ(list.RemoveAt(n ? positions[pick] : nullptr), n != 0);
                if (n) {
                    positions.erase(positions.begin() + pick);
                    model.erase(model.begin() + pick);
                }
                break;
            case 5:
                ASSERT_EQ(list.RemoveHead(), n != 0);
                if (n) {
                    positions.erase(positions.begin());
                    model.erase(model.begin());
                }
                break;
            case 6:
                ASSERT_EQ(list.RemoveTail(), n != 0);
                if (n) {
                    positions.pop_back();
                    model.pop_back();
                }
                break;
            case 7:
                if (rng() % 10 == 0) {
                    list.RemoveAll();
                    positions.clear();
                    model.clear();
                }
                break;
            }
            ASSERT_EQ(BListTestPeer::Chain(list), model) << "step " << step;
            for (std::size_t i = 0; i < model.size(); ++i) {
                ASSERT_EQ(NodeOf(positions[i])->id, model[i].first);
            }
            if (!model.empty()) {
                ASSERT_EQ(list.GetTail(), model.back().second);
            }
        }
    }
}

using BListDeathTest = ::testing::Test;

TEST_F(BListDeathTest, TailOfEmptyListStopsNamingTheNode) {
    List list;
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file BList, line [0-9]+");
    Add(list, "a");
    list.RemoveTail();
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file BList");
}

} // namespace
