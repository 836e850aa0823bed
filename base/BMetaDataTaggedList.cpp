#include "base/BMetaDataTaggedList.h"

#include "base/BMemFile.h"
#include "base/BMetaDataClass.h"
#include "base/internal/ByteOrder.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

using StrImplementation::LoadLittleEndian;
using StrImplementation::StoreLittleEndian;

namespace {

using Node = LinkedListNode<BMetaDataTagged>;

Node* NodeAt(__POSITION* pos) {
    return reinterpret_cast<Node*>(pos);
}

// The text of a run of bytes: up to its first zero byte or its end. Runs read from a stream need
// not hold a zero byte, and the text must not be looked for past them.
std::string TextOf(const BMetaData& run) {
    const char* bytes = reinterpret_cast<const char*>(run.GetDataPtr());
    const void* zero = std::memchr(bytes, 0, run.m_size);
    std::size_t length = zero ? static_cast<const char*>(zero) - bytes : run.m_size;
    return std::string(bytes, length);
}

bool Decode(const BMetaData& item, int& value) {
    if (item.m_size < 4)
        return false;
    value = static_cast<int>(LoadLittleEndian(item.GetDataPtr(), 4));
    return true;
}

bool Decode(const BMetaData& item, unsigned int& value) {
    if (item.m_size < 4)
        return false;
    value = LoadLittleEndian(item.GetDataPtr(), 4);
    return true;
}

bool Decode(const BMetaData& item, short& value) {
    if (item.m_size < 2)
        return false;
    value = static_cast<short>(LoadLittleEndian(item.GetDataPtr(), 2));
    return true;
}

bool Decode(const BMetaData& item, float& value) {
    if (item.m_size < 4)
        return false;
    std::uint32_t bits = LoadLittleEndian(item.GetDataPtr(), 4);
    std::memcpy(&value, &bits, sizeof value);
    return true;
}

bool Decode(const BMetaData& item, __POSITION*& value) {
    if (item.m_size < sizeof value)
        return false;
    std::memcpy(&value, item.GetDataPtr(), sizeof value);
    return true;
}

bool Decode(const BMetaData& item, void** value) {
    if (item.m_size < sizeof(void*))
        return false;
    if (value != nullptr)
        std::memcpy(value, item.GetDataPtr(), sizeof(void*));
    return true;
}

} // namespace

// --- Lookup -------------------------------------------------------------------------------------

template <class Match> __POSITION* BMetaDataTaggedList::FindFirst(Match match) const {
    for (__POSITION* pos = GetHeadPosition(); pos != nullptr; pos = ToPosition(NodeAt(pos)->next)) {
        if (match(NodeAt(pos)->value))
            return pos;
    }
    return nullptr;
}

__POSITION* BMetaDataTaggedList::FindData(const char* tag) const {
    return FindFirst([tag](const BMetaDataTagged& item) { return item.CompareTag(tag) == 0; });
}

__POSITION* BMetaDataTaggedList::FindData(const Str& tag) const {
    const char* wanted = tag;
    return FindFirst([wanted](const BMetaDataTagged& item) {
        const char* text = reinterpret_cast<const char*>(item.m_tag.GetDataPtr());
        if (std::memchr(text, 0, item.m_tag.m_size) == nullptr && item.m_tag.m_size != 0)
            return StrImplementation::STR_stricmp_ex(TextOf(item.m_tag).c_str(), wanted) == 0;
        return StrImplementation::STR_stricmp_ex(text, wanted) == 0;
    });
}

BMetaDataTagged& BMetaDataTaggedList::UniqueData(const char* tag) {
    // A copy: tag may be the text of an item removed below.
    const std::string wanted = tag != nullptr ? tag : "";
    __POSITION* found = nullptr;
    __POSITION* pos = GetHeadPosition();
    while (pos != nullptr) {
        __POSITION* current = pos;
        pos = ToPosition(NodeAt(pos)->next);
        if (NodeAt(current)->value.CompareTag(wanted.c_str()) != 0)
            continue;
        if (found == nullptr)
            found = current;
        else
            RemoveAt(current);
    }
    if (found != nullptr)
        return GetAt(found);
    BMetaDataTagged fresh;
    fresh.m_tag.SetData(wanted.c_str());
    return GetAt(AddTail(fresh));
}

