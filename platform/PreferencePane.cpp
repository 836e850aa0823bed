#include "platform/PreferencePane.h"

namespace platform {

PreferencePane::PreferencePane() = default;
PreferencePane::~PreferencePane() = default;

void PreferencePane::mainViewDidLoad() {}
void PreferencePane::didSelect() {}
void PreferencePane::didUnselect() {}
void PreferencePane::setBrowserView(View*) {}
bool PreferencePane::editPane() {
    return false;
}
bool PreferencePane::windowWillClose() {
    return true;
}

ColorWell* PreferencePane::colorWell(const std::string& outlet) const {
    for (const auto& [name, well] : wells_)
        if (name == outlet)
            return well.get();
    return nullptr;
}

std::vector<std::string> PreferencePane::colorWellOutlets() const {
    std::vector<std::string> names;
    for (const auto& entry : wells_)
        names.push_back(entry.first);
    return names;
}

ColorWell* PreferencePane::addColorWell(const std::string& outlet) {
    if (ColorWell* existing = colorWell(outlet))
        return existing;
    wells_.emplace_back(outlet, std::make_unique<ColorWell>());
    return wells_.back().second.get();
}

} // namespace platform
