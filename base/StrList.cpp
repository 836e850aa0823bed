#include "base/StrList.h"

#include "base/BFilename.h"
#include "base/internal/SortOrder.h"

#include <algorithm>
#include <cstring>
#include <vector>

__POSITION* StrList::Find(const char* text) {
    for (Node* node = NodeAt(GetHeadPosition()); node; node = node->next) {
        if (StrImplementation::STR_strcmp_ex(node->value, text) == 0)
            return PositionOf(node);
    }
    return nullptr;
}

__POSITION* StrList::AddUnique(const char* text) {
    if (__POSITION* found = Find(text))
        return found;
    Str copy;
    copy.Copy_Native(text);
    return AddTail(copy);
}

void StrList::Combine(StrList& other, int unique) {
    // Counting the walk keeps a list combined with itself from meeting its own new elements.
    Node* node = NodeAt(other.GetHeadPosition());
    for (std::uint32_t left = other.GetCount(); node && left > 0; --left) {
        Node* next = node->next;
        Str copy = node->value;
        if (unique)
            AddUnique(copy);
        else
            AddTail(copy);
        node = next;
    }
}

void StrList::Sort() {
    // Each element's text is parsed once: the file name is its key, and the storage string, kept
    // in one shared buffer, is what the element becomes if it moves. A moved element's storage
    // string is written into its own block where it fits, so the sort takes little fresh memory.
    BFilename parsed;
    StrImplementation::CaseOrder keys(m_count);
    std::vector<Node*> nodes;
    nodes.reserve(m_count);
    // Reserved generously, so that the texts are rarely copied as they grow (pages never written
    // are never touched), but bounded, since this is only a hint.
    std::vector<char> storage;
    storage.reserve(std::min<std::size_t>(m_count, std::size_t{1} << 20) * 64);
    std::vector<std::size_t> at;
    at.reserve(m_count);
    // The texts are noted while the walk has their nodes at hand: reaching a text through its node
    // again later would cost a second miss per element on a list too long for the cache.
    std::vector<const char*> texts;
    texts.reserve(m_count);
    for (Node* node = NodeAt(GetHeadPosition()); node; node = node->next) {
        nodes.push_back(node);
        texts.push_back(node->value);
    }
    // The texts of a long list lie all over memory: the ones a few steps ahead are fetched while
    // the present one is parsed.
    constexpr std::size_t kAhead = 8;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (i + kAhead < texts.size())
            __builtin_prefetch(texts[i + kAhead]);
        parsed.SetStorageString(texts[i]);
        keys.Add(parsed.GetFileName());
        const Str text = parsed.GetStorageString();
        const char* p = text;
        at.push_back(storage.size());
        storage.insert(storage.end(), p, p + std::strlen(p) + 1);
    }
    // Moved elements are renewed in list order; their blocks, read long ago by the parse, are
    // fetched a few steps ahead of the writes.
    ApplyOrder(nodes, keys.Order(), [&](std::size_t i, Str& moved) {
        if (i + kAhead < texts.size())
            __builtin_prefetch(texts[i + kAhead], 1);
        moved.Copy_Native(storage.data() + at[i]);
    });
}

void SortStringList(StrList* list) {
    list->Sort();
}
