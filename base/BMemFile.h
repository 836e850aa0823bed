/// @file
/// BMemFile.h — the serialisation stream: a growable in-memory byte buffer with one read/write
/// position. Scalars are written and read as little-endian images of their width (2 or 4 bytes)
/// whatever the host's byte order; byte runs travel as they are, with no length in front.
/// Memory: the file owns m_buffer, allocated with `new unsigned char[]`. Attach takes over a
/// caller's buffer of that kind and Detach hands the buffer out; neither copies.
/// Invariant: m_position <= m_length <= m_capacity, and m_buffer holds m_capacity bytes. Bytes
/// gained by growth are zero. A growing write may allocate more than it reports as capacity (the
/// reserve, zeroed as it joins the capacity): later growth within it costs no copy, so a long run
/// of small writes costs amortised constant time per byte while the capacity still grows by the
/// grow-by.
/// Through its base a memory file is also a serialisable object: its data holds the memory-file
/// record written by Set() (property list, file name item, 4-byte content length, content), and its
/// property list is where tag-table records find their tables ("GlobalMetaTable" when writing,
/// "GlobalMetaTableFast" when reading). m_filename travels with the file; the stream never uses it.
/// Copying: assignment copies the content (one allocation of the other file's length) and the file
/// name, nothing of the base; there is no copy construction. The destructor is not virtual.
#pragma once

#include "base/BAssert.h"
#include "base/BFilename.h"
#include "base/BMetaDataClass.h"

#include <cstring>

/// The serialisation stream: a growable in-memory byte buffer with one read/write position (see
/// BMemFile.h).
class BMemFile : public BMetaDataClass {
public:
    /// The grow-by of a new or detached file.
    static constexpr unsigned int kDefaultGrowBy = 4096;

    /// An empty file: no buffer, grow-by 4096.
    BMemFile();
    /// A file holding a copy of the n bytes (capacity and length n, position 0). With n = 0 or a
    /// null pointer the file is empty and holds no buffer.
    BMemFile(const unsigned char* bytes, unsigned int n);
    /// Releases the buffer, then the file name, then the base.
    ~BMemFile();
    BMemFile(const BMemFile&) = delete;
    /// Copies the other file's content and position (the position cut to its length), then its file
    /// name; capacity becomes the other's length. Grow-by, the property list, tag and data are not
    /// copied. Assigning a file to itself changes nothing.
    BMemFile& operator=(const BMemFile& other);

    /// Replaces the data with the memory-file record; the tag and the stream are left alone.
    void Set() override;
    /// Rebuilds property list, file name and content from the record in the data, read in place.
    /// A record that ends early gives what it holds (a missing length is 0); a content length
    /// claiming more than kMaxMissingBytes beyond the record's end keeps only the bytes present.
    /// The position is kept, cut to the restored length; content missing at the end reads as zero.
    void Get() override;

    /// Resizes the buffer to n bytes: n equal to the capacity zero-fills the buffer and returns 0;
    /// n = 0 releases it and returns 0; otherwise a new zeroed buffer keeps the old bytes that fit,
    /// capacity and length become n and n is returned (0 and no change when allocation fails).
    /// A position beyond the new length is cut to the length.
    unsigned int SetLength(unsigned int n);
    /// Moves the position to min(pos, length) and returns it.
    unsigned int SetPosition(unsigned int pos);
    /// Moves the position by offset from an origin: 2 counts back from the end, 1 from the current
    /// position, anything else from the start. The target is clamped to 0..length and returned.
    int Seek(int offset, int origin);
    /// Length and position become 0 and the whole buffer is zero-filled; the buffer is kept.
    void Reuse();
    /// Least growth of a write that runs past the capacity; 0 grows by exactly what is needed.
    void SetGrowBy(unsigned int growBy);

