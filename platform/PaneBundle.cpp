#include "platform/PaneBundle.h"

#include <climits>
#include <dlfcn.h>
#include <unistd.h>

namespace platform {

std::unique_ptr<PaneBundle> PaneBundle::load(const std::string& path, std::string& error) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* reason = dlerror();
        error = "cannot load pane plug-in " + path + ": " + (reason ? reason : "unknown error");
        return nullptr;
    }
    auto create = reinterpret_cast<PaneCreateFunction>(dlsym(handle, CreateSymbol));
    auto destroy = reinterpret_cast<PaneDestroyFunction>(dlsym(handle, DestroySymbol));
    if (!create || !destroy) {
        error =
            "pane plug-in " + path + " does not export " + CreateSymbol + " and " + DestroySymbol;
        dlclose(handle);
        return nullptr;
    }
    return std::unique_ptr<PaneBundle>(new PaneBundle(create, destroy));
}

std::string PaneBundle::builtInPlugInPath() {
    char buffer[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    std::string program = n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : ".";
    std::size_t slash = program.rfind('/');
    std::string folder = slash == std::string::npos ? "." : program.substr(0, slash);
    return folder + "/../lib/bkgcolors/bkgcolors-pane.so";
}

PaneBundle::PanePtr PaneBundle::instantiate() const {
    return PanePtr(create_(), PaneDeleter{destroy_});
}

} // namespace platform
