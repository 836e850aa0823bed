#include "desktop/PrefsWindow.h"

#include "desktop/ColourBytes.h"
#include "desktop/Controls.h"
#include "platform/UserDefaults.h"
#include "tools/Translation.h"

#include <cstdio>
#include <exception>

namespace {

using platform::UserDefaults;

// The entry the pane stores its colour under; the window only needs it to take back a change the
// person chose not to save.
constexpr const char* ColourKey = "BkgColorsSelectedColor";

std::string LabelFor(const std::string& outlet) {
    if (outlet == PrefsWindow::CurrentOutlet)
        return _("Current colour");
    if (outlet == "newColorWell")
        return _("_New colour");
    return outlet;
}

// Adds the shortcut `keys` to `widget`, wherever the focus is in its window.
void AddShortcut(GtkWidget* widget, const char* keys, GtkShortcutAction* action) {
    GtkEventController* controller = gtk_shortcut_controller_new();
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(controller),
                                      GTK_SHORTCUT_SCOPE_GLOBAL);
    gtk_shortcut_controller_add_shortcut(
        GTK_SHORTCUT_CONTROLLER(controller),
        gtk_shortcut_new(gtk_shortcut_trigger_parse_string(keys), action));
    gtk_widget_add_controller(widget, controller);
}

} // namespace

PrefsWindow::PrefsWindow(GtkApplication* app, platform::PreferencePane& pane,
                         const std::optional<platform::Color>& picked)
    : pane_(pane) {
    window_ = GTK_WINDOW(gtk_window_new());
    g_object_ref(window_);
    gtk_window_set_title(window_, _("Background Colour"));
    gtk_window_set_resizable(window_, FALSE);
    // The window draws its own title bar, so that its close button is there with any window
    // manager or none.
    gtk_window_set_titlebar(window_, gtk_header_bar_new());
    if (app)
        gtk_window_set_application(window_, app);
    g_signal_connect(window_, "close-request", G_CALLBACK(OnCloseRequest), this);
    AddShortcut(GTK_WIDGET(window_), "<Control>w", gtk_named_action_new("window.close"));
    auto reverting = +[](GtkWidget*, GVariant*, gpointer self) -> gboolean {
        static_cast<PrefsWindow*>(self)->revert();
        return TRUE;
    };
    AddShortcut(GTK_WIDGET(window_), "<Control>z",
                gtk_callback_action_new(reverting, this, nullptr));

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 18);
    gtk_widget_set_margin_top(box, 18);
    gtk_widget_set_margin_bottom(box, 18);
    gtk_widget_set_margin_start(box, 24);
    gtk_widget_set_margin_end(box, 24);
    gtk_window_set_child(window_, box);

    // A grid, not a box: a box measures a wrapping label beside a picture wrongly.
    noticeRow_ = gtk_grid_new();
    gtk_grid_set_column_spacing(GTK_GRID(noticeRow_), 12);
    gtk_widget_set_visible(noticeRow_, FALSE);
    gtk_box_append(GTK_BOX(box), noticeRow_);
    // The sign only marks the notice for the eye; the notice's text says it all.
    GtkWidget* sign =
        GTK_WIDGET(g_object_new(GTK_TYPE_IMAGE, "icon-name", "dialog-warning-symbolic",
                                "accessible-role", GTK_ACCESSIBLE_ROLE_PRESENTATION, nullptr));
    gtk_widget_set_valign(sign, GTK_ALIGN_START);
    gtk_grid_attach(GTK_GRID(noticeRow_), sign, 0, 0, 1, 1);
    notice_ = gtk_label_new("");
    gtk_widget_set_name(notice_, "notice");
    gtk_label_set_wrap(GTK_LABEL(notice_), TRUE);
    gtk_label_set_width_chars(GTK_LABEL(notice_), 36); // else it is measured one word wide
    gtk_label_set_max_width_chars(GTK_LABEL(notice_), 40);
    gtk_label_set_xalign(GTK_LABEL(notice_), 0.0f);
    gtk_widget_set_hexpand(notice_, TRUE);
    gtk_grid_attach(GTK_GRID(noticeRow_), notice_, 1, 0, 1, 1);

    GtkWidget* grid = gtk_grid_new();
    gtk_grid_set_row_spacing(GTK_GRID(grid), 12);
    gtk_grid_set_column_spacing(GTK_GRID(grid), 18);
    gtk_box_append(GTK_BOX(box), grid);
    int row = 0;
    for (const std::string& outlet : pane_.colorWellOutlets()) {
        const bool current = outlet == CurrentOutlet;
        GtkWidget* label = gtk_label_new_with_mnemonic(LabelFor(outlet).c_str());
        gtk_label_set_xalign(GTK_LABEL(label), 0.0f);
        auto swatch =
            std::make_unique<ColourSwatch>(outlet, gtk_label_get_text(GTK_LABEL(label)), !current);
        if (!current) {
            gtk_label_set_mnemonic_widget(GTK_LABEL(label), swatch->widget());
            swatch->onPicked([this] { picked_ = true; });
        }
        // The swatch carries its name itself; being labelled by the label too would say it twice.
        gtk_accessible_reset_relation(GTK_ACCESSIBLE(swatch->widget()),
                                      GTK_ACCESSIBLE_RELATION_LABELLED_BY);
        gtk_grid_attach(GTK_GRID(grid), label, 0, row, 1, 1);
        gtk_grid_attach(GTK_GRID(grid), swatch->widget(), 1, row, 1, 1);
        swatches_.emplace_back(outlet, std::move(swatch));
        ++row;
    }
    showFromWells(true);
    if (picked) {
        const GdkRGBA colour = RgbaFromWell(*picked);
        for (auto& [outlet, swatch] : swatches_)
            if (outlet != CurrentOutlet)
                swatch->setColour(colour);
        picked_ = true;
    }

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_set_halign(buttons, GTK_ALIGN_END);
    gtk_box_append(GTK_BOX(box), buttons);
    GtkWidget* revert = NamedButton(_("_Revert"), "revert");
    gtk_widget_set_tooltip_text(revert, _("Sets the new colour back to the current one (Ctrl+Z)"));
    gtk_box_append(GTK_BOX(buttons), revert);
    g_signal_connect_swapped(revert, "clicked",
                             G_CALLBACK(+[](PrefsWindow* self) { self->revert(); }), this);
    GtkWidget* apply = NamedButton(_("_Apply"), "apply");
    gtk_box_append(GTK_BOX(buttons), apply);
    g_signal_connect_swapped(apply, "clicked",
                             G_CALLBACK(+[](PrefsWindow* self) { self->apply(); }), this);
    gtk_window_set_default_widget(window_, apply);

    showProblem(UserDefaults::standardUserDefaults().lastProblem());
    watchStore();
}

