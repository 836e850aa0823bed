// ColourSwatch.h — one colour drawn as a swatch. A pickable swatch is a button that opens the
// colour chooser and is named for screen readers after its label; a shown-only swatch is a
// picture: it takes no focus, no click and offers assistive technology no action.
//
// Ownership: the widget belongs to the container it is put in; the swatch object must outlive it
// (the widget draws from it), so it is held by the window that builds both. Invariant: the colour
// is always an opaque byte colour (ColourBytes.h), exactly what is drawn. Copying: not copyable.
#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

class ColourSwatch {
public:
    // A swatch whose widget is named `name`, read by assistive technology as `label`; a pickable
    // one gives the chooser `label` as its title.
    ColourSwatch(const std::string& name, const std::string& label, bool pickable);
    ~ColourSwatch();
    ColourSwatch(const ColourSwatch&) = delete;
    ColourSwatch& operator=(const ColourSwatch&) = delete;

    // The widget to place (a button, or a picture for a shown-only swatch).
    GtkWidget* widget() const { return widget_; }
    const GdkRGBA& colour() const { return colour_; }
    // Shows `colour`, moved to the byte colour it is drawn as.
    void setColour(const GdkRGBA& colour);
    // Opens the colour chooser on the current colour (pickable swatches only); a colour picked
    // there is shown and reported to `onPicked`.
    void choose();
    // Called after the person picked a colour in the chooser.
    void onPicked(std::function<void()> picked) { picked_ = std::move(picked); }

private:
    static void Draw(GtkDrawingArea*, cairo_t* cr, int width, int height, gpointer self);
    void take(const GdkRGBA& picked);

    GtkWidget* widget_ = nullptr;
    GtkWidget* area_ = nullptr;
    std::string label_;
    GdkRGBA colour_{0, 0, 0, 1};
    std::function<void()> picked_;
    GCancellable* choosing_ = nullptr; // the chooser's pending answer, cancelled with the swatch
};
