#include "base/BMetaData.h"

#include "base/BMemFile.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace {

constexpr char kWriteTableTag[] = "GlobalMetaTable";
constexpr char kReadTableTag[] = "GlobalMetaTableFast";

// Length of the text at bytes: up to its first zero byte or n, whichever comes first. Reads no
// byte past the zero.
unsigned int TextLength(const char* bytes, unsigned int n) {
    unsigned int length = 0;
    while (length < n && bytes[length] != 0)
        ++length;
    return length;
}

// The index of item's text in the write table of file, added to the table when the text is new:
// texts get 0, 1, 2 and on in the order they are first written, matched without regard to case.
short TableIndex(BMemFile& file, const BMetaData& item) {
    void* stored = nullptr;
    file.m_metaData.GetData(kWriteTableTag, &stored);
    auto* table = static_cast<BMetaDataTaggedList*>(stored);
    const short candidate = static_cast<short>(BMetaDataTaggedList::CountOf(table));
    const char* bytes = reinterpret_cast<const char*>(item.GetDataPtr());
    const std::string text(bytes, TextLength(bytes, item.m_size));
    short index = candidate;
    table->GetData(text.c_str(), index);
    if (index == candidate)
        table->SetData(text.c_str(), index);
    return index;
}

// The text at index in the read table of file; null without a table, for a negative index or a
// null entry.
const char* TableEntry(BMemFile& file, short index) {
    void* stored = nullptr;
    file.m_metaData.GetData(kReadTableTag, &stored);
    if (stored == nullptr || index < 0)
        return nullptr;
    return static_cast<const char* const*>(stored)[index];
}

} // namespace

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

void BMetaData::AllocateArray(unsigned int n) {
    static_assert(sizeof(unsigned char*) <= kInlineSize, "an array address must fit in m_data");
    unsigned char* array = new unsigned char[n]();
    std::memcpy(m_data, &array, sizeof array);
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

int BMetaData::Read(BMemFile& file, short mode) {
    unsigned int size = 0;
    int count = file.Read(size);
    if (mode & kTagTableMode) {
        short index = 0;
        count = file.Read(index);
        const char* text = count > 0 ? TableEntry(file, index) : nullptr;
        // The tag's bytes come from the table, so its size is measured against the table's text,
        // not against what is left of the stream.
        const std::uint64_t supplied = text != nullptr ? std::strlen(text) + 1 : 0;
        if (std::uint64_t{size} > supplied + kMaxMissingBytes)
            size = static_cast<unsigned int>(supplied + kMaxMissingBytes);
        CreateDataBuff(size);
        if (text != nullptr)
            std::memcpy(GetDataPtr(), text, TextLength(text, size));
        return count;
    }
    const unsigned int remaining = file.m_length - file.m_position;
    if (std::uint64_t{size} > std::uint64_t{remaining} + kMaxMissingBytes)
        size = remaining;
    CreateDataBuff(size);
    if (size != 0)
        count = static_cast<int>(file.Read(GetDataPtr(), size));
    return count;
}

int BMetaData::Write(BMemFile& file, short mode) const {
    int count = file.Write(m_size);
    if (mode & kTagTableMode)
        return file.Write(TableIndex(file, *this));
    count = file.Write(GetDataPtr(), m_size);
    return count;
}
