/// @file
/// PaneBundle.h — stands for NSBundle as a host uses it for a preference-pane plug-in: load the
/// module, make its pane, find the plug-ins installed beside the program.
///
/// A pane module exports two C functions under the names below: one makes the pane, one destroys
/// it. Ownership: a loaded module stays loaded for the rest of the process, as the platform's
/// bundles do, so a pane never outlives its code. Panes are handed out in a unique_ptr whose
/// deleter calls the module's destroy function. Copying: not copyable.
#pragma once

#include "platform/PreferencePane.h"

#include <memory>
#include <string>

namespace platform {

/// The module's factory: a new pane, or null when it cannot make one.
using PaneCreateFunction = PreferencePane* (*)();
/// The module's destroy function: releases a pane made by the factory of the same module.
using PaneDestroyFunction = void (*)(PreferencePane*);

/// A loaded pane plug-in: its factory and destroy function (see PaneBundle.h).
class PaneBundle {
public:
    /// The name under which a module exports its PaneCreateFunction.
    static constexpr const char* CreateSymbol = "bkgcolors_pane_create";
    /// The name under which a module exports its PaneDestroyFunction.
    static constexpr const char* DestroySymbol = "bkgcolors_pane_destroy";

    /// Releases a pane through its module's destroy function.
    struct PaneDeleter {
        PaneDestroyFunction destroy = nullptr; ///< the module's destroy function
        /// Hands `pane` to the destroy function; a null pane or function does nothing.
        void operator()(PreferencePane* pane) const {
            if (pane && destroy)
                destroy(pane);
        }
    };
    /// A pane owned by the caller and released by its own module.
    using PanePtr = std::unique_ptr<PreferencePane, PaneDeleter>;

    /// Loads the module at `path` and finds both functions; on failure returns null and puts a
    /// one-line reason in `error`.
    static std::unique_ptr<PaneBundle> load(const std::string& path, std::string& error);

    /// The default pane module: lib/bkgcolors/bkgcolors-pane.so beside the bin/ folder of the
    /// running program, the same place in the build tree and in an installation.
    static std::string builtInPlugInPath();

    PaneBundle(const PaneBundle&) = delete;
    PaneBundle& operator=(const PaneBundle&) = delete;

    /// A new pane from the module's factory; null when the factory fails.
    PanePtr instantiate() const;

private:
    PaneBundle(PaneCreateFunction create, PaneDestroyFunction destroy)
        : create_(create), destroy_(destroy) {}

    PaneCreateFunction create_;
    PaneDestroyFunction destroy_;
};

} // namespace platform
