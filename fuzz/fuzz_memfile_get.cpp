// Rebuilds a memory file from arbitrary bytes taken as its own record, then checks that Get read
// the data in place, kept the stream's invariant and a content bounded by the record, and that Set
// and Get agree on what was rebuilt.
#include "FuzzCheck.h"
#include "base/BMemFile.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    BMemFile file;
    file.Write("stale content", 13);
    file.CreateDataBuff(static_cast<unsigned int>(size));
    if (size != 0)
        std::memcpy(file.GetDataPtr(), data, size);
    file.Get();
    FUZZ_CHECK(file.m_size == size);
    FUZZ_CHECK(size == 0 || std::memcmp(file.GetDataPtr(), data, size) == 0);
    FUZZ_CHECK(file.m_position <= file.m_length && file.m_length <= file.m_capacity);
    FUZZ_CHECK(file.m_length <= size + BMetaData::kMaxMissingBytes);

    const std::vector<unsigned char> content(file.m_buffer, file.m_buffer + file.m_length);
    const unsigned int count = file.m_metaData.GetCount();
    file.Set();
    const std::vector<unsigned char> packed(file.GetDataPtr(), file.GetDataPtr() + file.m_size);
    file.Write("more", 4);
    file.Get();
    FUZZ_CHECK(file.m_metaData.GetCount() == count);
    FUZZ_CHECK(std::vector<unsigned char>(file.m_buffer, file.m_buffer + file.m_length) == content);
    file.Set();
    FUZZ_CHECK(file.m_size == packed.size());
    FUZZ_CHECK(std::memcmp(file.GetDataPtr(), packed.data(), packed.size()) == 0);
    return 0;
}
