// Reads arbitrary bytes as a filename list. The first byte picks the record mode (with or without
// the list marker); the rest is the stream. Reading must end, in memory proportional to the input,
// and what was read must write out and read back as the same number of filenames and values.
#include "base/BFilenameList.h"
#include "base/BMemFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > (1u << 20))
        return 0;
    const short mode = data[0] & 1 ? 1 : 4;
    BMemFile input(data + 1, static_cast<unsigned int>(size - 1));
    BFilenameList list;
    list.Read(input, mode);

    BMemFile output;
    list.Write(output, mode);
    output.SetPosition(0);
    BFilenameList again;
    again.Read(output, mode);
    if (again.GetCount() != list.GetCount() ||
        again.m_metaData.GetCount() != list.m_metaData.GetCount())
        std::abort();
    return 0;
}
