#include "base/BFilenameList.h"

#include "base/BMemFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Node = BListNode<BFilename>;

Node* NodeOf(__POSITION* pos) {
    return reinterpret_cast<Node*>(pos);
}

__POSITION* PositionOf(Node* node) {
    return reinterpret_cast<__POSITION*>(node);
}

std::vector<Node*> Nodes(BFilenameList& list) {
    std::vector<Node*> out;
    for (Node* node = NodeOf(list.GetHeadPosition()); node; node = node->next)
        out.push_back(node);
    return out;
}

std::vector<std::string> Paths(BFilenameList& list) {
    std::vector<std::string> out;
    for (Node* node : Nodes(list))
        out.emplace_back(static_cast<const char*>(node->value.GetPath()));
    return out;
}

std::vector<std::string> StorageStrings(BFilenameList& list) {
    std::vector<std::string> out;
    for (Node* node : Nodes(list))
        out.emplace_back(static_cast<const char*>(node->value.GetStorageString()));
    return out;
}

std::vector<std::uint32_t> Ids(BFilenameList& list) {
    std::vector<std::uint32_t> out;
    for (Node* node : Nodes(list))
        out.push_back(node->id);
    return out;
}

void AddStorage(BFilenameList& list, const std::string& text) {
    BFilename name;
    name.SetStorageString(text.c_str());
    list.AddTail(name);
}

std::vector<unsigned char> Bytes(const std::string& hex) {
    std::vector<unsigned char> out;
    std::istringstream in(hex);
    unsigned int byte;
    while (in >> std::hex >> byte)
        out.push_back(static_cast<unsigned char>(byte));
    return out;
}

// The sort as a plain selection over keys taken afresh from copies at every comparison: the best
// candidate (first of equal keys) is copied in front of the current node and its node removed.
void SelectionSort(BFilenameList& list) {
    Node* current = NodeOf(list.GetHeadPosition());
    while (current) {
        Node* best = current;
        Str bestKey = BFilename(current->value).GetStorageString();
        for (Node* node = current->next; node; node = node->next) {
            Str key = BFilename(node->value).GetStorageString();
            if (StrImplementation::STR_stricmp_ex(bestKey, key) > 0) {
                best = node;
                bestKey = key;
            }
        }
        if (best == current) {
            current = current->next;
        } else {
            list.InsertBefore(PositionOf(current), best->value);
            list.RemoveAt(PositionOf(best));
        }
    }
}

TEST(BFilenameListTest, SortOrdersByStorageStringIgnoringCase) {
    struct Case {
        std::vector<std::string> paths;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {{}, {}},
        {{"/only"}, {"/only"}},
        {{"/b/x", "/a/y"}, {"/a/y", "/b/x"}},
        {{"/A/z", "/a/y"}, {"/a/y", "/A/z"}},
        {{"/a/b/c", "/a/z"}, {"/a/z", "/a/b/c"}},
        {{"/d/F", "/c/x", "/d/f", "/D/f"}, {"/c/x", "/d/F", "/d/f", "/D/f"}},
    };
    for (const Case& c : cases) {
        BFilenameList list;
        for (const std::string& path : c.paths) {
            BFilename name;
            name.SetPath(path.c_str());
            list.AddTail(name);
        }
        list.Sort();
        EXPECT_EQ(Paths(list), c.expected);
    }
}