PrefsWindow::~PrefsWindow() {
    for (auto& [monitor, name] : watches_) {
        g_signal_handlers_disconnect_by_data(monitor, this);
        g_file_monitor_cancel(monitor);
        g_object_unref(monitor);
    }
    g_signal_handlers_disconnect_by_data(window_, this);
    gtk_window_destroy(window_);
    g_object_unref(window_);
}

ColourSwatch* PrefsWindow::swatch(const std::string& outlet) const {
    for (const auto& [name, swatch] : swatches_)
        if (name == outlet)
            return swatch.get();
    return nullptr;
}

bool PrefsWindow::apply() {
    const std::string why = store();
    if (why.empty())
        return true;
    ShowMessage(
        window_, _("The colour could not be stored"),
        Fill(_("%s\nThe colour picked is kept: Apply or close the window to try again."), why),
        {{_("_Close"), "close", {}}});
    return false;
}

void PrefsWindow::revert() {
    const GdkRGBA current = swatch(CurrentOutlet)->colour();
    for (auto& [outlet, swatch] : swatches_)
        if (outlet != CurrentOutlet)
            swatch->setColour(current);
    picked_ = false;
}

void PrefsWindow::followStore() {
    try {
        pane_.didSelect();
    } catch (const std::exception& e) {
        showProblem(Fill(_("The pane failed: %s"), e.what()));
        return;
    }
    showFromWells(!picked_);
    showProblem(UserDefaults::standardUserDefaults().lastProblem());
}

std::string PrefsWindow::notice() const {
    return gtk_widget_get_visible(noticeRow_) ? gtk_label_get_text(GTK_LABEL(notice_)) : "";
}

// Empty when the colour was stored; otherwise why not.
std::string PrefsWindow::store() {
    // An untouched new colour is whatever the store holds now, never what it held earlier.
    if (!picked_)
        followStore();
    auto& defaults = UserDefaults::standardUserDefaults();
    try {
        for (const auto& [outlet, swatch] : swatches_)
            if (outlet != CurrentOutlet)
                pane_.colorWell(outlet)->setColor(WellFromRgba(swatch->colour()));
        pane_.didUnselect();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bkgcolors-prefs: the pane failed: %s\n", e.what());
        return Fill(_("The pane failed: %s"), e.what());
    }
    // The store has said on stderr why it could not write; the change waits in it.
    if (!defaults.synchronize()) {
        unsaved_ = true;
        showProblem(defaults.lastProblem());
        return defaults.lastProblem();
    }
    unsaved_ = false;
    picked_ = false;
    followStore();
    return "";
}

