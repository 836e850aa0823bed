#include "base/StrList.h"

#include "base/BFilename.h"

#include "ListModel.h"

#include "support/Seed.h"
#include "support/Testing.h"

namespace {

using Node = BListNode<Str>;
using Texts = std::vector<std::string>;

const auto NodeOf = [](__POSITION* pos) { return reinterpret_cast<Node*>(pos); };

using listmodel::Nodes;

// Each element's text, after its id when asked.
Texts Contents(StrList& list, bool withIds = false) {
    Texts out;
    for (Node* node : Nodes(list))
        out.push_back((withIds ? std::to_string(node->id) + " " : "") +
                      static_cast<const char*>(node->value));
    return out;
}

void Fill(StrList& list, const Texts& texts) {
    for (const std::string& text : texts) {
        Str value(text.c_str());
        list.AddTail(value);
    }
}

TEST(StrListTest, FindAddUniqueAndCombine) {
    enum Op { Find, AddUnique, Combine, CombineUnique, CombineSelf, CombineSelfUnique };
    // The other list holds the text looked for or the list combined; id is the returned node's
    // (0 for null).
    const struct {
        const char* name;
        Op op;
        Texts start;
        Texts others;
        Texts after;
        std::uint32_t id;
    } rows[] = {
        {"Find: empty", Find, {}, {"abc"}, {}, 0},
        {"Find: exact", Find, {"ABC", "abcd", "ab"}, {"abc"}, {"ABC", "abcd", "ab"}, 0},
        {"Find: first match", Find, {"x", "abc", "abc"}, {"abc"}, {"x", "abc", "abc"}, 2},
        {"AddUnique: present", AddUnique, {"a", "b", "a"}, {"a"}, {"a", "b", "a"}, 1},
        {"AddUnique: new", AddUnique, {"a", "b", "a"}, {"A"}, {"a", "b", "a", "A"}, 4},
        {"CombineUnique: into empty", CombineUnique, {}, {"x", "y", "x"}, {"x", "y"}, 0},
        {"CombineUnique: first kept", CombineUnique, {"y"}, {"x", "y", "z"}, {"y", "x", "z"}, 0},
        {"CombineSelf: doubles", CombineSelf, {"a", "a"}, {}, {"a", "a", "a", "a"}, 0},
        {"Combine: appends all", Combine, {"y"}, {"x", "y", "x"}, {"y", "x", "y", "x"}, 0},
        {"CombineSelfUnique: same", CombineSelfUnique, {"a", "b", "a"}, {}, {"a", "b", "a"}, 0},
    };
    for (const auto& [name, op, start, others, after, id] : rows) {
        SCOPED_TRACE(name);
        StrList list, other;
        Fill(list, start);
        Fill(other, others);
        __POSITION* pos = nullptr;
        if (op <= AddUnique)
            pos = op == Find ? list.Find(others[0].c_str()) : list.AddUnique(others[0].c_str());
        else
            list.Combine(op >= CombineSelf ? list : other, op % 2);
        EXPECT_EQ(Contents(list), after);
        EXPECT_EQ(pos ? NodeOf(pos)->id : 0u, id);
    }
}

// Sort and SortStringList give the selection's texts and ids; an element that keeps its id keeps
// its very node.
TEST(StrListTest, SortEqualsSelectionOnRandomLists) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    // Parts joined by either path delimiter or tabs: plain paths, archives, storage strings with
    // any number of tabs, names differing only in case, empty names, bytes above 127.
    static const char* const parts[] = {"",      "a",    "A",   "b.txt", "B.TXT",
                                        "a.zip", "\xe9", "c d", "C:"};
    for (int round = 0; round < 400; ++round) {
        Texts texts(rng() % 24);
        for (std::string& text : texts) {
            text = parts[rng() % 9];
            for (unsigned n = rng() % 7; n > 0; --n)
                text += "/\\\t\t"[rng() % 4];
            text += parts[rng() % 9];
        }
        StrList fast, model;
        Fill(fast, texts);
        Fill(model, texts);
        const std::vector<Node*> before = Nodes(fast);
        round % 2 ? fast.Sort() : SortStringList(&fast);
        // The selection compares file names and re-creates the element from its parsed name.
        listmodel::SelectionSort(
            model, [](const Str& text) { return BFilename(text).GetFileName(); },
            [](const Str& text) { return BFilename(text).GetStorageString(); });
        ASSERT_EQ(Contents(fast, true), Contents(model, true)) << "round " << round;
        for (Node* node : Nodes(fast))
            EXPECT_TRUE(node->id > texts.size() || node == before[node->id - 1]) << round;
    }
}

} // namespace
