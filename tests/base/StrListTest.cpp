#include "base/StrList.h"

#include "base/BFilename.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using Node = BListNode<Str>;

Node* NodeOf(__POSITION* pos) {
    return reinterpret_cast<Node*>(pos);
}

__POSITION* PositionOf(Node* node) {
    return reinterpret_cast<__POSITION*>(node);
}

std::vector<Node*> Nodes(StrList& list) {
    std::vector<Node*> out;
    for (Node* node = NodeOf(list.GetHeadPosition()); node; node = node->next)
        out.push_back(node);
    return out;
}

std::vector<std::string> Texts(StrList& list) {
    std::vector<std::string> out;
    for (Node* node : Nodes(list))
        out.emplace_back(static_cast<const char*>(node->value));
    return out;
}

std::vector<std::uint32_t> Ids(StrList& list) {
    std::vector<std::uint32_t> out;
    for (Node* node : Nodes(list))
        out.push_back(node->id);
    return out;
}

void Fill(StrList& list, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        Str value(text.c_str());
        list.AddTail(value);
    }
}

int IndexOf(StrList& list, __POSITION* pos) {
    std::vector<Node*> nodes = Nodes(list);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        if (PositionOf(nodes[i]) == pos)
            return static_cast<int>(i);
    return -1;
}

// The sort as a plain selection: the smallest remaining element (first of equals) is re-created
// from its parsed filename in front of the current node, until the current node is the smallest.
void SelectionSort(StrList& list) {
    BFilename a;
    BFilename b;
    Node* current = NodeOf(list.GetHeadPosition());
    while (current) {
        a.SetStorageString(current->value);
        Node* smallest = current;
        for (Node* node = current->next; node; node = node->next) {
            b.SetStorageString(node->value);
            if (StrImplementation::STR_stricmp_ex(a.GetFileName(), b.GetFileName()) > 0) {
                a = b;
                smallest = node;
            }
        }
        if (smallest == current) {
            current = current->next;
        } else {
            Str text = a.GetStorageString();
            list.InsertBefore(PositionOf(current), text);
            list.RemoveAt(PositionOf(smallest));
        }
    }
}

TEST(StrListTest, FindMatchesWholeTextWithCase) {
    struct Case {
        std::vector<std::string> list;
        const char* text;
        int expected;
    };
    const Case cases[] = {
        {{}, "abc", -1},
        {{"ABC", "abcd", "ab"}, "abc", -1},
        {{"x", "abc", "abc"}, "abc", 1},
        {{"x", ""}, "", 1},
    };
    for (const Case& c : cases) {
        StrList list;
        Fill(list, c.list);
        EXPECT_EQ(IndexOf(list, list.Find(c.text)), c.expected) << c.text;
    }
}

TEST(StrListTest, AddUniqueReturnsTheFirstEqualElementOrAppends) {
    StrList list;
    Fill(list, {"a", "b", "a"});
    __POSITION* first = list.GetHeadPosition();
    EXPECT_EQ(list.AddUnique("a"), first);
    EXPECT_EQ(list.GetCount(), 3u);
    __POSITION* added = list.AddUnique("A");
    EXPECT_EQ(IndexOf(list, added), 3);
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"a", "b", "a", "A"}));
    EXPECT_EQ(NodeOf(added)->id, 4u);
}

TEST(StrListTest, CombineAppendsInOrderAndSkipsDuplicatesOnRequest) {
    struct Case {
        std::vector<std::string> mine;
        std::vector<std::string> other;
        int unique;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {{}, {"x", "y", "x"}, 1, {"x", "y"}},
        {{}, {"x", "y", "x"}, 0, {"x", "y", "x"}},
        {{"y"}, {"x", "y", "z"}, 1, {"y", "x", "z"}},
        {{"a", "b"}, {}, 1, {"a", "b"}},
        {{"a", "b"}, {}, 0, {"a", "b"}},
    };
    for (const Case& c : cases) {
        StrList mine;
        StrList other;
        Fill(mine, c.mine);
        Fill(other, c.other);
        mine.Combine(other, c.unique);
        EXPECT_EQ(Texts(mine), c.expected) << c.unique;
        EXPECT_EQ(Texts(other), c.other);
    }
}