    /// Copies up to n bytes from the position into lpBuf (must not be null) and advances the
    /// position by the count copied, which is returned; 0 at the end of the data.
    unsigned int Read(void* lpBuf, unsigned int n) {
        B_ASSERT(lpBuf);
        const unsigned int left = m_position <= m_length ? m_length - m_position : 0;
        const unsigned int count = n < left ? n : left;
        if (count != 0)
            std::memcpy(lpBuf, m_buffer + m_position, count);
        m_position += count;
        return count;
    }
    /// Typed reads of 4 and 2 bytes. The destination is assigned only when at least one byte was
    /// read; bytes beyond the end of the data count as zero. Return the number of bytes read.
    /// Inline while the 4 bytes are there, the common case of a record being read.
    int Read(unsigned int& value) {
        if (m_length - m_position < 4 || m_position > m_length)
            return ReadShort(value);
        value = LittleEndian4(m_buffer + m_position);
        m_position += 4;
        return 4;
    }
    ///@{
    /// Typed reads of the 4- or 2-byte little-endian image; missing high bytes are zero. Return
    /// the number of bytes read.
    int Read(int& value) {
        unsigned int bits = static_cast<unsigned int>(value);
        const int count = Read(bits);
        value = static_cast<int>(bits);
        return count;
    }
    int Read(float& value);
    int Read(short& value);
    int Read(unsigned short& value);
    ///@}

    /// Writes n bytes from lpBuf (must not be null, even for n = 0) at the position, growing the
    /// buffer by at least the grow-by when it runs out, and advances the position. Returns n.
    int Write(const void* lpBuf, unsigned int n) {
        B_ASSERT(lpBuf);
        if (m_capacity - m_position < n || m_position > m_capacity)
            return WriteGrowing(lpBuf, n);
        if (n != 0)
            std::memcpy(m_buffer + m_position, lpBuf, n);
        m_position += n;
        if (m_position > m_length)
            m_length = m_position;
        return static_cast<int>(n);
    }
    ///@{
    /// Typed writes of the 4- or 2-byte little-endian image. Return the width.
    int Write(unsigned int value) { return WriteLittleEndian(4, value); }
    int Write(int value) { return WriteLittleEndian(4, static_cast<unsigned int>(value)); }
    int Write(float value);
    int Write(short value) { return WriteLittleEndian(2, static_cast<unsigned short>(value)); }
    int Write(unsigned short value) { return WriteLittleEndian(2, value); }
    ///@}

    /// Hands the buffer (null if none) to the caller, who releases it with delete[]; the file
    /// becomes empty and grow-by returns to 4096.
    unsigned char* Detach();
    /// Takes buffer (must not be null, allocated with new unsigned char[]) as the content: capacity
    /// and length n (a negative n counts as 0), position 0, grow-by unchanged. A buffer already
    /// held is released first.
    void Attach(unsigned char* buffer, int n);

    unsigned int m_capacity; ///< bytes the buffer holds
    unsigned int m_length;   ///< bytes of content
    unsigned int m_growBy;   ///< least growth when a write runs out of room
    unsigned int m_position; ///< where the next read or write starts
    unsigned char* m_buffer; ///< the content; null when the file holds no buffer
    /// Carried with the file: copied by assignment, serialised by Set and Get, unused by the
    /// stream.
    BFilename m_filename;

private:
    /// Bytes allocated in m_buffer: m_capacity, or more when a growing write left a reserve.
    unsigned int m_allocated;

    int ReadLittleEndian(unsigned int width, unsigned int& bits);
    /// The 4-byte read when fewer than 4 bytes remain.
    int ReadShort(unsigned int& value);
    /// The inline fast paths below spell out the byte order themselves: an installed header cannot
    /// use the library's internal one, and a call per scalar would cost the run of writes.
    static unsigned int LittleEndian4(const unsigned char* p) {
        return p[0] | p[1] << 8 | p[2] << 16 | static_cast<unsigned int>(p[3]) << 24;
    }
    /// The raw write when the bytes do not fit in the capacity.
    int WriteGrowing(const void* lpBuf, unsigned int n);
    /// Inline while the bytes fit in the capacity, the common case of a run of scalar writes;
    /// otherwise the growing byte write. The image is built in a local and copied in one store,
    /// and the fields are read before it and written after it: a byte store may alias them, so
    /// anything else would make the compiler store and reload them byte by byte.
    int WriteLittleEndian(unsigned int width, unsigned int bits) {
        const unsigned int at = m_position;
        if (m_capacity - at < width)
            return WriteGrowing(width, bits);
        const unsigned int length = m_length;
        unsigned char image[4];
        for (unsigned int i = 0; i < width; ++i)
            image[i] = static_cast<unsigned char>(bits >> (8 * i));
        std::memcpy(m_buffer + at, image, width);
        m_position = at + width;
        m_length = at + width > length ? at + width : length;
        return static_cast<int>(width);
    }
    int WriteGrowing(unsigned int width, unsigned int bits);
    /// Raises the capacity to n (> m_capacity) for a write, from the reserve when it suffices.
    void GrowForWrite(unsigned int n);
};
