/// @file
/// PreferencePane.h — stands for NSPreferencePane: the base class of a pane that a host loads from
/// a plug-in and drives through callbacks, together with the colour wells of the pane's view.
///
/// Ownership: the pane owns the wells of its view (made by addColorWell, the stand-in for loading
/// the interface file); outlets are plain pointers to them, valid for the pane's lifetime.
/// Invariant: outlet names are unique. Copying: not copyable.
#pragma once

#include "platform/ColorWell.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform {

class View;

/// The base class of a pane that a host loads from a plug-in (see PreferencePane.h).
class PreferencePane {
public:
    PreferencePane();
    virtual ~PreferencePane();
    PreferencePane(const PreferencePane&) = delete;
    PreferencePane& operator=(const PreferencePane&) = delete;

    /// Sent once the pane's view is loaded; the base does nothing.
    virtual void mainViewDidLoad();
    /// Sent when the pane is shown; the base does nothing.
    virtual void didSelect();
    /// Sent when the user leaves the pane; the base does nothing.
    virtual void didUnselect();
    /// The host hands over its browser view (not owned); the base ignores it.
    virtual void setBrowserView(View* browserView);
    /// Asked by the host whether the pane edits in place; the base answers false.
    virtual bool editPane();
    /// Sent when the host's window closes; true lets it close. The base answers true.
    virtual bool windowWillClose();

    /// The well connected to `outlet`, or null when the view has no such outlet.
    ColorWell* colorWell(const std::string& outlet) const;
    /// The outlet names of the view's wells in the order they were made.
    std::vector<std::string> colorWellOutlets() const;

protected:
    /// Makes a well in the pane's view connected to `outlet` and returns it; an existing outlet of
    /// that name is returned unchanged rather than duplicated.
    ColorWell* addColorWell(const std::string& outlet);

private:
    std::vector<std::pair<std::string, std::unique_ptr<ColorWell>>> wells_;
};

} // namespace platform
