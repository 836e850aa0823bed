// Controls.h — the pieces every window of the program builds from: a button that screen readers
// name as people read it, and message windows that are announced as alerts.
//
// Free functions; what they make belongs to GTK (a button to the container it is put in, a message
// window to GTK's list of toplevels until it is closed). Nothing is copied but the texts given.
#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

// A button labelled `mnemonic` (an underscore before the access key), with `name` as its widget
// name and, for assistive technology, the label as it reads (no underscore).
GtkWidget* NamedButton(const char* mnemonic, const char* name);

// One button of a message window: its label (with mnemonic), widget name, and what it does once
// the message has gone away.
struct MessageChoice {
    const char* mnemonic;
    const char* name;
    std::function<void()> chosen;
};

// Shows an alert window, modal and transient for `owner` when one is given: `heading`, `detail`
// and a row of buttons, the last of them the default. Escape or the window manager's close
// dismisses it and runs `dismissed`. Returns the window, which destroys itself when answered.
GtkWindow* ShowMessage(GtkWindow* owner, const std::string& heading, const std::string& detail,
                       std::vector<MessageChoice> choices, std::function<void()> dismissed = {});
