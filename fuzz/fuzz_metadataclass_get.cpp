// Rebuilds a serialisable object from arbitrary data, then checks that Get read the data in place
// without changing it and that Set and Get agree on what was rebuilt.
#include "FuzzCheck.h"
#include "base/BMetaDataClass.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    BMetaDataClass object;
    object.m_metaData.SetData("stale", 1);
    object.CreateDataBuff(static_cast<unsigned int>(size));
    if (size != 0)
        std::memcpy(object.GetDataPtr(), data, size);
    object.Get();
    FUZZ_CHECK(object.m_size == size);
    FUZZ_CHECK(size == 0 || std::memcmp(object.GetDataPtr(), data, size) == 0);

    const unsigned int count = object.m_metaData.GetCount();
    object.Set();
    std::vector<unsigned char> packed(object.GetDataPtr(), object.GetDataPtr() + object.m_size);
    object.Get();
    FUZZ_CHECK(object.m_metaData.GetCount() == count);
    object.Set();
    FUZZ_CHECK(object.m_size == packed.size());
    FUZZ_CHECK(std::memcmp(object.GetDataPtr(), packed.data(), packed.size()) == 0);

    // Storing the object in a list and fetching it into another gives the same list.
    BMetaDataTaggedList list;
    list.SetData("object", object);
    BMetaDataClass fetched;
    FUZZ_CHECK(list.GetData("OBJECT", fetched) != nullptr);
    FUZZ_CHECK(fetched.m_metaData.GetCount() == count);
    return 0;
}
