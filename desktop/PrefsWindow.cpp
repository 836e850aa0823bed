#include "desktop/PrefsWindow.h"

#include "desktop/ColourBytes.h"
#include "platform/UserDefaults.h"

#include <cstdio>
#include <exception>

namespace {

// The colour button differs by GTK version: GtkColorButton until 4.10 deprecates it for
// GtkColorDialogButton. Both hand their colour over as GdkRGBA and say when the user picked one.
#if GTK_CHECK_VERSION(4, 10, 0)
GtkWidget* NewColourButton(const char* dialogTitle) {
    GtkColorDialog* dialog = gtk_color_dialog_new();
    gtk_color_dialog_set_with_alpha(dialog, FALSE);
    gtk_color_dialog_set_title(dialog, dialogTitle);
    return gtk_color_dialog_button_new(dialog);
}
GdkRGBA ButtonColour(GtkWidget* button) {
    return *gtk_color_dialog_button_get_rgba(GTK_COLOR_DIALOG_BUTTON(button));
}
void SetButtonColour(GtkWidget* button, const GdkRGBA& colour) {
    gtk_color_dialog_button_set_rgba(GTK_COLOR_DIALOG_BUTTON(button), &colour);
}
constexpr const char* PickedSignal = "notify::rgba";
#else
GtkWidget* NewColourButton(const char* dialogTitle) {
    GtkWidget* button = gtk_color_button_new();
    gtk_color_button_set_title(GTK_COLOR_BUTTON(button), dialogTitle);
    gtk_color_chooser_set_use_alpha(GTK_COLOR_CHOOSER(button), FALSE);
    return button;
}
GdkRGBA ButtonColour(GtkWidget* button) {
    GdkRGBA colour;
    gtk_color_chooser_get_rgba(GTK_COLOR_CHOOSER(button), &colour);
    return colour;
}
void SetButtonColour(GtkWidget* button, const GdkRGBA& colour) {
    gtk_color_chooser_set_rgba(GTK_COLOR_CHOOSER(button), &colour);
}
constexpr const char* PickedSignal = "color-set";
#endif

// A colour picked in the chooser can lie between two bytes; the button is moved to the byte colour
// it shows, so that what is stored is what the person saw.
void SnapButton(GtkWidget* button) {
    GdkRGBA picked = ButtonColour(button), shown = SnapToBytes(picked);
    if (!gdk_rgba_equal(&picked, &shown))
        SetButtonColour(button, shown);
}

std::string LabelFor(const std::string& outlet) {
    if (outlet == PrefsWindow::CurrentOutlet)
        return "Current colour";
    if (outlet == "newColorWell")
        return "New colour";
    return outlet;
}

} // namespace

PrefsWindow::PrefsWindow(GtkApplication* app, platform::PreferencePane& pane,
                         const std::optional<platform::Color>& picked)
    : pane_(pane) {
    window_ = GTK_WINDOW(gtk_window_new());
    g_object_ref(window_);
    gtk_window_set_title(window_, "Background Colour");
    gtk_window_set_resizable(window_, FALSE);
    // The window draws its own title bar, so that its close button is there with any window
    // manager or none.
    gtk_window_set_titlebar(window_, gtk_header_bar_new());
    if (app) {
        gtk_window_set_application(window_, app);
        const char* closeKeys[] = {"<Control>w", nullptr};
        gtk_application_set_accels_for_action(app, "window.close", closeKeys);
    }
    g_signal_connect(window_, "close-request", G_CALLBACK(OnCloseRequest), this);

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 18);
    gtk_widget_set_margin_top(box, 18);
    gtk_widget_set_margin_bottom(box, 18);
    gtk_widget_set_margin_start(box, 24);
    gtk_widget_set_margin_end(box, 24);
    gtk_window_set_child(window_, box);

    GtkWidget* grid = gtk_grid_new();
    gtk_grid_set_row_spacing(GTK_GRID(grid), 12);
    gtk_grid_set_column_spacing(GTK_GRID(grid), 18);
    gtk_box_append(GTK_BOX(box), grid);
    int row = 0;
    for (const std::string& outlet : pane_.colorWellOutlets()) {
        const std::string text = LabelFor(outlet);
        GtkWidget* label = gtk_label_new(text.c_str());
        gtk_label_set_xalign(GTK_LABEL(label), 0.0f);
        GtkWidget* button = NewColourButton(text.c_str());
        gtk_widget_set_name(button, outlet.c_str());
        gtk_widget_set_size_request(button, 96, 40);
        gtk_accessible_update_relation(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_RELATION_LABELLED_BY,
                                       label, nullptr, -1);
        if (outlet == CurrentOutlet) {
            // Shown as it is, not dimmed as an insensitive button would be, but out of reach of
            // the pointer and the keyboard.
            gtk_widget_set_can_target(button, FALSE);
            gtk_widget_set_can_focus(button, FALSE);
        } else {
            g_signal_connect_swapped(button, PickedSignal, G_CALLBACK(SnapButton), button);
        }
        gtk_grid_attach(GTK_GRID(grid), label, 0, row, 1, 1);
        gtk_grid_attach(GTK_GRID(grid), button, 1, row, 1, 1);
        buttons_.emplace_back(outlet, button);
        ++row;
    }
    showButtonsFromWells();
    if (picked) {
        GdkRGBA colour = RgbaFromWell(*picked);
        for (auto& [outlet, button] : buttons_)
            if (outlet != CurrentOutlet)
                SetButtonColour(button, colour);
    }

    GtkWidget* apply = gtk_button_new_with_mnemonic("_Apply");
    gtk_widget_set_name(apply, "apply");
    gtk_widget_set_halign(apply, GTK_ALIGN_END);
    gtk_box_append(GTK_BOX(box), apply);
    g_signal_connect_swapped(apply, "clicked",
                             G_CALLBACK(+[](PrefsWindow* self) { self->apply(); }), this);
    gtk_window_set_default_widget(window_, apply);
}

