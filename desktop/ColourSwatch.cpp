#include "desktop/ColourSwatch.h"

#include "desktop/ColourBytes.h"

#include <cstdio>

namespace {

std::string HexOf(const GdkRGBA& colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02X%02X%02X", ShownByte(colour.red),
                  ShownByte(colour.green), ShownByte(colour.blue));
    return text;
}

} // namespace

ColourSwatch::ColourSwatch(const std::string& name, const std::string& label, bool pickable)
    : label_(label) {
    // Inside a button the swatch is decoration (the button carries the name and the action); on
    // its own it is a picture, shown undimmed, with nothing to activate.
    area_ = GTK_WIDGET(g_object_new(
        GTK_TYPE_DRAWING_AREA, "accessible-role",
        pickable ? GTK_ACCESSIBLE_ROLE_PRESENTATION : GTK_ACCESSIBLE_ROLE_IMG, "content-width",
        pickable ? 80 : 96, "content-height", pickable ? 28 : 40, nullptr));
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(area_), Draw, this, nullptr);
    if (pickable) {
        widget_ = gtk_button_new();
        gtk_button_set_child(GTK_BUTTON(widget_), area_);
        g_signal_connect_swapped(widget_, "clicked",
                                 G_CALLBACK(+[](ColourSwatch* self) { self->choose(); }), this);
    } else {
        gtk_widget_set_can_target(area_, FALSE);
        gtk_widget_set_focusable(area_, FALSE);
        widget_ = area_;
    }
    gtk_widget_set_name(widget_, name.c_str());
    gtk_widget_set_halign(widget_, GTK_ALIGN_START);
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget_), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   label.c_str(), -1);
    setColour(colour_);
}

ColourSwatch::~ColourSwatch() {
    if (choosing_) {
        g_cancellable_cancel(choosing_);
        g_object_unref(choosing_);
    }
}

void ColourSwatch::setColour(const GdkRGBA& colour) {
    colour_ = SnapToBytes(colour);
    // Screen readers tell the colour as the stored value reads.
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget_), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   HexOf(colour_).c_str(), -1);
    gtk_widget_queue_draw(area_);
}

void ColourSwatch::Draw(GtkDrawingArea*, cairo_t* cr, int width, int height, gpointer self) {
    const GdkRGBA& colour = static_cast<ColourSwatch*>(self)->colour_;
    cairo_set_source_rgb(cr, colour.red, colour.green, colour.blue);
    cairo_rectangle(cr, 0, 0, width, height);
    cairo_fill(cr);
}

void ColourSwatch::take(const GdkRGBA& picked) {
    setColour(picked);
    if (picked_)
        picked_();
}

// GTK 4.10 replaces the chooser dialog by an asynchronous GtkColorDialog; both are modal on the
// swatch's window and hand over a GdkRGBA.
#if GTK_CHECK_VERSION(4, 10, 0)
void ColourSwatch::choose() {
    if (area_ == widget_ || choosing_)
        return;
    GtkColorDialog* dialog = gtk_color_dialog_new();
    gtk_color_dialog_set_with_alpha(dialog, FALSE);
    gtk_color_dialog_set_title(dialog, label_.c_str());
    gtk_color_dialog_set_modal(dialog, TRUE);
    choosing_ = g_cancellable_new();
    auto answered = +[](GObject* source, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GdkRGBA* picked =
            gtk_color_dialog_choose_rgba_finish(GTK_COLOR_DIALOG(source), result, &error);
        const bool gone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        g_clear_error(&error);
        if (gone)
            return; // the swatch cancelled on its way out: `data` is no more
        auto* self = static_cast<ColourSwatch*>(data);
        g_clear_object(&self->choosing_);
        if (!picked)
            return; // dismissed
        self->take(*picked);
        gdk_rgba_free(picked);
    };
    auto* root = GTK_WINDOW(gtk_widget_get_root(widget_));
    gtk_color_dialog_choose_rgba(dialog, root, &colour_, choosing_, answered, this);
    g_object_unref(dialog);
}
#else
void ColourSwatch::choose() {
    if (area_ == widget_)
        return;
    auto* root = GTK_WINDOW(gtk_widget_get_root(widget_));
    GtkWidget* dialog = gtk_color_chooser_dialog_new(label_.c_str(), root);
    gtk_color_chooser_set_use_alpha(GTK_COLOR_CHOOSER(dialog), FALSE);
    gtk_color_chooser_set_rgba(GTK_COLOR_CHOOSER(dialog), &colour_);
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(dialog), TRUE);
    auto answered = +[](GtkDialog* chooser, int response, ColourSwatch* self) {
        if (response == GTK_RESPONSE_OK) {
            GdkRGBA picked;
            gtk_color_chooser_get_rgba(GTK_COLOR_CHOOSER(chooser), &picked);
            self->take(picked);
        }
        gtk_window_destroy(GTK_WINDOW(chooser));
    };
    g_signal_connect(dialog, "response", G_CALLBACK(answered), this);
    gtk_window_present(GTK_WINDOW(dialog));
}
#endif