TEST(StrListTest, CombineWithItselfCopiesTheElementsPresentOnce) {
    StrList list;
    Fill(list, {"a", "b", "a"});
    list.Combine(list, 0);
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"a", "b", "a", "a", "b", "a"}));
    list.Combine(list, 1);
    EXPECT_EQ(list.GetCount(), 6u);

    StrList single;
    Fill(single, {"s"});
    single.Combine(single, 0);
    EXPECT_EQ(Texts(single), (std::vector<std::string>{"s", "s"}));
}

TEST(StrListTest, SortOfOrderedListTouchesNoNode) {
    StrList list;
    Fill(list, {"/z/a.txt", "B.txt", "/y/b.TXT", "dir/\t\t\tc\t", "/q/d"});
    std::vector<Node*> before = Nodes(list);
    std::vector<std::string> texts = Texts(list);
    list.Sort();
    EXPECT_EQ(Nodes(list), before);
    EXPECT_EQ(Texts(list), texts);
    EXPECT_EQ(Ids(list), (std::vector<std::uint32_t>{1, 2, 3, 4, 5}));
}

TEST(StrListTest, SortRewritesMovedPathsAsStorageStrings) {
    StrList list;
    Fill(list, {"/a/Zeta", "/b/beta", "/c/ALPHA", "/d/gamma"});
    list.Sort();
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"/c/\t\t\tALPHA\t", "/b/\t\t\tbeta\t",
                                                     "/d/\t\t\tgamma\t", "/a/Zeta"}));
    EXPECT_EQ(Ids(list), (std::vector<std::uint32_t>{5, 6, 7, 1}));
}

TEST(StrListTest, SortKeepsEqualNamesInTheirOrderAndIgnoresCase) {
    StrList list;
    Fill(list, {"/1/b", "/2/NAME", "/3/a", "/4/name", "/5/Name"});
    list.Sort();
    EXPECT_EQ(Texts(list),
              (std::vector<std::string>{"/3/\t\t\ta\t", "/1/b", "/2/NAME", "/4/name", "/5/Name"}));
}

TEST(StrListTest, SortStringListIsSort) {
    const std::vector<std::string> texts = {"/x/c", "/y/a", "/z/b", "/w/a"};
    StrList sorted;
    StrList viaFunction;
    Fill(sorted, texts);
    Fill(viaFunction, texts);
    sorted.Sort();
    SortStringList(&viaFunction);
    EXPECT_EQ(Texts(viaFunction), Texts(sorted));
    EXPECT_EQ(Ids(viaFunction), Ids(sorted));
}

// Texts that parse in every way the sort meets: plain paths with either delimiter, archives,
// storage strings with four or fewer tabs, names differing only in case, empty names, bytes
// above 127.
std::string RandomText(std::mt19937& rng) {
    static const char* const names[] = {"a",    "A",     "b.txt", "B.TXT", "a.zip", "",
                                        "\xe9", "n?*me", "c d",   "zz",    "Z"};
    static const char* const dirs[] = {"", "/", "/u/", "C:\\w\\", "rel/", "/u/v/"};
    const std::string name = names[rng() % (sizeof names / sizeof *names)];
    const std::string dir = dirs[rng() % (sizeof dirs / sizeof *dirs)];
    switch (rng() % 4) {
    case 0:
    case 1:
        return dir + name;
    case 2:
        return dir + "\t" + (rng() % 2 ? "arc.zip" : "") + "\tin/\t" + name + "\t" +
               (rng() % 2 ? "Disk" : "");
    default: {
        std::string text = dir;
        for (unsigned tabs = rng() % 4; tabs > 0; --tabs)
            text += "\t" + std::string(names[rng() % 4]);
        return text;
    }
    }
}

TEST(StrListTest, SortEqualsSelectionOnRandomLists) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    for (int round = 0; round < 400; ++round) {
        std::vector<std::string> texts(rng() % 24);
        for (std::string& text : texts)
            text = RandomText(rng);
        StrList fast;
        StrList model;
        Fill(fast, texts);
        Fill(model, texts);
        std::vector<Node*> before = Nodes(fast);
        fast.Sort();
        SelectionSort(model);
        ASSERT_EQ(Texts(fast), Texts(model)) << "round " << round;
        ASSERT_EQ(Ids(fast), Ids(model)) << "round " << round;
        // A surviving element keeps its id; its node must be the very node it had.
        std::vector<Node*> after = Nodes(fast);
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (after[i]->id <= texts.size()) {
                ASSERT_EQ(after[i], before[after[i]->id - 1]) << "round " << round;
            }
        }
    }
}

} // namespace
