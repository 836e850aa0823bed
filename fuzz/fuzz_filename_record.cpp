// Restores a filename from arbitrary bytes as its serialised form, then checks that writing it
// again and restoring that into a second object gives the same filename and properties, and that
// restoring left the bytes alone.
#include "FuzzCheck.h"
#include "base/BFilename.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    BFilename f;
    f.CreateDataBuff(static_cast<unsigned int>(size));
    if (size > 0)
        std::memcpy(f.GetDataPtr(), data, size);
    f.Get();
    FUZZ_CHECK(f.m_size == size && (size == 0 || std::memcmp(f.GetDataPtr(), data, size) == 0));

    f.Set();
    BFilename g;
    static_cast<BMetaData&>(g) = f;
    g.Get();
    FUZZ_CHECK(g.GetStorageString() == f.GetStorageString());
    FUZZ_CHECK(g.m_metaData.GetCount() == f.m_metaData.GetCount());
    return 0;
}
