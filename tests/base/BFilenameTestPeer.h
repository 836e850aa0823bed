// BFilenameTestPeer.h — reads and writes the five raw components of a filename for the tests,
// bypassing the getters and setters that normalise.
#pragma once

#include "base/BFilename.h"
#include "base/StrTestProbe.h"

#include <array>
#include <string>

using strtest::Text;

// Directory, zip name, zip path, file name, disk name.
using FilenameParts = std::array<std::string, 5>;

class BFilenameTestPeer {
public:
    static FilenameParts Parts(const BFilename& f) {
        return {Text(f.m_Directory), Text(f.m_ZipName), Text(f.m_ZipPath), Text(f.m_FileName),
                Text(f.m_DiskName)};
    }
    // A filename holding exactly these components.
    static BFilename Make(const FilenameParts& p) {
        BFilename f;
        f.m_Directory = p[0].c_str(), f.m_ZipName = p[1].c_str(), f.m_ZipPath = p[2].c_str();
        f.m_FileName = p[3].c_str(), f.m_DiskName = p[4].c_str();
        return f;
    }
};

inline constexpr auto PartsOf = &BFilenameTestPeer::Parts;
inline constexpr auto Make = &BFilenameTestPeer::Make;
