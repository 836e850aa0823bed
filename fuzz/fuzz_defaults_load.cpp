// Loads arbitrary bytes as a user-defaults file. Loading changes nothing on disk; the first write
// then sets a damaged file aside unchanged (or refuses to replace one too large to read), and
// whatever was loaded survives that write.

#include "platform/UserDefaults.h"

#include "FuzzCheck.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
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

// Equal values; a real that is not a number equals another such real.
bool Same(const std::optional<platform::UserDefaults::Object>& a,
          const std::optional<platform::UserDefaults::Object>& b) {
    if (a && b && std::holds_alternative<double>(*a) && std::holds_alternative<double>(*b))
        return std::memcmp(&std::get<double>(*a), &std::get<double>(*b), sizeof(double)) == 0;
    return a == b;
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
    FUZZ_CHECK(access(aside.c_str(), F_OK) != 0);
    FUZZ_CHECK(Read(file) == bytes);
    auto keys = store.allKeys();
    for (const auto& key : keys)
        FUZZ_CHECK(store.objectForKey(key).has_value());

    store.setObject(std::int32_t(12345), "fuzz\x01key");
    if (!store.synchronize()) {
        FUZZ_CHECK(Read(file) == bytes);
        store.removeObjectForKey("fuzz\x01key");
        return 0;
    }
    if (access(aside.c_str(), F_OK) == 0) {
        FUZZ_CHECK(Read(aside) == bytes);
        FUZZ_CHECK(keys.empty());
    }
    platform::UserDefaults reread(file);
    FUZZ_CHECK(reread.integerForKey("fuzz\x01key") == 12345);
    for (const auto& key : keys)
        if (key != "fuzz\x01key")
            FUZZ_CHECK(Same(reread.objectForKey(key), store.objectForKey(key)));
    return 0;
}
