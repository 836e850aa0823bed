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
using Texts = std::vector<std::string>;

std::vector<Node*> Nodes(BFilenameList& list) {
    std::vector<Node*> out;
    for (auto* node = reinterpret_cast<Node*>(list.GetHeadPosition()); node; node = node->next)
        out.push_back(node);
    return out;
}

// Each element as its path, or as its id, storage string and the number it carries under "i".
Texts Paths(BFilenameList& list, bool full = false) {
    Texts out;
    for (Node* node : Nodes(list)) {
        int i = -1;
        node->value.m_metaData.GetData("i", i);
        out.emplace_back(full ? std::to_string(node->id) + " " +
                                    static_cast<const char*>(node->value.GetStorageString()) + " " +
                                    std::to_string(i)
                              : static_cast<const char*>(node->value.GetPath()));
    }
    return out;
}

BFilename& AddStorage(BFilenameList& list, const std::string& text) {
    BFilename name;
    name.SetStorageString(text.c_str());
    list.AddTail(name);
    return list.GetTail();
}

// The sort as a plain selection over keys taken afresh from copies at every comparison: the best
// candidate (first of equal keys) is copied in front of the current node and its node removed.
void SelectionSort(BFilenameList& list) {
    Node* current = reinterpret_cast<Node*>(list.GetHeadPosition());
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
            list.InsertBefore(reinterpret_cast<__POSITION*>(current), best->value);
            list.RemoveAt(reinterpret_cast<__POSITION*>(best));
        }
    }
}

// The fast sort gives the selection's order, ids and copies; an element that keeps its id keeps
// its very node.
TEST(BFilenameListTest, SortEqualsSelectionOnRandomLists) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    static const char* const parts[] = {"", "a", "A", "b", "B/", "/x/", "\xe9", " ", "a.zip"};
    for (int round = 0; round < 300; ++round) {
        const int n = static_cast<int>(rng() % 24);
        BFilenameList fast, model;
        for (int i = 0; i < n; ++i) {
            std::string text = parts[rng() % 9];
            for (unsigned tabs = rng() % 2 ? 4 : rng() % 6; tabs > 0; --tabs)
                text += std::string("\t") + parts[rng() % 9];
            AddStorage(fast, text).m_metaData.SetData("i", i);
            AddStorage(model, text).m_metaData.SetData("i", i);
        }
        const std::vector<Node*> before = Nodes(fast);
        fast.Sort();
        SelectionSort(model);
        ASSERT_EQ(Paths(fast, true), Paths(model, true)) << "round " << round;
        for (Node* node : Nodes(fast))
            if (node->id <= static_cast<std::uint32_t>(n)) {
                EXPECT_EQ(node, before[node->id - 1]) << "round " << round;
            }
    }
}

std::vector<unsigned char> Bytes(const std::string& hex) {
    std::vector<unsigned char> out;
    std::istringstream in(hex);
    unsigned int byte;
    while (in >> std::hex >> byte)
        out.push_back(static_cast<unsigned char>(byte));
    return out;
}

// The records of the filenames /a/b and /c/d: empty tag, then the data record (its length, the
// storage string's length and text, the filename's empty tagged list).
const std::string kNoValues = "49 44 4D 44 54 4C 00 00 00 00 ";
const std::string kAB = "00 00 00 00 16 00 00 00 08 00 00 00 2F 61 2F 09 09 09 62 09 " + kNoValues;
const std::string kCD = "00 00 00 00 16 00 00 00 08 00 00 00 2F 63 2F 09 09 09 64 09 " + kNoValues;
const std::string kW5 = "49 44 4D 44 54 4C 01 00 00 00 02 00 00 00 77 00 04 00 00 00 05 00 00 00";

TEST(BFilenameListTest, ReadsListRecords) {
    const struct Row {
        const char* reason;
        std::string hex;
        Texts paths;
        int w; // the list's own value under "w", -1 when it has none
    } rows[] = {
        {"ok: empty list", "00 00 00 00 " + kNoValues, {}, -1},
        {"ok: own values follow", "01 00 00 00 " + kAB + kW5, {"/a/b"}, 5},
        {"truncated: empty stream", "", {}, -1},
        {"truncated: count cut short", "01 00", {}, -1},
        {"truncated: no records", "01 00 00 00", {}, -1},
        {"truncated: count beyond the records", "05 00 00 00 " + kAB, {"/a/b"}, -1},
        {"truncated: storage string", "01 00 00 00 " + kAB.substr(0, 42), {"/a"}, -1},
        {"corrupt: wrong list marker", "00 00 00 00 49 44 4D 44 54 58 01 00 00 00", {}, -1},
        {"corrupt: huge count", "FF FF FF FF " + kAB + kNoValues, {"/a/b", ""}, -1},
        {"corrupt: huge tag size", "01 00 00 00 FF FF FF FF 00 00", {""}, -1},
        {"corrupt: storage length",
         "01 00 00 00 " + kAB.substr(0, 12) + "06 00 00 00 FF FF FF 7F 2F 61",
         {"/a"},
         -1},
    };
    for (const Row& r : rows) {
        const std::vector<unsigned char> bytes = Bytes(r.hex);
        BMemFile file(bytes.data(), static_cast<unsigned int>(bytes.size()));
        BFilenameList list;
        list.m_metaData.SetData("stale", 1);
        list.Read(file, 1);
        EXPECT_EQ(Paths(list), r.paths) << r.reason;
        int w = -1;
        list.m_metaData.GetData("w", w);
        EXPECT_EQ(w, r.w) << r.reason;
        EXPECT_EQ(list.m_metaData.FindData("stale"), nullptr) << r.reason;
    }
}

TEST(BFilenameListTest, WriteGivesTheRecordAndReadAppendsItBack) {
    BFilenameList list, copy;
    AddStorage(list, "/a/\t\t\tb\t");
    AddStorage(list, "/c/\t\t\td\t");
    list.m_metaData.SetData("w", 5);
    BMemFile file;
    list.Write(file, 1);
    EXPECT_EQ(std::vector<unsigned char>(file.m_buffer, file.m_buffer + file.m_length),
              Bytes("02 00 00 00 " + kAB + kCD + kW5));
    file.SetPosition(0);
    AddStorage(copy, "/already/\t\t\there\t");
    copy.Read(file, 1);
    EXPECT_EQ(Paths(copy), (Texts{"/already/here", "/a/b", "/c/d"}));
    EXPECT_EQ(Nodes(copy)[2]->id, 3u);
    int w = 0;
    copy.m_metaData.GetData("w", w);
    EXPECT_EQ(w, 5);
}

} // namespace
