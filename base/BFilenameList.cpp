#include "base/BFilenameList.h"

#include "base/internal/SortOrder.h"

#include <vector>

void BFilenameList::Sort() {
    StrImplementation::CaseOrder keys(m_count);
    std::vector<Node*> nodes;
    nodes.reserve(m_count);
    for (Node* node = NodeAt(GetHeadPosition()); node; node = node->next)
        nodes.push_back(node);
    // The key is the storage string, folded straight from the five components. On a list too long
    // for the cache every node and every text is a miss: the components of the node a few steps
    // ahead are fetched while the present key is folded, and the node further ahead, so that its
    // components can be read by then.
    constexpr std::size_t kAhead = 8;
    const std::size_t n = nodes.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (i + 2 * kAhead < n) {
            const BFilename& later = nodes[i + 2 * kAhead]->value;
            __builtin_prefetch(&later.m_ZipName);
            __builtin_prefetch(&later.m_Directory);
        }
        if (i + kAhead < n) {
            const BFilename& next = nodes[i + kAhead]->value;
            __builtin_prefetch(static_cast<const char*>(next.m_Directory) - 4);
            __builtin_prefetch(static_cast<const char*>(next.m_FileName) - 4);
        }
        const BFilename& f = nodes[i]->value;
        const Str* const parts[] = {&f.m_Directory, &f.m_ZipName, &f.m_ZipPath, &f.m_FileName,
                                    &f.m_DiskName};
        keys.AddJoined(parts, 5, '\t');
    }
    // A moved element is what operator= copies of it: the same components, property list and
    // data, with the default delimiters and an empty tag.
    ApplyOrder(nodes, keys.Order(), [](std::size_t, BFilename& moved) {
        moved.BFilenameHelper();
        moved.m_tag.Initialize();
    });
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
