#include "base/StrList.h"

#include "base/BFilename.h"

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
    Node* head = NodeAt(GetHeadPosition());
    BFilename parsed;
    std::vector<Str> keys;
    keys.reserve(m_count);
    for (Node* node = head; node; node = node->next) {
        parsed.SetStorageString(node->value);
        keys.push_back(parsed.GetFileName());
    }
    Str moved;
    SortByKeys(
        keys,
        [](const Str& a, const Str& b) { return StrImplementation::STR_stricmp_ex(a, b) < 0; },
        [&](Str& old) -> Str& {
            parsed.SetStorageString(old);
            moved = parsed.GetStorageString();
            return moved;
        });
}

void SortStringList(StrList* list) {
    list->Sort();
}
