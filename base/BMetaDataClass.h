/// @file
/// BMetaDataClass.h — the base of every class that turns itself into bytes and back. Such an object
/// is a tagged item whose data holds its serialised form (a snapshot taken by Set(), read back by
/// Get()) and whose tag names it when it is kept in a tagged list; m_metaData is its own property
/// list. The base's serialised form is m_metaData's list record in mode 1 (at least 10 bytes).
/// Memory: the object owns its data, its tag and its list.
/// Invariant: Set() and Get() never touch the tag; Get() reads the data in place and leaves it as
/// it was.
/// Copying: the base defines no copy or assignment; a derived class copies the parts it needs.
/// The destructor is not virtual: objects are destroyed through their own class.
#pragma once

#include "base/BMetaDataTagged.h"
#include "base/BMetaDataTaggedList.h"

/// The base of every class that turns itself into bytes and back (see BMetaDataClass.h).
class BMetaDataClass : public BMetaDataTagged {
public:
    /// Empty data, empty tag, empty list.
    BMetaDataClass() = default;
    BMetaDataClass(const BMetaDataClass&) = delete;
    BMetaDataClass& operator=(const BMetaDataClass&) = delete;
    ~BMetaDataClass() = default;

    /// Replaces the data with the object's serialised form; the base writes m_metaData in mode 1.
    virtual void Set();
    /// Rebuilds the object from its data; the base reads m_metaData in mode 1, so data that is not
    /// a list record leaves the list empty.
    virtual void Get();

    BMetaDataTaggedList m_metaData; ///< the object's property list
};
