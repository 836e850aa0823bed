// PrefsWindow.h — the preference window: one labelled colour button per well of a pane, an Apply
// button that stores the colour picked, and a close that stores it too.
//
// Ownership: holds a reference to its GtkWindow until it goes away (destroying the window if the
// user has not closed it); the pane is borrowed and must outlive this object. Invariant: every
// button shows a byte colour (ColourBytes.h), and after a store the buttons show the wells'
// colours. Copying: not copyable.
#pragma once

#include "platform/Color.h"
#include "platform/PreferencePane.h"

#include <gtk/gtk.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

class PrefsWindow {
public:
    // The outlet whose well shows the stored colour; its button shows it and cannot be used.
    static constexpr const char* CurrentOutlet = "currentColorWell";

    // Builds the window for `pane`, which has been shown (didSelect). With `app` the window belongs
    // to it and Ctrl+W closes it. `picked` preselects the colour of every other well.
    PrefsWindow(GtkApplication* app, platform::PreferencePane& pane,
                const std::optional<platform::Color>& picked);
    ~PrefsWindow();
    PrefsWindow(const PrefsWindow&) = delete;
    PrefsWindow& operator=(const PrefsWindow&) = delete;

    // The window; still valid (but destroyed) after the user closed it.
    GtkWindow* window() const { return window_; }
    // The button of the well `outlet` (it carries the outlet as its widget name), or null.
    GtkWidget* button(const std::string& outlet) const;
    // What Apply does: hands the colours picked to the pane, which stores them, and shows the
    // stored colour. False, with an error dialog, when the pane or the store refused.
    bool apply();
    // True once closing could not store the colour; the program then exits 1.
    bool failed() const { return failed_; }

private:
    static gboolean OnCloseRequest(GtkWindow* window, PrefsWindow* self);
    static gboolean OnErrorRead(GtkWindow* dialog, PrefsWindow* self);
    bool store(bool closeAfterError);
    bool dialogOpen() const;
    void showButtonsFromWells();
    void showError(const std::string& primary, const std::string& detail, bool closeAfter);

    platform::PreferencePane& pane_;
    GtkWindow* window_ = nullptr;
    std::vector<std::pair<std::string, GtkWidget*>> buttons_; // outlet, button
    bool failed_ = false;
    bool closing_ = false; // set once a failed close has been reported: the next close goes through
};
