/// @file
/// BMetaData.h — a metadata item: a run of bytes owned by the item. Runs of up to 8 bytes live
/// inside the object (no allocation); longer runs live in an array allocated with new[].
/// Memory: the item owns its array and releases it whenever it is given new data and on
/// destruction. A text is kept with its terminating zero byte (size = length + 1); the empty text
/// is the empty item.
/// Invariant: when m_size <= 8 the data are the first m_size bytes of m_data (the rest means
/// nothing); when m_size >= 9, m_data holds the address of an array of m_size bytes. An empty item
/// is all zero, and its data address points at those 8 zero bytes (never null).
/// Copying: copy construction and assignment copy the bytes (one allocation above 8 bytes); moves
/// take them over.
#pragma once

#include <cstring>

class BMemFile;

/// A metadata item: a run of bytes owned by the item (see BMetaData.h).
class BMetaData {
public:
    /// Largest run kept inside the object.
    static constexpr unsigned int kInlineSize = 8;
    /// Bit of the record mode that selects the tag-table form for tags.
    static constexpr short kTagTableMode = 2;
    /// Most zero bytes a read item may hold beyond what its stream supplied.
    static constexpr unsigned int kMaxMissingBytes = 4096;

    /// An empty item.
    BMetaData();
    /// A copy of other's bytes.
    BMetaData(const BMetaData& other);
    /// Releases the data.
    ~BMetaData();
    /// Takes other's bytes without copying them; other is left empty.
    BMetaData(BMetaData&& other) noexcept;
    /// Replaces the data with a copy of other's bytes. Assigning an item to itself changes nothing.
    BMetaData& operator=(const BMetaData& other);
    /// Replaces the data with other's bytes, taken without copying; other is left empty.
    BMetaData& operator=(BMetaData&& other) noexcept;

    /// Releases the data and leaves the item empty.
    void Initialize() {
        if (m_size > kInlineSize)
            delete[] AllocatedArray();
        std::memset(m_data, 0, sizeof m_data);
        m_size = 0;
    }
    /// Releases the data and makes n zero bytes (inside for n <= 8, allocated above).
    void CreateDataBuff(unsigned int n) {
        Initialize();
        if (n > kInlineSize)
            AllocateArray(n);
        m_size = n;
    }
    /// Stores text with its zero byte; null or the empty text gives the empty item.
    void SetData(const char* text);
    /// Byte-wise comparison (memcmp order) of the first min(m_size, n) bytes at p against the
    /// data; 0 when they match. A common length of 0 or a null p gives 1, so an empty item equals
    /// nothing, not even another empty item.
    int CompareData(const unsigned char* p, unsigned int n) const;

    /// Address of the data bytes: m_data itself up to 8 bytes, the allocated array above. Never
    /// null.
    unsigned char* GetDataPtr() { return m_size > kInlineSize ? AllocatedArray() : m_data; }
    /// GetDataPtr of a constant item.
    const unsigned char* GetDataPtr() const {
        return m_size > kInlineSize ? AllocatedArray() : m_data;
    }

    /// Reads an item record: a 4-byte size S, then S bytes. A missing size gives the empty item;
    /// data bytes missing at the end of the stream stay zero. A size claiming more than
    /// kMaxMissingBytes beyond the end of the stream is not believed: the item keeps only the bytes
    /// that remain, so a corrupt size cannot make the item larger than its stream. In tag-table
    /// form (mode & kTagTableMode) S is followed by a 2-byte index into the array of text pointers
    /// stored under "GlobalMetaTableFast" in file's property list, and up to S bytes of that text
    /// are copied: there S is measured against the text (a tag of any length reads back whole),
    /// and cut only where it claims more than kMaxMissingBytes past the text's zero byte. No array,
    /// no index or a negative index leaves zero bytes; an index past the array's end is not
    /// detected. Returns the byte count of the last transfer.
    int Read(BMemFile& file, short mode);
    /// Writes an item record: the 4-byte size, then the bytes. In tag-table form the bytes are
    /// replaced by the 2-byte index of the text in the table under "GlobalMetaTable" in file's
    /// property list (a BMetaDataTaggedList of short values, which must exist; new texts are added
    /// with the next index). Returns the byte count of the last transfer.
    int Write(BMemFile& file, short mode) const;

    unsigned char m_data[kInlineSize]; ///< the bytes up to kInlineSize; above, the array's address
    unsigned int m_size;               ///< number of data bytes

private:
    /// Above kInlineSize, m_data holds the address of the allocated array.
    unsigned char* AllocatedArray() const {
        unsigned char* array;
        std::memcpy(&array, m_data, sizeof array);
        return array;
    }
    void AllocateArray(unsigned int n);
};
