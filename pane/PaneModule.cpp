// The plug-in's entry points, looked up by name by the host after it loads the module.

#include "pane/BackgroundColorPref.h"

extern "C" {

platform::PreferencePane* bkgcolors_pane_create() {
    // No exception may cross into the host; a pane that cannot be made is reported as null.
    try {
        return new BackgroundColorPref();
    } catch (...) {
        return nullptr;
    }
}

void bkgcolors_pane_destroy(platform::PreferencePane* pane) {
    delete pane;
}
}
