#include "base/BMetaDataClass.h"

#include "base/BMemFile.h"

#include <cstring>

namespace {

// A memory file reading bytes in place: the bytes stay with their owner, whatever happens while
// they are read.
class BorrowedFile {
public:
    BorrowedFile(unsigned char* bytes, unsigned int n) {
        m_file.Attach(bytes, static_cast<int>(n));
    }
    ~BorrowedFile() { m_file.Detach(); }
    BorrowedFile(const BorrowedFile&) = delete;
    BorrowedFile& operator=(const BorrowedFile&) = delete;
    BMemFile& file() { return m_file; }

private:
    BMemFile m_file;
};

} // namespace

void BMetaDataClass::Set() {
    BMemFile file;
    m_metaData.Write(file, 1);
    CreateDataBuff(file.m_length);
    std::memcpy(GetDataPtr(), file.m_buffer, file.m_length);
}

void BMetaDataClass::Get() {
    BorrowedFile borrowed(GetDataPtr(), m_size);
    m_metaData.Read(borrowed.file(), 1);
}
