#include "base/BMemFile.h"

#include "base/BAssert.h"
#include "base/internal/ByteOrder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

using StrImplementation::LoadLittleEndian;
using StrImplementation::StoreLittleEndian;

BMemFile::BMemFile()
    : m_capacity(0), m_length(0), m_growBy(kDefaultGrowBy), m_position(0), m_buffer(nullptr),
      m_allocated(0) {}

BMemFile::BMemFile(const unsigned char* bytes, unsigned int n) : BMemFile() {
    if (bytes == nullptr || n == 0)
        return;
    m_buffer = new unsigned char[n];
    std::memcpy(m_buffer, bytes, n);
    m_capacity = n;
    m_length = n;
    m_allocated = n;
}

BMemFile::~BMemFile() {
    delete[] m_buffer;
}

BMemFile& BMemFile::operator=(const BMemFile& other) {
    if (this == &other)
        return *this;
    unsigned int n = other.m_length;
    SetLength(n);
    if (m_capacity != n)
        throw std::bad_alloc();
    if (n != 0)
        std::memcpy(m_buffer, other.m_buffer, n);
    m_length = n;
    m_position = std::min(other.m_position, n);
    m_filename = other.m_filename;
    return *this;
}

void BMemFile::Set() {
    BMemFile record;
    m_metaData.Write(record, 1);
    m_filename.Set();
    static_cast<const BMetaDataTagged&>(m_filename).Write(record, 1);
    record.Write(m_length);
    if (m_length != 0)
        record.Write(m_buffer, m_length);
    CreateDataBuff(record.m_length);
    if (record.m_length != 0)
        std::memcpy(GetDataPtr(), record.m_buffer, record.m_length);
}

void BMemFile::Get() {
    BMemFile record;
    record.Attach(GetDataPtr(), static_cast<int>(m_size));
    // The data stays with this object whatever happens while it is read.
    struct Detacher {
        BMemFile& file;
        ~Detacher() { file.Detach(); }
    } detacher{record};

    m_metaData.Read(record, 1);
    static_cast<BMetaDataTagged&>(m_filename).Read(record, 1);
    m_filename.Get();

    unsigned int length = 0;
    record.Read(length);
    const unsigned int remaining = record.m_length - record.m_position;
    if (std::uint64_t{length} > std::uint64_t{remaining} + kMaxMissingBytes)
        length = remaining;
    // SetLength keeps the position within the new length.
    SetLength(length);
    if (m_capacity != length)
        throw std::bad_alloc();
    if (length != 0) {
        // Content missing from a record that ends early reads as zero, not as what the old buffer
        // held there.
        const unsigned int got = record.Read(m_buffer, length);
        std::memset(m_buffer + got, 0, length - got);
    }
    m_length = length;
}

unsigned int BMemFile::SetLength(unsigned int n) {
    if (n == m_capacity) {
        if (m_buffer != nullptr)
            std::memset(m_buffer, 0, m_capacity);
        return 0;
    }
    if (n == 0) {
        delete[] m_buffer;
        m_buffer = nullptr;
        m_capacity = 0;
        m_allocated = 0;
        m_length = 0;
        m_position = 0;
        return 0;
    }
    unsigned char* fresh = new (std::nothrow) unsigned char[n]();
    if (fresh == nullptr)
        return 0;
    if (m_buffer != nullptr)
        std::memcpy(fresh, m_buffer, std::min(m_capacity, n));
    delete[] m_buffer;
    m_buffer = fresh;
    m_capacity = n;
    m_allocated = n;
    m_length = n;
    m_position = std::min(m_position, m_length);
    return n;
}

unsigned int BMemFile::SetPosition(unsigned int pos) {
    m_position = std::min(pos, m_length);
    return m_position;
}

int BMemFile::Seek(int offset, int origin) {
    // 64-bit arithmetic: the sums below cannot overflow before they are clamped.
    std::int64_t target;
    if (origin == 2)
        target = std::int64_t{m_length} - offset;
    else if (origin == 1)
        target = std::int64_t{m_position} + offset;
    else
        target = offset;
    target = std::clamp<std::int64_t>(target, 0, m_length);
    m_position = static_cast<unsigned int>(target);
    return static_cast<int>(m_position);
}

void BMemFile::Reuse() {
    m_length = 0;
    m_position = 0;
    if (m_buffer != nullptr)
        std::memset(m_buffer, 0, m_capacity);
}

void BMemFile::SetGrowBy(unsigned int growBy) {
    m_growBy = growBy;
}

