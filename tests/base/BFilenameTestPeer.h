// BFilenameTestPeer.h — reads the five raw components of a filename for the tests, without going
// through getters that normalise, and builds filenames from raw components.
#pragma once

#include "base/BFilename.h"

#include <ostream>
#include <string>

struct FilenameParts {
    std::string dir, zip, zipPath, file, disk;

    bool operator==(const FilenameParts& o) const {
        return dir == o.dir && zip == o.zip && zipPath == o.zipPath && file == o.file &&
               disk == o.disk;
    }
    friend std::ostream& operator<<(std::ostream& os, const FilenameParts& p) {
        return os << "{dir '" << p.dir << "', zip '" << p.zip << "', zipPath '" << p.zipPath
                  << "', file '" << p.file << "', disk '" << p.disk << "'}";
    }
};

class BFilenameTestPeer {
public:
    static FilenameParts Parts(const BFilename& f) {
        return {Text(f.m_Directory), Text(f.m_ZipName), Text(f.m_ZipPath), Text(f.m_FileName),
                Text(f.m_DiskName)};
    }
    // A filename holding exactly these components (no normalisation).
    static void Assign(BFilename& f, const FilenameParts& p) {
        f.m_Directory = p.dir.c_str();
        f.m_ZipName = p.zip.c_str();
        f.m_ZipPath = p.zipPath.c_str();
        f.m_FileName = p.file.c_str();
        f.m_DiskName = p.disk.c_str();
    }

private:
    static std::string Text(const Str& s) { return std::string(s, s.GetLength()); }
};

inline FilenameParts PartsOf(const BFilename& f) {
    return BFilenameTestPeer::Parts(f);
}

inline void AssignParts(BFilename& f, const FilenameParts& p) {
    BFilenameTestPeer::Assign(f, p);
}
