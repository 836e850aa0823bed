// The structured values of the preferences facade: tagged lists and serialisable objects, stored
// as the raw bytes of their serialised forms with nothing added.
#include "prefs/BPreferences.h"

#include "base/BMemFile.h"
#include "base/BMetaDataClass.h"
#include "base/BMetaDataTaggedList.h"
#include "prefs/BPreferencesCocoaWrapper.h"

#include <cstring>
#include <memory>

namespace {

// Every stored form is written and read in mode 1: plain records, the list marker included.
constexpr short kMode = 1;

template <class Section> void StoreList(Section section, Section name, BMetaDataTaggedList& list) {
    BMemFile file;
    list.Write(file, kMode);
    BPreferencesCocoaWrapper().Set(section, name, file.m_buffer, file.m_length);
}

template <class Section> void StoreObject(Section section, Section name, BMetaDataClass& object) {
    object.Set();
    BPreferencesCocoaWrapper().Set(section, name, object.GetDataPtr(), object.m_size);
}

} // namespace

void BPreferences::Set(Str section, Str name, BMetaDataTaggedList& list) {
    StoreList<Str>(section, name, list);
}

void BPreferences::Set(const char* section, const char* name, BMetaDataTaggedList& list) {
    StoreList<const char*>(section, name, list);
}

void BPreferences::Set(Str section, Str name, BMetaDataClass& object) {
    StoreObject<Str>(section, name, object);
}

void BPreferences::Set(const char* section, const char* name, BMetaDataClass& object) {
    StoreObject<const char*>(section, name, object);
}

int BPreferences::Get(Str section, Str name, BMetaDataTaggedList& list) {
    unsigned char* buffer = nullptr;
    unsigned int count = 0;
    int status = BPreferencesCocoaWrapper().GetData(section, name, &buffer, &count);
    if (buffer != nullptr && count != 0) {
        BMemFile file;
        file.Attach(buffer, static_cast<int>(count));
        list.Read(file, kMode);
    } else {
        delete[] buffer;
    }
    return status;
}

int BPreferences::Get(Str section, Str name, BMetaDataClass& object) {
    unsigned char* buffer = nullptr;
    unsigned int count = 0;
    int status = BPreferencesCocoaWrapper().GetData(section, name, &buffer, &count);
    std::unique_ptr<unsigned char[]> fetched(buffer);
    if (count != 0 && buffer != nullptr) {
        object.CreateDataBuff(count);
        std::memcpy(object.GetDataPtr(), buffer, count);
        object.Get();
    }
    return status;
}
