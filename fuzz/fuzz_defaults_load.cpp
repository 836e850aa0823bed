// Loads arbitrary bytes as a user-defaults file. A file is either loaded, or set aside unchanged
// as damaged; either way the store then writes and reads back a change, and whatever it loaded
// survives that write.

#include "platform/UserDefaults.h"

#include "FuzzCheck.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

std::string Folder() {
    static std::string folder = [] {
        std::string pattern = "/tmp/bkgcolors-fuzz-XXXXXX";
        FUZZ_CHECK(mkdtemp(pattern.data()) != nullptr);
        return pattern;
    }();
    return folder;
}

std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string file = Folder() + "/store.plist";
    const std::string aside = file + ".corrupt";
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    unlink(aside.c_str());
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    platform::UserDefaults store(file);
    bool damaged = access(aside.c_str(), F_OK) == 0;
    if (damaged) {
        FUZZ_CHECK(access(file.c_str(), F_OK) != 0);
        FUZZ_CHECK(Read(aside) == bytes);
        FUZZ_CHECK(store.allKeys().empty());
    }
    auto keys = store.allKeys();
    for (const auto& key : keys)
        FUZZ_CHECK(store.objectForKey(key).has_value());

    store.setObject(std::int32_t(12345), "fuzz\x01key");
    FUZZ_CHECK(store.synchronize());
    platform::UserDefaults reread(file);
    FUZZ_CHECK(reread.integerForKey("fuzz\x01key") == 12345);
    for (const auto& key : keys)
        if (key != "fuzz\x01key")
            FUZZ_CHECK(reread.objectForKey(key) == store.objectForKey(key));
    return 0;
}
