#include "base/BFilenameList.h"

#include "ByteRecords.h"
#include "ListModel.h"

#include "support/Seed.h"
#include "support/Testing.h"

namespace {

using namespace byterecords;
using Node = BListNode<BFilename>;
using Texts = std::vector<std::string>;

using listmodel::Nodes;

// Each element as its path, or as its id, storage string and the number it carries under "i".
Texts Paths(BFilenameList& list, bool full = false) {
    Texts out;
    for (Node* node : Nodes(list)) {
        int i = -1;
        BFilename& f = node->value;
        f.m_metaData.GetData("i", i);
        const Str text = full ? f.GetStorageString() : f.GetPath();
        // A moved element is a copy: default delimiters and an empty tag.
        const std::string copied =
            std::string(" ") + f.OSDelimiter(0) + std::to_string(f.m_tag.m_size);
        out.push_back((full ? std::to_string(node->id) + " " : "") +
                      static_cast<const char*>(text) +
                      (full ? " " + std::to_string(i) + copied : ""));
    }
    return out;
}

BFilename& AddStorage(BFilenameList& list, const std::string& text) {
    BFilename name(Str(text.c_str()));
    list.AddTail(name);
    return list.GetTail();
}

// The fast sort gives the selection's order, ids and copies; an element that keeps its id keeps
// its very node.
TEST(BFilenameListTest, SortEqualsSelectionOnRandomLists) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    static const char* const parts[] = {"", "a", "A", "b", "B/", "/x/", "\xe9", " ", "a.zip"};
    for (int round = 0; round < 300; ++round) {
        const int n = static_cast<int>(rng() % 24);
        BFilenameList fast, model;
        for (int i = 0; i < n; ++i) {
            std::string text = parts[rng() % 9];
            for (unsigned tabs = rng() % 2 ? 4 : rng() % 6; tabs > 0; --tabs)
                text += std::string("\t") + parts[rng() % 9];
            for (BFilenameList* list : {&fast, &model}) {
                BFilename& added = AddStorage(*list, text);
                added.m_metaData.SetData("i", i);
                added.OSDelimiter(':');
                added.m_tag.SetData("tag");
            }
        }
        const std::vector<Node*> before = Nodes(fast);
        fast.Sort();
        // The selection takes its keys afresh from copies at every comparison.
        listmodel::SelectionSort(
            model, [](const BFilename& f) { return BFilename(f).GetStorageString(); },
            [](BFilename& f) -> BFilename& { return f; });
        ASSERT_EQ(Paths(fast, true), Paths(model, true)) << "round " << round;
        for (Node* node : Nodes(fast))
            EXPECT_TRUE(node->id > before.size() || node == before[node->id - 1]) << round;
    }
}

// The records of the filenames /a/b and /c/d: empty tag, then the data record (its length, the
// storage string's length and text, the filename's empty tagged list).
const Bytes kAB =
    Concat({{0, 0, 0, 0, 22, 0, 0, 0, 8, 0, 0, 0, '/', 'a', '/', 9, 9, 9, 'b', 9}, kEmptyList});
const Bytes kCD =
    Concat({{0, 0, 0, 0, 22, 0, 0, 0, 8, 0, 0, 0, '/', 'c', '/', 9, 9, 9, 'd', 9}, kEmptyList});
const Bytes kOne = {1, 0, 0, 0};

// Each row also checks that the list's own values are replaced: "stale" never survives.
TEST(BFilenameListTest, ReadsListRecords) {
    const struct {
        const char* reason;
        Bytes bytes;
        Texts paths;
    } rows[] = {
        {"ok: empty list", Concat({{0, 0, 0, 0}, kEmptyList}), {}},
        {"ok: own values follow", Concat({kOne, kAB, kListW5}), {"/a/b"}},
        {"truncated: empty stream", {}, {}},
        {"truncated: count cut short", {1, 0}, {}},
        {"truncated: no records", kOne, {}},
        {"truncated: count beyond the records", Concat({{5, 0, 0, 0}, kAB}), {"/a/b"}},
        {"truncated: storage string", Concat({kOne, RunOf(kAB.data(), 14)}), {"/a"}},
        {"corrupt: wrong list marker", {0, 0, 0, 0, 'I', 'D', 'M', 'D', 'T', 'X', 1, 0, 0, 0}, {}},
        {"corrupt: huge count", Concat({{0, 0, 1, 0}, kAB, kEmptyList}), {"/a/b", ""}},
        {"corrupt: huge tag", {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0}, {""}},
        {"corrupt: size",
         {1, 0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 0, 255, 255, 255, 127, '/', 'a'},
         {"/a"}},
    };
    for (const auto& [reason, bytes, paths] : rows) {
        BMemFile file(bytes.data(), static_cast<unsigned int>(bytes.size()));
        BFilenameList list;
        list.m_metaData.SetData("stale", 1);
        list.Read(file, 1);
        EXPECT_EQ(Paths(list), paths) << reason;
        EXPECT_EQ(list.m_metaData.FindData("stale"), nullptr) << reason;
    }
}

TEST(BFilenameListTest, WriteGivesTheRecordAndReadAppendsItBack) {
    BFilenameList list, copy;
    AddStorage(list, "/a/\t\t\tb\t");
    AddStorage(list, "/c/\t\t\td\t");
    list.m_metaData.SetData("w", 5);
    BMemFile file;
    list.Write(file, 1);
    EXPECT_EQ(Written(file), Concat({{2, 0, 0, 0}, kAB, kCD, kListW5}));
    file.SetPosition(0);
    AddStorage(copy, "/already/\t\t\there\t");
    copy.Read(file, 1);
    EXPECT_EQ(Paths(copy), (Texts{"/already/here", "/a/b", "/c/d"}));
    int w = 0;
    copy.m_metaData.GetData("w", w);
    EXPECT_EQ(w, 5);
}

} // namespace