BMetaDataTagged& BMetaDataTaggedList::UniqueData(const Str& tag) {
    return UniqueData(static_cast<const char*>(tag));
}

int BMetaDataTaggedList::RemoveData(const Str& tag) {
    int removed = 0;
    for (__POSITION* pos = FindData(tag); pos != nullptr; pos = FindData(tag)) {
        RemoveAt(pos);
        ++removed;
    }
    return removed;
}

// --- Setters ------------------------------------------------------------------------------------

void BMetaDataTaggedList::SetValue(const char* tag, const void* bytes, unsigned int n) {
    // Built aside: bytes may lie in an item that UniqueData removes or that this call replaces.
    BMetaData data;
    data.CreateDataBuff(n);
    if (n != 0)
        std::memcpy(data.GetDataPtr(), bytes, n);
    UniqueData(tag).BMetaData::operator=(std::move(data));
}

void BMetaDataTaggedList::SetData(const char* tag, int value) {
    SetData(tag, static_cast<unsigned int>(value));
}

void BMetaDataTaggedList::SetData(const char* tag, unsigned int value) {
    unsigned char image[4];
    StoreLittleEndian(image, value, 4);
    SetValue(tag, image, 4);
}

void BMetaDataTaggedList::SetData(const char* tag, short value) {
    unsigned char image[2];
    StoreLittleEndian(image, static_cast<unsigned short>(value), 2);
    SetValue(tag, image, 2);
}

void BMetaDataTaggedList::SetData(const char* tag, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    unsigned char image[4];
    StoreLittleEndian(image, bits, 4);
    SetValue(tag, image, 4);
}

void BMetaDataTaggedList::SetData(const char* tag, __POSITION* value) {
    SetValue(tag, &value, sizeof value);
}

void BMetaDataTaggedList::SetData(const char* tag, void* value) {
    SetValue(tag, &value, sizeof value);
}

void BMetaDataTaggedList::SetData(const char* tag, const Str& text) {
    SetData(tag, static_cast<const char*>(text));
}

void BMetaDataTaggedList::SetData(const char* tag, const char* text) {
    BMetaData data;
    data.SetData(text);
    UniqueData(tag).BMetaData::operator=(std::move(data));
}

void BMetaDataTaggedList::SetData(const char* tag, const unsigned char* bytes, unsigned int n) {
    SetValue(tag, bytes, bytes != nullptr ? n : 0);
}

void BMetaDataTaggedList::SetData(const char* tag, const BMetaDataTagged& item) {
    // A copy first: item may be one of this list's items, which UniqueData may remove.
    BMetaData data(item);
    UniqueData(tag).BMetaData::operator=(std::move(data));
}

void BMetaDataTaggedList::SetData(const BMetaDataTagged& item) {
    SetData(TextOf(item.m_tag).c_str(), item);
}

__POSITION* BMetaDataTaggedList::SetData(const char* tag, BMetaDataClass& object) {
    RemoveData(Str(tag != nullptr ? tag : ""));
    object.m_tag.SetData(tag);
    object.Set();
    return AddTail(object);
}

// --- Getters ------------------------------------------------------------------------------------

template <class Value>
BMetaDataTagged* BMetaDataTaggedList::GetScalar(__POSITION* pos, Value& value) {
    if (pos == nullptr)
        return nullptr;
    BMetaDataTagged& item = GetAt(pos);
    Decode(item, value);
    return &item;
}

BMetaDataTagged* BMetaDataTaggedList::GetText(__POSITION* pos, Str& text) {
    if (pos == nullptr)
        return nullptr;
    BMetaDataTagged& item = GetAt(pos);
    text.Copy_Native(TextOf(item).c_str());
    return &item;
}

BMetaDataTagged* BMetaDataTaggedList::GetBytes(__POSITION* pos, unsigned char* bytes,
                                               unsigned int n) {
    if (pos == nullptr)
        return nullptr;
    BMetaDataTagged& item = GetAt(pos);
    unsigned int count = item.m_size < n ? item.m_size : n;
    if (bytes != nullptr && count != 0)
        std::memcpy(bytes, item.GetDataPtr(), count);
    return &item;
}

BMetaDataTagged* BMetaDataTaggedList::GetItem(__POSITION* pos, BMetaDataTagged& item) {
    if (pos == nullptr)
        return nullptr;
    item = GetAt(pos);
    return &item;
}