PrefsWindow::~PrefsWindow() {
    g_signal_handlers_disconnect_by_data(window_, this);
    gtk_window_destroy(window_);
    g_object_unref(window_);
}

GtkWidget* PrefsWindow::button(const std::string& outlet) const {
    for (const auto& [name, button] : buttons_)
        if (name == outlet)
            return button;
    return nullptr;
}

bool PrefsWindow::apply() {
    return store(false);
}

bool PrefsWindow::store(bool closeAfterError) {
    try {
        for (const auto& [outlet, button] : buttons_)
            if (outlet != CurrentOutlet)
                pane_.colorWell(outlet)->setColor(WellFromRgba(ButtonColour(button)));
        pane_.didUnselect();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bkgcolors-prefs: the pane failed: %s\n", e.what());
        showError("The colour could not be stored", std::string("The pane failed: ") + e.what(),
                  closeAfterError);
        return false;
    }
    // The store has already said on stderr why it could not write; the change stays pending.
    auto& defaults = platform::UserDefaults::standardUserDefaults();
    if (!defaults.synchronize()) {
        showError("The colour could not be stored",
                  "The file " + defaults.path() +
                      " could not be written. The colour is kept and stored at the next try.",
                  closeAfterError);
        return false;
    }
    pane_.didSelect();
    showButtonsFromWells();
    return true;
}

void PrefsWindow::showButtonsFromWells() {
    for (const auto& [outlet, button] : buttons_)
        SetButtonColour(button, RgbaFromWell(pane_.colorWell(outlet)->color()));
}

bool PrefsWindow::dialogOpen() const {
    GListModel* toplevels = gtk_window_get_toplevels();
    bool open = false;
    for (guint i = 0, n = g_list_model_get_n_items(toplevels); i < n && !open; ++i) {
        auto* other = static_cast<GtkWindow*>(g_list_model_get_item(toplevels, i));
        open = other != window_ && gtk_window_get_transient_for(other) == window_ &&
               gtk_widget_get_visible(GTK_WIDGET(other));
        g_object_unref(other);
    }
    return open;
}

gboolean PrefsWindow::OnCloseRequest(GtkWindow*, PrefsWindow* self) {
    if (self->closing_)
        return FALSE;
    // The person is still choosing: the chooser (or a message) answers first.
    if (self->dialogOpen())
        return TRUE;
    if (!self->store(true)) {
        self->failed_ = true;
        self->closing_ = true;
        return TRUE; // the error dialog closes the window once read
    }
    return self->pane_.windowWillClose() ? FALSE : TRUE;
}

gboolean PrefsWindow::OnErrorRead(GtkWindow* dialog, PrefsWindow* self) {
    bool closeAfter = g_object_get_data(G_OBJECT(dialog), "close-after") != nullptr;
    gtk_window_destroy(dialog);
    if (closeAfter)
        gtk_window_close(self->window_);
    return TRUE;
}

void PrefsWindow::showError(const std::string& primary, const std::string& detail,
                            bool closeAfter) {
    GtkWindow* dialog = GTK_WINDOW(gtk_window_new());
    gtk_window_set_title(dialog, "Background Colour");
    gtk_window_set_transient_for(dialog, window_);
    gtk_window_set_modal(dialog, TRUE);
    gtk_window_set_destroy_with_parent(dialog, TRUE);
    gtk_window_set_resizable(dialog, FALSE);

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_margin_top(box, 18);
    gtk_widget_set_margin_bottom(box, 18);
    gtk_widget_set_margin_start(box, 24);
    gtk_widget_set_margin_end(box, 24);
    gtk_window_set_child(dialog, box);
    GtkWidget* heading = gtk_label_new(primary.c_str());
    gtk_widget_add_css_class(heading, "title-4");
    gtk_box_append(GTK_BOX(box), heading);
    GtkWidget* body = gtk_label_new(detail.c_str());
    gtk_label_set_wrap(GTK_LABEL(body), TRUE);
    gtk_label_set_max_width_chars(GTK_LABEL(body), 50);
    gtk_box_append(GTK_BOX(box), body);
    GtkWidget* close = gtk_button_new_with_mnemonic("_Close");
    gtk_widget_set_halign(close, GTK_ALIGN_END);
    gtk_box_append(GTK_BOX(box), close);
    gtk_window_set_default_widget(dialog, close);
    g_signal_connect_swapped(close, "clicked", G_CALLBACK(gtk_window_close), dialog);
    g_object_set_data(G_OBJECT(dialog), "close-after", GINT_TO_POINTER(closeAfter));
    g_signal_connect(dialog, "close-request", G_CALLBACK(OnErrorRead), this);
    gtk_window_present(dialog);
}
