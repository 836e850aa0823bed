#include "base/BMetaData.h"

#include "base/BAssert.h"
#include "base/BMemFile.h"

#include <cstdint>
#include <cstring>
#include <utility>

BMetaData::BMetaData() : m_data{}, m_size(0) {}

BMetaData::BMetaData(const BMetaData& other) : BMetaData() {
    *this = other;
}

BMetaData::BMetaData(BMetaData&& other) noexcept : BMetaData() {
    *this = std::move(other);
}

BMetaData::~BMetaData() {
    Initialize();
}

BMetaData& BMetaData::operator=(BMetaData&& other) noexcept {
    if (this == &other)
        return *this;
    Initialize();
    std::memcpy(m_data, other.m_data, sizeof m_data);
    m_size = other.m_size;
    std::memset(other.m_data, 0, sizeof other.m_data);
    other.m_size = 0;
    return *this;
}

BMetaData& BMetaData::operator=(const BMetaData& other) {
    if (this == &other)
        return *this;
    CreateDataBuff(other.m_size);
    if (m_size != 0)
        std::memcpy(GetDataPtr(), other.GetDataPtr(), m_size);
    return *this;
}

unsigned char* BMetaData::AllocatedArray() const {
    unsigned char* array;
    std::memcpy(&array, m_data, sizeof array);
    return array;
}

void BMetaData::Initialize() {
    if (m_size > kInlineSize)
        delete[] AllocatedArray();
    std::memset(m_data, 0, sizeof m_data);
    m_size = 0;
}

void BMetaData::CreateDataBuff(unsigned int n) {
    static_assert(sizeof(unsigned char*) <= kInlineSize, "an array address must fit in m_data");
    Initialize();
    if (n > kInlineSize) {
        unsigned char* array = new unsigned char[n]();
        std::memcpy(m_data, &array, sizeof array);
    }
    m_size = n;
}

void BMetaData::SetData(const char* text) {
    std::size_t length = text != nullptr ? std::strlen(text) : 0;
    // Built aside: text may lie in this item's own data, which the new data replaces.
    BMetaData fresh;
    if (length != 0) {
        fresh.CreateDataBuff(static_cast<unsigned int>(length + 1));
        std::memcpy(fresh.GetDataPtr(), text, length);
    }
    *this = std::move(fresh);
}

int BMetaData::CompareData(const unsigned char* p, unsigned int n) const {
    unsigned int common = m_size < n ? m_size : n;
    if (common == 0 || p == nullptr)
        return 1;
    return std::memcmp(p, GetDataPtr(), common);
}

unsigned char* BMetaData::GetDataPtr() {
    return m_size > kInlineSize ? AllocatedArray() : m_data;
}

const unsigned char* BMetaData::GetDataPtr() const {
    return m_size > kInlineSize ? AllocatedArray() : m_data;
}

int BMetaData::Read(BMemFile& file, short mode) {
    unsigned int size = 0;
    int count = file.Read(size);
    unsigned int remaining = file.m_length - file.m_position;
    if (std::uint64_t{size} > std::uint64_t{remaining} + kMaxMissingBytes)
        size = remaining;
    CreateDataBuff(size);
    if (mode & kTagTableMode) {
        // The record holds an index into a tag table supplied with the stream; without a table
        // the item keeps its zero bytes.
        short index = 0;
        return file.Read(index);
    }
    if (size != 0)
        count = static_cast<int>(file.Read(GetDataPtr(), size));
    return count;
}

int BMetaData::Write(BMemFile& file, short mode) const {
    int count = file.Write(m_size);
    if (mode & kTagTableMode) {
        // Tag-table records need the table that maps tag texts to indices.
        const bool tagTableAvailable = false;
        B_ASSERT(tagTableAvailable);
    }
    count = file.Write(GetDataPtr(), m_size);
    return count;
}