BMetaDataTagged* BMetaDataTaggedList::GetObject(__POSITION* pos, BMetaDataClass& object) {
    if (pos == nullptr)
        return nullptr;
    BMetaDataTagged& item = GetAt(pos);
    static_cast<BMetaDataTagged&>(object) = item;
    object.Get();
    return &item;
}

BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, int& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, int& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, unsigned int& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, unsigned int& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, short& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, short& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, float& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, float& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, __POSITION*& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, __POSITION*& value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, void** value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, void** value) {
    return GetScalar(FindData(tag), value);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, Str& text) {
    return GetText(FindData(tag), text);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, Str& text) {
    return GetText(FindData(tag), text);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, unsigned char* bytes,
                                              unsigned int n) {
    return GetBytes(FindData(tag), bytes, n);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, unsigned char* bytes,
                                              unsigned int n) {
    return GetBytes(FindData(tag), bytes, n);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, BMetaDataTagged& item) {
    return GetItem(FindData(tag), item);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, BMetaDataTagged& item) {
    return GetItem(FindData(tag), item);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const char* tag, BMetaDataClass& object) {
    return GetObject(FindData(tag), object);
}
BMetaDataTagged* BMetaDataTaggedList::GetData(const Str& tag, BMetaDataClass& object) {
    return GetObject(FindData(tag), object);
}

// --- Whole lists --------------------------------------------------------------------------------

void BMetaDataTaggedList::AddAndOverwrite(const BMetaDataTaggedList& other) {
    // The next position is taken after each update: when other is this list, the update may remove
    // later items with the same tag, but never the current one (the first with its tag).
    for (__POSITION* pos = other.GetHeadPosition(); pos != nullptr;
         pos = ToPosition(NodeAt(pos)->next))
        SetData(NodeAt(pos)->value);
}

BMetaDataTaggedList& BMetaDataTaggedList::operator+=(const BMetaDataTaggedList& other) {
    // Counted, so that appending a list to itself copies only the items present at the start.
    __POSITION* pos = other.GetHeadPosition();
    for (unsigned int n = other.GetCount(); n != 0; --n)
        AddTail(other.GetNext(pos));
    return *this;
}

bool BMetaDataTaggedList::operator==(const BMetaDataTaggedList& other) const {
    if (GetCount() != other.GetCount())
        return false;
    __POSITION* mine = GetHeadPosition();
    __POSITION* theirs = other.GetHeadPosition();
    while (mine != nullptr && theirs != nullptr) {
        const BMetaDataTagged& a = GetNext(mine);
        const BMetaDataTagged& b = other.GetNext(theirs);
        if (b.CompareData(a.GetDataPtr(), a.m_size) != 0)
            return false;
    }
    return true;
}

void BMetaDataTaggedList::Write(BMemFile& file, short mode) const {
    if (mode <= 2)
        file.Write(kMarker, kMarkerSize);
    file.Write(GetCount());
    for (__POSITION* pos = GetHeadPosition(); pos != nullptr;)
        GetNext(pos).Write(file, mode);
}

int BMetaDataTaggedList::Read(BMemFile& file, short mode) {
    RemoveAll();
    if (mode <= 2) {
        char marker[kMarkerSize + 1] = {};
        file.Read(marker, kMarkerSize);
        if (StrImplementation::STR_strcmp_ex(marker, kMarker) != 0)
            return 0;
    }
    unsigned int count = 0;
    file.Read(count);
    unsigned int pastEnd = 0;
    for (unsigned int i = 0; i < count; ++i) {
        if (file.m_position >= file.m_length && pastEnd++ == kMaxItemsPastEnd)
            break;
        AddTailDefault().Read(file, mode);
    }
    return static_cast<int>(GetCount());
}

void BMetaDataTaggedList::Package(BMetaDataTagged& item, short mode) const {
    BMemFile file;
    Write(file, mode);
    unsigned int length = file.m_length;
    unsigned char* bytes = file.Detach();
    item.CreateDataBuff(length);
    if (length != 0)
        std::memcpy(item.GetDataPtr(), bytes, length);
    delete[] bytes;
}

void BMetaDataTaggedList::UnPackage(const BMetaDataTagged& item, short mode) {
    BMemFile file(item.GetDataPtr(), item.m_size);
    Read(file, mode);
}
