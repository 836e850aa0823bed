/// @file
/// BMetaDataTaggedList.h — the library's property bag: an ordered list of tagged items in which a
/// tag (compared without regard to ASCII letter case) names a value. Typed setters and getters
/// store and fetch scalars, texts, addresses, byte runs, items and serialisable objects; the whole
/// list travels in a record that begins with the marker "IDMDTL". Memory: the list owns its items
/// (see LinkedList); getters hand out references into the list that stay valid until that item is
/// removed. Invariant: the setters keep one item per tag; reading a stream and operator+= do not,
/// so a tag may be held several times until a setter is next used on it. Lookups find the first
/// from the head. Copying: not copyable; operator+= appends copies of another list's items.
///
/// Stored sizes: int, unsigned int and float 4 bytes, short 2, positions and pointers the pointer
/// width (8 here), texts their length + 1 (0 for the empty text), byte runs their count. Scalars
/// are little-endian; addresses are stored as they are and mean nothing outside the running
/// process.
#pragma once

#include "base/BMetaDataTagged.h"
#include "base/LinkedList.h"
#include "base/Position.h"
#include "base/Str.h"

class BMemFile;
class BMetaDataClass;

/// The library's property bag: an ordered list of tagged items (see BMetaDataTaggedList.h).
class BMetaDataTaggedList : public LinkedList<BMetaDataTagged> {
public:
    /// Marker that opens a list record written in a mode of 2 or less (no terminator).
    static constexpr char kMarker[] = "IDMDTL";
    /// Length of kMarker, its terminator not counted.
    static constexpr unsigned int kMarkerSize = 6;
    /// Empty items a Read appends, at most, once its stream is exhausted.
    static constexpr unsigned int kMaxItemsPastEnd = 16;

    BMetaDataTaggedList() = default;

    // --- Lookup ---------------------------------------------------------------------------------
    ///@{
    /// Position of the first item whose tag matches; null if none.
    __POSITION* FindData(const char* tag) const;
    __POSITION* FindData(const Str& tag) const;
    ///@}
    ///@{
    /// The one item for tag: the first match is kept, later matches are removed; a missing tag is
    /// appended with empty data.
    BMetaDataTagged& UniqueData(const char* tag);
    BMetaDataTagged& UniqueData(const Str& tag);
    ///@}
    /// Removes every item whose tag matches; returns how many.
    int RemoveData(const Str& tag);

    // --- Setters ------------------------------------------------------------------------------
    ///@{
    /// The item for tag (UniqueData) keeps its place and the spelling of its tag; its data becomes
    /// value's bytes (4 for int, unsigned int and float, 2 for short, the pointer width for an
    /// address) or the text with its zero byte.
    void SetData(const char* tag, int value);
    void SetData(const char* tag, unsigned int value);
    void SetData(const char* tag, short value);
    void SetData(const char* tag, float value);
    void SetData(const char* tag, __POSITION* value);
    void SetData(const char* tag, void* value);
    void SetData(const char* tag, const Str& text);
    void SetData(const char* tag, const char* text);
    ///@}
    /// A copy of n bytes; empty data when bytes is null.
    void SetData(const char* tag, const unsigned char* bytes, unsigned int n);
    /// A copy of item's data; its tag is not used.
    void SetData(const char* tag, const BMetaDataTagged& item);
    /// The item for item's own tag receives a copy of item's data.
    void SetData(const BMetaDataTagged& item);
    /// Removes every item with tag, names object by tag, calls its Set() and appends a copy of its
    /// tag and data at the tail; returns the new item's position.
    __POSITION* SetData(const char* tag, BMetaDataClass& object);