TEST(BFilenameListTest, SortMovesCopiesAndLeavesElementsInPlaceUntouched) {
    BFilenameList list;
    AddStorage(list, "/b/\t\t\tx\t");
    AddStorage(list, "/a/\t\t\ty\t");
    AddStorage(list, "/c/\t\t\tz\t");
    std::vector<Node*> before = Nodes(list);
    before[1]->value.m_metaData.SetData("keep", 7);
    before[1]->value.m_tag.SetData("tagged");
    list.Sort();

    EXPECT_EQ(Paths(list), (std::vector<std::string>{"/a/y", "/b/x", "/c/z"}));
    EXPECT_EQ(Ids(list), (std::vector<std::uint32_t>{4, 1, 3}));
    std::vector<Node*> after = Nodes(list);
    EXPECT_EQ(after[1], before[0]);
    EXPECT_EQ(after[2], before[2]);
    int kept = 0;
    EXPECT_NE(after[0]->value.m_metaData.GetData("keep", kept), nullptr);
    EXPECT_EQ(kept, 7);
    EXPECT_EQ(after[0]->value.CompareTag(""), 0) << "a copy keeps its own (empty) tag";
}

std::string RandomStorage(std::mt19937& rng) {
    static const char* const parts[] = {"", "a", "A", "b", "B/", "/x/", "\xe9", " ", "a.zip"};
    const auto part = [&] { return std::string(parts[rng() % (sizeof parts / sizeof *parts)]); };
    if (rng() % 4 == 0)
        return part() + part();
    return part() + "\t" + part() + "\t" + part() + "\t" + part() + "\t" + part();
}

TEST(BFilenameListTest, SortEqualsSelectionOnRandomLists) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    for (int round = 0; round < 300; ++round) {
        const int n = static_cast<int>(rng() % 24);
        BFilenameList fast;
        BFilenameList model;
        for (int i = 0; i < n; ++i) {
            const std::string text = RandomStorage(rng);
            AddStorage(fast, text);
            AddStorage(model, text);
            fast.GetTail().m_metaData.SetData("i", i);
            model.GetTail().m_metaData.SetData("i", i);
        }
        std::vector<Node*> before = Nodes(fast);
        fast.Sort();
        SelectionSort(model);
        ASSERT_EQ(StorageStrings(fast), StorageStrings(model)) << "round " << round;
        ASSERT_EQ(Ids(fast), Ids(model)) << "round " << round;
        std::vector<Node*> after = Nodes(fast);
        std::vector<Node*> modelAfter = Nodes(model);
        for (std::size_t i = 0; i < after.size(); ++i) {
            int fastIndex = -1;
            int modelIndex = -2;
            after[i]->value.m_metaData.GetData("i", fastIndex);
            modelAfter[i]->value.m_metaData.GetData("i", modelIndex);
            ASSERT_EQ(fastIndex, modelIndex) << "round " << round;
            if (after[i]->id <= static_cast<std::uint32_t>(n)) {
                ASSERT_EQ(after[i], before[after[i]->id - 1]) << "round " << round;
            }
        }
    }
}

// Records of the filenames /a/b and /c/d: empty tag, then the data record (storage-string length,
// the storage string, the filename's empty tagged list).
const std::string kNoValues = "49 44 4D 44 54 4C 00 00 00 00 ";
const std::string kDataAB = "16 00 00 00 08 00 00 00 2F 61 2F 09 09 09 62 09 " + kNoValues;
const std::string kAB = "00 00 00 00 " + kDataAB;
const std::string kCD = "00 00 00 00 16 00 00 00 08 00 00 00 2F 63 2F 09 09 09 64 09 " + kNoValues;
const std::string kValueW5 =
    "49 44 4D 44 54 4C 01 00 00 00 02 00 00 00 77 00 04 00 00 00 05 00 00 00 ";

