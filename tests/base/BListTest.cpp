#include "base/BList.h"

#include "support/Seed.h"
#include "support/Testing.h"

using Entry = std::tuple<__POSITION*, std::uint32_t, std::string>;

struct BListTestPeer {
    static void SetNextId(BList<std::string>& list, std::uint32_t id) { list.m_nextId = id; }

    // Walks the chain both ways, checks the links, the count and the tail; each node's position, id
    // and value from the head.
    static std::vector<Entry> Chain(BList<std::string>& list) {
        std::vector<Entry> out;
        BListNode<std::string>* prev = nullptr;
        for (BListNode<std::string>* node = list.m_head; node; prev = node, node = node->next) {
            EXPECT_EQ(node->prev, prev);
            out.emplace_back(reinterpret_cast<__POSITION*>(node), node->id, node->value);
        }
        EXPECT_EQ(list.m_tail, prev);
        EXPECT_EQ(list.m_count, out.size());
        return out;
    }
};

// Random operations against a vector of (position, id, value): every position handed out keeps
// naming its node. Ids count up from 1 (or from just below the wrap), skip 0 and are not reset by
// RemoveAll.
TEST(BListTest, RandomOperationsMatchAVectorModelAndKeepPositionsValid) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    for (int round = 0; round < 50; ++round) {
        BList<std::string> list;
        std::uint32_t nextId = round % 2 ? 0xFFFFFFFFu - rng() % 8 : 1;
        BListTestPeer::SetNextId(list, nextId);
        std::vector<Entry> model;
        for (int step = 0; step < 200; ++step) {
            std::string value = std::to_string(rng() % 1000);
            const std::size_t n = model.size();
            const std::size_t pick = n ? rng() % n : 0;
            const unsigned op = rng() % 8;
            if (op <= 3) { // AddHead, AddTail, InsertBefore null, InsertBefore a held position
                const std::size_t at = op == 1 ? n : op == 3 ? pick : 0;
                __POSITION* before = op == 3 && n ? std::get<0>(model[at]) : nullptr;
                __POSITION* pos = op == 0   ? list.AddHead(value)
                                  : op == 1 ? list.AddTail(value)
                                            : list.InsertBefore(before, value);
                model.insert(model.begin() + at, {pos, nextId, value});
                nextId = nextId == 0xFFFFFFFFu ? 1 : nextId + 1;
            } else if (op <= 6) {
                const std::size_t at = op == 4 ? pick : op == 5 ? 0 : n - 1;
                ASSERT_EQ(op == 4   ? list.RemoveAt(n ? std::get<0>(model[at]) : nullptr)
                          : op == 5 ? list.RemoveHead()
                                    : list.RemoveTail(),
                          n != 0);
                if (n)
                    model.erase(model.begin() + at);
            } else if (rng() % 10 == 0) {
                list.RemoveAll();
                model.clear();
            }
            ASSERT_EQ(BListTestPeer::Chain(list), model)
                << "round " << round << ", step " << step << ", op " << op;
        }
    }
}

using BListDeathTest = ::testing::Test;

TEST_F(BListDeathTest, TailOfEmptyListStopsNamingTheNode) {
    BList<std::string> list;
    EXPECT_DEATH(list.GetTail(), "\\(node\\), function GetTail, file BList, line [0-9]+");
}
