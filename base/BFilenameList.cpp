#include "base/BFilenameList.h"

#include <vector>

void BFilenameList::Sort() {
    Node* head = NodeAt(GetHeadPosition());
    std::vector<Str> keys;
    keys.reserve(m_count);
    for (Node* node = head; node; node = node->next)
        keys.push_back(node->value.GetStorageString());
    SortByKeys(
        keys,
        [](const Str& a, const Str& b) { return StrImplementation::STR_stricmp_ex(a, b) < 0; },
        [](BFilename& old) -> BFilename& { return old; });
}

void BFilenameList::Write(BMemFile& file, short mode) {
    file.Write(static_cast<unsigned int>(GetCount()));
    for (Node* node = NodeAt(GetHeadPosition()); node; node = node->next) {
        node->value.Set();
        node->value.BMetaDataTagged::Write(file, mode);
    }
    m_metaData.Write(file, mode);
}

void BFilenameList::Read(BMemFile& file, short mode) {
    unsigned int count = 0;
    file.Read(count);
    // Every record consumes at least one byte, so stopping at the end of the stream bounds the
    // work by the stream's size whatever the count claims.
    for (unsigned int i = 0; i < count && file.m_position < file.m_length; ++i) {
        BFilename fresh;
        AddTail(fresh);
        BFilename& element = GetTail();
        element.BMetaDataTagged::Read(file, mode);
        element.Get();
    }
    m_metaData.Read(file, mode);
}