void PrefsWindow::showFromWells(bool withNew) {
    for (const auto& [outlet, swatch] : swatches_)
        if (withNew || outlet == CurrentOutlet)
            swatch->setColour(RgbaFromWell(pane_.colorWell(outlet)->color()));
}

void PrefsWindow::showProblem(const std::string& problem) {
    if (problem.empty()) {
        gtk_widget_set_visible(noticeRow_, FALSE);
        return;
    }
    const std::string text =
        unsaved_
            ? Fill(_("The colour picked is not stored yet: %s"), problem)
            : Fill(_("The stored colour could not be read, so the default colour is shown: %s"),
                   problem);
    gtk_label_set_text(GTK_LABEL(notice_), text.c_str());
    gtk_widget_set_visible(noticeRow_, TRUE);
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
    if (self->outcome_ != Outcome::Open)
        return FALSE;
    // The person is still choosing: the chooser (or a message) answers first.
    if (self->dialogOpen())
        return TRUE;
    const std::string why = self->store();
    if (why.empty()) {
        self->outcome_ = Outcome::Stored;
        return self->pane_.windowWillClose() ? FALSE : TRUE;
    }
    ShowMessage(self->window_, _("The colour could not be stored"),
                Fill(_("%s\nRetry once that is put right, or close without saving the colour "
                       "picked."),
                     why),
                {{_("Close _Without Saving"), "discard", [self] { self->closeWithoutSaving(); }},
                 {_("_Retry"), "retry", [self] { gtk_window_close(self->window_); }}});
    return TRUE;
}

void PrefsWindow::closeWithoutSaving() {
    // The store keeps a change it could not write and would try again at exit.
    UserDefaults::standardUserDefaults().discardChange(ColourKey);
    outcome_ = Outcome::Discarded;
    gtk_window_close(window_);
}

void PrefsWindow::watchStore() {
    // The store replaces its file by a rename, so the folder is watched rather than the file; a
    // store that is a link has its target replaced in the target's folder.
    GFile* file = g_file_new_for_path(UserDefaults::standardUserDefaults().path().c_str());
    watch(file);
    GFileInfo* info = g_file_query_info(file, G_FILE_ATTRIBUTE_STANDARD_SYMLINK_TARGET,
                                        G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr);
    const char* target = info ? g_file_info_get_symlink_target(info) : nullptr;
    GFile* folder = g_file_get_parent(file);
    if (target && folder) {
        GFile* resolved = g_file_resolve_relative_path(folder, target);
        watch(resolved);
        g_object_unref(resolved);
    }
    if (folder)
        g_object_unref(folder);
    if (info)
        g_object_unref(info);
    g_object_unref(file);
}

void PrefsWindow::watch(GFile* file) {
    GFile* folder = g_file_get_parent(file);
    gchar* name = g_file_get_basename(file);
    GError* error = nullptr;
    GFileMonitor* monitor =
        folder ? g_file_monitor_directory(folder, G_FILE_MONITOR_WATCH_MOVES, nullptr, &error)
               : nullptr;
    if (monitor) {
        watches_.emplace_back(monitor, name ? name : "");
        g_signal_connect(monitor, "changed", G_CALLBACK(OnStoreChanged), this);
    } else {
        gchar* path = g_file_get_path(file);
        std::fprintf(stderr,
                     "bkgcolors-prefs: cannot watch the folder of %s (%s); changes made elsewhere "
                     "show when the window is opened again\n",
                     path ? path : "the store", error ? error->message : "no folder");
        g_free(path);
    }
    g_clear_error(&error);
    g_free(name);
    if (folder)
        g_object_unref(folder);
}

void PrefsWindow::OnStoreChanged(GFileMonitor* monitor, GFile* file, GFile* other,
                                 GFileMonitorEvent event, PrefsWindow* self) {
    // A file written in place is read once its writer is done with it.
    if (event == G_FILE_MONITOR_EVENT_CHANGED || event == G_FILE_MONITOR_EVENT_ATTRIBUTE_CHANGED)
        return;
    std::string watched;
    for (const auto& [candidate, name] : self->watches_)
        if (candidate == monitor)
            watched = name;
    auto named = [&watched](GFile* candidate) {
        if (!candidate)
            return false;
        gchar* name = g_file_get_basename(candidate);
        const bool same = name && watched == name;
        g_free(name);
        return same;
    };
    if (named(file) || named(other))
        self->followStore();
}