int BMemFile::WriteGrowing(const void* lpBuf, unsigned int n) {
    unsigned int room = m_capacity - m_position;
    if (room < n) {
        unsigned int shortfall = n - room;
        std::uint64_t wanted = std::uint64_t{m_capacity} + std::max(shortfall, m_growBy);
        if (wanted <= std::numeric_limits<unsigned int>::max())
            GrowForWrite(static_cast<unsigned int>(wanted));
        if (m_capacity - m_position < n)
            ::BAssertDetail::Fail("Write", __FILE__, __LINE__, "0");
        m_length = m_position + n;
    } else if (m_position + n > m_length) {
        m_length = m_position + n;
    }
    if (n != 0)
        std::memcpy(m_buffer + m_position, lpBuf, n);
    m_position += n;
    return static_cast<int>(n);
}

void BMemFile::GrowForWrite(unsigned int n) {
    if (n > m_allocated) {
        // Growing the allocation fourfold keeps the copies of a long run of writes linear in
        // total, whatever the grow-by, and few: a megabyte written word by word moves four
        // times, each time into fresh memory the system hands over page by page. The reserve is an
        // allocation detail and never shows in the capacity; pages of it never reached are never
        // touched, since it is zeroed only as it joins the capacity.
        const std::uint64_t grown = std::uint64_t{m_allocated} * 4;
        unsigned int size = static_cast<unsigned int>(std::min<std::uint64_t>(
            std::max<std::uint64_t>(n, grown), std::numeric_limits<unsigned int>::max()));
        unsigned char* fresh = new (std::nothrow) unsigned char[size];
        if (fresh == nullptr && size > n) {
            size = n;
            fresh = new (std::nothrow) unsigned char[size];
        }
        if (fresh == nullptr)
            return;
        if (m_buffer != nullptr)
            std::memcpy(fresh, m_buffer, m_capacity);
        delete[] m_buffer;
        m_buffer = fresh;
        m_allocated = size;
    }
    // The reserve is zeroed only as it joins the capacity, a grow-by at a time, just before the
    // writes fill it: zeroing a whole new allocation at once would sweep it through the cache
    // twice.
    std::memset(m_buffer + m_capacity, 0, n - m_capacity);
    m_capacity = n;
}

int BMemFile::ReadLittleEndian(unsigned int width, unsigned int& bits) {
    unsigned char bytes[4] = {0, 0, 0, 0};
    int count = static_cast<int>(Read(bytes, width));
    bits = LoadLittleEndian(bytes, width);
    return count;
}

int BMemFile::WriteGrowing(unsigned int width, unsigned int bits) {
    unsigned char bytes[4];
    StoreLittleEndian(bytes, bits, width);
    return Write(bytes, width);
}

int BMemFile::ReadShort(unsigned int& value) {
    unsigned int bits;
    int count = ReadLittleEndian(4, bits);
    if (count > 0)
        value = bits;
    return count;
}

int BMemFile::Read(float& value) {
    unsigned int bits;
    int count = ReadLittleEndian(4, bits);
    if (count > 0) {
        static_assert(sizeof(float) == 4, "float must be IEEE-754 single precision");
        std::memcpy(&value, &bits, 4);
    }
    return count;
}

int BMemFile::Read(short& value) {
    unsigned int bits;
    int count = ReadLittleEndian(2, bits);
    if (count > 0)
        value = static_cast<short>(bits);
    return count;
}

int BMemFile::Read(unsigned short& value) {
    unsigned int bits;
    int count = ReadLittleEndian(2, bits);
    if (count > 0)
        value = static_cast<unsigned short>(bits);
    return count;
}

int BMemFile::Write(float value) {
    unsigned int bits;
    std::memcpy(&bits, &value, 4);
    return WriteLittleEndian(4, bits);
}

unsigned char* BMemFile::Detach() {
    unsigned char* buffer = m_buffer;
    m_buffer = nullptr;
    m_capacity = 0;
    m_allocated = 0;
    m_length = 0;
    m_position = 0;
    m_growBy = kDefaultGrowBy;
    return buffer;
}

void BMemFile::Attach(unsigned char* buffer, int n) {
    B_ASSERT(buffer);
    if (buffer != m_buffer)
        delete[] m_buffer;
    m_buffer = buffer;
    m_capacity = n < 0 ? 0 : static_cast<unsigned int>(n);
    m_allocated = m_capacity;
    m_length = m_capacity;
    m_position = 0;
}
