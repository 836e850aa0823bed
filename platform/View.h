/// @file
/// View.h — stands for NSView: a named view of the host's window, such as the browser view the host
/// hands to a pane.
///
/// Ownership: owns its name only; whoever creates a view keeps it alive while others refer to it.
/// Copying copies the name.
#pragma once

#include <string>

namespace platform {

/// A named view of the host's window (see View.h).
class View {
public:
    /// A view called `name`.
    explicit View(std::string name) : name_(std::move(name)) {}
    /// The name given at construction.
    const std::string& name() const { return name_; }

private:
    std::string name_;
};

} // namespace platform
