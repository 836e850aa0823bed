#include "base/BMetaDataTagged.h"

#include "base/BMemFile.h"
#include "base/internal/CaseFold.h"

using StrImplementation::LowerAscii;

BMetaDataTagged& BMetaDataTagged::operator=(const BMetaDataTagged& other) {
    if (this == &other)
        return *this;
    m_tag = other.m_tag;
    BMetaData::operator=(other);
    return *this;
}

int BMetaDataTagged::CompareTag(const char* text) const {
    if (text == nullptr)
        text = "";
    const unsigned char* tag = m_tag.GetDataPtr();
    for (unsigned int i = 0;; ++i) {
        // Tags fold ASCII letters only, whatever the locale.
        int a = LowerAscii(static_cast<unsigned char>(text[i]));
        int b = i < m_tag.m_size ? LowerAscii(tag[i]) : 0;
        if (a != b || a == 0)
            return a - b;
    }
}

int BMetaDataTagged::Read(BMemFile& file, short mode) {
    m_tag.Read(file, mode);
    return BMetaData::Read(file, 1);
}

int BMetaDataTagged::Write(BMemFile& file, short mode) const {
    m_tag.Write(file, mode);
    return BMetaData::Write(file, 1);
}