TEST(BFilenameListTest, ReadRecordTable) {
    struct Row {
        const char* reason;
        std::string hex;
        std::vector<std::string> paths;
        int w;                // the list's own value under "w", -1 when it has none
        const char* firstTag; // null: not checked
    };
    const Row rows[] = {
        // ok
        {"empty list", "00 00 00 00 " + kNoValues, {}, -1, ""},
        {"one filename", "01 00 00 00 " + kAB + kNoValues, {"/a/b"}, -1, ""},
        {"two filenames in order",
         "02 00 00 00 " + kAB + kCD + kNoValues,
         {"/a/b", "/c/d"},
         -1,
         ""},
        {"the list's own values follow the elements",
         "01 00 00 00 " + kAB + kValueW5,
         {"/a/b"},
         5,
         ""},
        {"an element's tag is read",
         "01 00 00 00 02 00 00 00 74 00 " + kDataAB + kNoValues,
         {"/a/b"},
         -1,
         "t"},
        // truncated
        {"empty stream", "", {}, -1, ""},
        {"count cut short", "01 00", {}, -1, ""},
        {"count without records", "01 00 00 00", {}, -1, ""},
        {"count larger than the records present", "05 00 00 00 " + kAB, {"/a/b"}, -1, ""},
        {"record cut inside the storage string keeps the bytes present",
         "01 00 00 00 00 00 00 00 16 00 00 00 08 00 00 00 2F 61",
         {"/a"},
         -1,
         ""},
        // corrupt
        {"wrong list marker leaves the list's values empty",
         "00 00 00 00 49 44 4D 44 54 58 01 00 00 00",
         {},
         -1,
         ""},
        {"huge count reads what follows as records and stops at the end",
         "FF FF FF FF " + kAB + kNoValues,
         {"/a/b", ""},
         -1,
         nullptr},
        {"huge tag size", "01 00 00 00 FF FF FF FF 00 00", {""}, -1, nullptr},
        {"storage length beyond the data takes the bytes present",
         "01 00 00 00 00 00 00 00 06 00 00 00 FF FF FF 7F 2F 61",
         {"/a"},
         -1,
         ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        std::vector<unsigned char> bytes = Bytes(row.hex);
        BMemFile file(bytes.data(), static_cast<unsigned int>(bytes.size()));
        BFilenameList list;
        list.m_metaData.SetData("stale", 1);
        list.Read(file, 1);
        EXPECT_EQ(Paths(list), row.paths);
        int w = -1;
        list.m_metaData.GetData("w", w);
        EXPECT_EQ(w, row.w);
        EXPECT_EQ(list.m_metaData.FindData("stale"), nullptr);
        if (!row.paths.empty() && row.firstTag) {
            EXPECT_EQ(NodeOf(list.GetHeadPosition())->value.CompareTag(row.firstTag), 0);
        }
    }
}

TEST(BFilenameListTest, WriteProducesTheRecordAndReadAppendsItBack) {
    BFilenameList single;
    AddStorage(single, "/a/\t\t\tb\t");
    BMemFile singleFile;
    single.Write(singleFile, 1);
    const std::vector<unsigned char> expected = Bytes("01 00 00 00 " + kAB + kNoValues);
    ASSERT_EQ(singleFile.m_length, expected.size());
    EXPECT_EQ(
        std::vector<unsigned char>(singleFile.m_buffer, singleFile.m_buffer + expected.size()),
        expected);

    BFilenameList list;
    for (const char* text : {"/u/\tarc.zip\tin/\tf.txt\tDisk", "\t\t\t\t", "/v/\t\t\tg\t"})
        AddStorage(list, text);
    NodeOf(list.GetHeadPosition())->value.m_metaData.SetData("e", 3);
    list.m_metaData.SetData("k", "value");
    BMemFile file;
    list.Write(file, 1);
    file.SetPosition(0);

    BFilenameList copy;
    AddStorage(copy, "/already/\t\t\there\t");
    copy.Read(file, 1);
    std::vector<std::string> expectedStrings = {"/already/\t\t\there\t"};
    for (const std::string& text : StorageStrings(list))
        expectedStrings.push_back(text);
    EXPECT_EQ(StorageStrings(copy), expectedStrings);
    EXPECT_EQ(Ids(copy), (std::vector<std::uint32_t>{1, 2, 3, 4}));
    EXPECT_TRUE(Nodes(copy)[1]->value.m_metaData == Nodes(list)[0]->value.m_metaData);
    Str text;
    copy.m_metaData.GetData("k", text);
    EXPECT_STREQ(text, "value");
}

} // namespace
