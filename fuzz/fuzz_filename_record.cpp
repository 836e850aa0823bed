// Restores a filename from arbitrary bytes as its serialised form, then checks that writing it
// again and restoring that into a second object gives the same filename and properties, and that
// restoring left the bytes alone.
#include "base/BFilename.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

void Check(bool ok) {
    if (!ok)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    BFilename f;
    f.CreateDataBuff(static_cast<unsigned int>(size));
    if (size > 0)
        std::memcpy(f.GetDataPtr(), data, size);
    f.Get();
    Check(f.m_size == size && (size == 0 || std::memcmp(f.GetDataPtr(), data, size) == 0));

    f.Set();
    BFilename g;
    static_cast<BMetaData&>(g) = f;
    g.Get();
    Check(g.GetStorageString() == f.GetStorageString());
    Check(g.m_metaData.GetCount() == f.m_metaData.GetCount());
    return 0;
}
