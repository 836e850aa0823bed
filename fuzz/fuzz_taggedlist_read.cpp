// Reads a tagged list from arbitrary bytes in modes 1 and 3, then checks that what was read
// survives a write and a second read unchanged, and that every getter copes with every item.
#include "FuzzCheck.h"
#include "base/BMemFile.h"
#include "base/BMetaDataTaggedList.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

void ExerciseGetters(BMetaDataTaggedList& list) {
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;) {
        BMetaDataTagged& item = list.GetNext(pos);
        // Tags read from a stream need not end with a zero byte; look them up as the text they
        // hold.
        const char* raw = reinterpret_cast<const char*>(item.m_tag.GetDataPtr());
        const std::string tagText(raw, strnlen(raw, item.m_tag.m_size));
        const char* tag = tagText.c_str();
        int i = 0;
        short s = 0;
        float f = 0;
        void* p = nullptr;
        Str text;
        unsigned char bytes[4];
        FUZZ_CHECK(list.FindData(tag) != nullptr);
        FUZZ_CHECK(list.FindData(tag) == list.FindData(Str(tag)));
        list.GetData(tag, i);
        list.GetData(tag, s);
        list.GetData(tag, f);
        list.GetData(tag, &p);
        list.GetData(tag, text);
        list.GetData(Str(tag), text);
        list.GetData(tag, bytes, sizeof bytes);
        FUZZ_CHECK(text.GetLength() <=
                   static_cast<int>(list.GetAt(list.FindData(Str(tag))).m_size));
    }
}

void ReadInMode(const uint8_t* data, size_t size, short mode) {
    BMemFile stream(data, static_cast<unsigned int>(size));
    BMetaDataTaggedList list;
    int count = list.Read(stream, mode);
    FUZZ_CHECK(count == static_cast<int>(list.GetCount()));
    FUZZ_CHECK(list.GetCount() <= size / 8 + BMetaDataTaggedList::kMaxItemsPastEnd + 1);
    ExerciseGetters(list);

    // Written in mode 1 and read back, the list is the same, and writing it again gives the same
    // bytes. (Mode 3 writes tags as table indices and needs a table.)
    BMemFile first;
    list.Write(first, 1);
    first.Seek(0, 0);
    BMetaDataTaggedList again;
    FUZZ_CHECK(again.Read(first, 1) == count);
    FUZZ_CHECK(first.m_position == first.m_length);
    BMemFile second;
    again.Write(second, 1);
    FUZZ_CHECK(second.m_length == first.m_length);
    FUZZ_CHECK(std::memcmp(first.m_buffer, second.m_buffer, first.m_length) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ReadInMode(data, size, 1);
    ReadInMode(data, size, 3);
    return 0;
}
