/// @file
/// BMetaDataTagged.h — a metadata item with a tag: the inherited BMetaData holds the data and
/// m_tag holds a short text that names it. Tags compare without regard to ASCII letter case.
/// Memory: the item owns both its data and its tag.
/// Invariant: those of BMetaData, for the data and for the tag.
/// Copying: copy construction and assignment copy tag and data (an allocation for each run longer
/// than 8 bytes).
#pragma once

#include "base/BMetaData.h"

/// A metadata item with a tag (see BMetaDataTagged.h).
class BMetaDataTagged : public BMetaData {
public:
    /// Empty data and empty tag.
    BMetaDataTagged() = default;
    /// A copy of other's data and tag.
    BMetaDataTagged(const BMetaDataTagged& other) = default;
    /// Copies the tag, then the data. Assigning an item to itself changes nothing.
    BMetaDataTagged& operator=(const BMetaDataTagged& other);

    /// strcasecmp-style comparison of text (null counts as empty) with the tag, text first; 0 when
    /// the tag matches. The tag's text ends at its first zero byte or at the end of its bytes, so a
    /// tag read from a damaged stream is never overrun. An empty tag matches only the empty text.
    int CompareTag(const char* text) const;

    /// Reads the tag record in mode, then the data record in plain form (mode 1).
    int Read(BMemFile& file, short mode);
    /// Writes the tag record in mode, then the data record in plain form (mode 1).
    int Write(BMemFile& file, short mode) const;

    BMetaData m_tag; ///< the tag, as text with its zero byte
};
