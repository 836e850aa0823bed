/// @file
/// StrList.h — the library's list of strings: a BList<Str> with lookup by exact text, insertion
/// without duplicates, merging of two lists and a sort by file name.
///
/// Memory: the list owns its Str elements (copies share blocks until one side changes, so adding
/// a string costs one node and one count increment). Positions behave as in BList.
///
/// Invariant: that of BList; StrList adds no state.
///
/// Copying: a list cannot be copied. Set and Get are inherited from the serialisable base and pack
/// only the tagged list, not the strings.
#pragma once

#include "base/BList.h"
#include "base/Str.h"

/// The library's list of strings (see StrList.h).
class StrList : public BList<Str> {
public:
    /// An empty list.
    StrList() = default;

    /// Position of the first element, from the head, whose text equals text exactly (case counts);
    /// null when there is none. Does not change the list.
    __POSITION* Find(const char* text);
    /// Position of an element equal to text; appends one at the tail only when there is none.
    __POSITION* AddUnique(const char* text);
    /// Appends the elements other held when the call began, in order; with unique non-zero each is
    /// added only when this list does not hold it yet. other may be this list.
    void Combine(StrList& other, int unique);
    /// Orders the elements by the file-name part of each string read as a filename storage string
    /// (or plain path), case ignored, stably. An element that has to move comes back as the storage
    /// string of its parsed filename, in a new node; the others keep their text and node.
    void Sort();
};

/// Exactly list->Sort().
void SortStringList(StrList* list);
