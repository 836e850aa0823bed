// Feeds arbitrary bytes, stored as a raw-byte preference entry, to the structured preference
// getters, and checks what they hand on: the object's data is exactly the entry, and the list read
// from it survives being stored and fetched again.
#include "FuzzCheck.h"
#include "base/BMemFile.h"
#include "base/BMetaDataClass.h"
#include "base/BMetaDataTaggedList.h"
#include "platform/UserDefaults.h"
#include "prefs/BPreferences.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// The store lives in the working folder, so that a run never touches the user's own defaults.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    platform::UserDefaults::setStandardPath("fuzz_prefs_get.plist");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto& store = platform::UserDefaults::standardUserDefaults();
    FUZZ_CHECK(store.setObject(platform::UserDefaults::Bytes(data, data + size), "FuzzValue"));
    BPreferences prefs;

    BMetaDataClass object;
    FUZZ_CHECK(prefs.Get(Str("Fuzz"), Str("Value"), object) == 0);
    FUZZ_CHECK(object.m_size == size);
    FUZZ_CHECK(size == 0 || std::memcmp(object.GetDataPtr(), data, size) == 0);

    BMetaDataTaggedList list;
    list.SetData("untouched", 1);
    FUZZ_CHECK(prefs.Get(Str("Fuzz"), Str("Value"), list) == 0);
    FUZZ_CHECK(size != 0 || list.GetCount() == 1);
    FUZZ_CHECK(size == 0 || list.GetCount() == object.m_metaData.GetCount());

    // What was read, stored again without synchronising and fetched, is the same list.
    BMemFile record;
    list.Write(record, 1);
    store.setObject(
        platform::UserDefaults::Bytes(record.m_buffer, record.m_buffer + record.m_length),
        "FuzzAgain");
    BMetaDataTaggedList again;
    FUZZ_CHECK(prefs.Get(Str("Fuzz"), Str("Again"), again) == 0);
    FUZZ_CHECK(again.GetCount() == list.GetCount());
    return 0;
}
