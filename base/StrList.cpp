#include "base/StrList.h"

#include "base/BFilename.h"
#include "base/internal/SortOrder.h"

#include <utility>
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
    // Each element is parsed once: its file name is its key, and its storage string is what a
    // moved element becomes.
    BFilename parsed;
    StrImplementation::CaseOrder keys(m_count);
    std::vector<Str> storage;
    storage.reserve(m_count);
    for (Node* node = NodeAt(GetHeadPosition()); node; node = node->next) {
        parsed.SetStorageString(node->value);
        keys.Add(parsed.GetFileName());
        storage.push_back(parsed.GetStorageString());
    }
    ApplyOrder(keys.Order(), [&](std::size_t i, Str& moved) { moved = std::move(storage[i]); });
}

void SortStringList(StrList* list) {
    list->Sort();
}