    // --- Getters ------------------------------------------------------------------------------
    ///@{
    /// Need 4 bytes (int, unsigned int, float) or 2 (short); copy the first ones. Null when the
    /// tag is missing; otherwise the item, even when its data is too short (then value is
    /// untouched).
    BMetaDataTagged* GetData(const char* tag, int& value);
    BMetaDataTagged* GetData(const Str& tag, int& value);
    BMetaDataTagged* GetData(const char* tag, unsigned int& value);
    BMetaDataTagged* GetData(const Str& tag, unsigned int& value);
    BMetaDataTagged* GetData(const char* tag, short& value);
    BMetaDataTagged* GetData(const Str& tag, short& value);
    BMetaDataTagged* GetData(const char* tag, float& value);
    BMetaDataTagged* GetData(const Str& tag, float& value);
    ///@}
    ///@{
    /// Need the pointer width; copy the address (into *value for void**; nothing when it is null).
    BMetaDataTagged* GetData(const char* tag, __POSITION*& value);
    BMetaDataTagged* GetData(const Str& tag, __POSITION*& value);
    BMetaDataTagged* GetData(const char* tag, void** value);
    BMetaDataTagged* GetData(const Str& tag, void** value);
    ///@}
    ///@{
    /// The data as a text up to its first zero byte or the end of the data; empty data gives "".
    BMetaDataTagged* GetData(const char* tag, Str& text);
    BMetaDataTagged* GetData(const Str& tag, Str& text);
    ///@}
    ///@{
    /// The first min(size, n) bytes; nothing when bytes is null.
    BMetaDataTagged* GetData(const char* tag, unsigned char* bytes, unsigned int n);
    BMetaDataTagged* GetData(const Str& tag, unsigned char* bytes, unsigned int n);
    ///@}
    ///@{
    /// Copies tag and data into item; returns &item when found.
    BMetaDataTagged* GetData(const char* tag, BMetaDataTagged& item);
    BMetaDataTagged* GetData(const Str& tag, BMetaDataTagged& item);
    ///@}
    ///@{
    /// Copies tag and data into object's tagged part, then calls its Get() to rebuild it.
    BMetaDataTagged* GetData(const char* tag, BMetaDataClass& object);
    BMetaDataTagged* GetData(const Str& tag, BMetaDataClass& object);
    ///@}

    // --- Whole lists ----------------------------------------------------------------------------
    /// SetData(item) for every item of other, head to tail: present tags are updated in place, new
    /// tags appended in other's order.
    void AddAndOverwrite(const BMetaDataTaggedList& other);
    /// Appends a copy of every item of other (as it was when the call began), tags unchecked.
    BMetaDataTaggedList& operator+=(const BMetaDataTaggedList& other);
    /// Same count and, pair by pair, equal data by CompareData; tags are ignored. Items with empty
    /// data are never equal, so a list holding one is unequal even to itself.
    bool operator==(const BMetaDataTaggedList& other) const;

    /// Writes the list record: the marker when mode <= 2, the 4-byte count, then each item's
    /// record.
    void Write(BMemFile& file, short mode) const;
    /// Replaces the list with the record read from file; returns the item count, 0 when the marker
    /// (mode <= 2) is wrong. Items are read while the stream has data; a count claiming more adds
    /// at most kMaxItemsPastEnd empty items, so a corrupt count costs no more than its stream.
    int Read(BMemFile& file, short mode);
    /// Makes item's data the list record in mode; item's tag is left alone.
    void Package(BMetaDataTagged& item, short mode) const;
    /// Replaces the list with the one in item's data, read in mode.
    void UnPackage(const BMetaDataTagged& item, short mode);

private:
    template <class Match> __POSITION* FindFirst(Match match) const;
    void SetValue(const char* tag, const void* bytes, unsigned int n);
    template <class Value> BMetaDataTagged* GetScalar(__POSITION* pos, Value& value);
    BMetaDataTagged* GetText(__POSITION* pos, Str& text);
    BMetaDataTagged* GetBytes(__POSITION* pos, unsigned char* bytes, unsigned int n);
    BMetaDataTagged* GetItem(__POSITION* pos, BMetaDataTagged& item);
    BMetaDataTagged* GetObject(__POSITION* pos, BMetaDataClass& object);
};
