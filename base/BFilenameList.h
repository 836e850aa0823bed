/// @file
/// BFilenameList.h — a list of filenames that sorts itself by storage string and writes itself to,
/// and reads itself from, a memory file.
///
/// Memory: the list owns its BFilename elements; each is a copy made with BFilename's assignment,
/// so a stored element has the default delimiters and an empty tag whatever its source had.
///
/// Invariant: that of BList; the list adds no state beyond its tagged list (m_metaData).
///
/// Serialised form (little-endian): the element count N as 4 bytes; N tagged-item records, one per
/// element from head to tail (tag record in the caller's mode, then a data record holding the
/// element's serialised form); the list's own tagged list as a list record in the caller's mode.
///
/// Copying: a list cannot be copied.
#pragma once

#include "base/BFilename.h"
#include "base/BList.h"
#include "base/BMemFile.h"

/// A list of filenames that sorts itself by storage string (see BFilenameList.h).
class BFilenameList : public BList<BFilename> {
public:
    /// An empty list.
    BFilenameList() = default;

    /// Orders the elements by storage string, case ignored, stably. An element that has to move is
    /// re-created as a copy in a new node (its old position becomes invalid); the others stay put.
    void Sort();
    /// Writes the serialised form at the stream's position; refreshes each element's data first.
    void Write(BMemFile& file, short mode);
    /// Appends the elements read from the stream (the list is not emptied first) and replaces the
    /// tagged list with the one that follows them. Stops at the end of the stream, whatever the
    /// stored count says.
    void Read(BMemFile& file, short mode);
};
