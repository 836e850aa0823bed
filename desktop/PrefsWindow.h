// PrefsWindow.h — the preference window: a swatch per well of a pane (the current colour shown,
// the new one picked), Apply, Revert, a notice when the store cannot be read, and a close that
// stores the new colour. It follows the store live: a change made elsewhere shows as the current
// colour, and as the new one too while the person has not picked one since.
//
// Ownership: holds a reference to its GtkWindow until it goes away (destroying the window if the
// user has not closed it) and owns its swatches and its watch on the store's folder; the pane is
// borrowed and must outlive this object. Invariant: every swatch shows a byte colour
// (ColourBytes.h); a picked colour leaves only by being stored, by Revert, or by the person
// choosing to close without saving. Copying: not copyable.
#pragma once

#include "desktop/ColourSwatch.h"
#include "platform/Color.h"
#include "platform/PreferencePane.h"

#include <gio/gio.h>
#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class PrefsWindow {
public:
    // The outlet whose well shows the stored colour; its swatch only shows it.
    static constexpr const char* CurrentOutlet = "currentColorWell";
    // How the window ended, for the program's exit status.
    enum class Outcome { Open, Stored, Discarded };

    // Builds the window for `pane`, which has been shown (didSelect). With `app` the window belongs
    // to it and Ctrl+W closes it. `picked` preselects the colour of every other well, as if the
    // person had picked it.
    PrefsWindow(GtkApplication* app, platform::PreferencePane& pane,
                const std::optional<platform::Color>& picked);
    ~PrefsWindow();
    PrefsWindow(const PrefsWindow&) = delete;
    PrefsWindow& operator=(const PrefsWindow&) = delete;

    // The window; still valid (but destroyed) after the user closed it.
    GtkWindow* window() const { return window_; }
    // The swatch of the well `outlet` (its widget carries the outlet as its name), or null.
    ColourSwatch* swatch(const std::string& outlet) const;
    // What Apply does: hands the colours picked to the pane, which stores them, and shows the
    // stored colour. False, with a message, when the pane or the store refused.
    bool apply();
    // What Revert does: every new colour goes back to the current one and follows the store again.
    void revert();
    // Rereads the store and shows what it holds (the file watch does this on every change).
    void followStore();
    // The problem with the store shown inside the window; empty when none is shown.
    std::string notice() const;
    Outcome outcome() const { return outcome_; }

private:
    static gboolean OnCloseRequest(GtkWindow* window, PrefsWindow* self);
    static void OnStoreChanged(GFileMonitor* monitor, GFile* file, GFile* other, GFileMonitorEvent,
                               PrefsWindow* self);
    std::string store(); // empty when stored, else why not
    bool dialogOpen() const;
    void showFromWells(bool withNew);
    void showProblem(const std::string& problem);
    void closeWithoutSaving();
    void watchStore();
    void watch(GFile* file);

    platform::PreferencePane& pane_;
    GtkWindow* window_ = nullptr;
    GtkWidget* noticeRow_ = nullptr; // a warning sign and the notice, shown when there is one
    GtkWidget* notice_ = nullptr;
    std::vector<std::pair<std::string, std::unique_ptr<ColourSwatch>>> swatches_; // outlet first
    // The folders the store is replaced in (its own, and its target's when it is a link), each
    // with the name of the file watched there.
    std::vector<std::pair<GFileMonitor*, std::string>> watches_;
    bool picked_ = false;    // the person picked a colour that is not stored yet
    bool unsaved_ = false;   // the last store failed: the pane's change waits in the store
    bool discarded_ = false; // the person chose to close without saving
    Outcome outcome_ = Outcome::Open;
};
