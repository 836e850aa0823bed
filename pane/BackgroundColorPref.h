/// @file
/// BackgroundColorPref.h — the background colour pane: shows the stored background colour in two
/// colour wells and stores the colour picked in the new-colour well when the user leaves the pane.
///
/// The colour is kept under section "BkgColors", name "SelectedColor" as one integer: red in bits
/// 0-7, green in 8-15, blue in 16-23, top byte written as 0 and ignored on reading; 0xE6E6E6 when
/// nothing is stored. Components are unpacked in single precision (byte / 255.0f) and packed by
/// widening to double, multiplying by 255.0 and truncating toward zero.
///
/// Ownership: the pane owns its two wells (through the base class) and its Str fields; the browser
/// view, the colour panel and m_key are not owned. The fields only hold the values last computed;
/// the stored entry is the only lasting state. Copying: not copyable.
#pragma once

#include "base/Str.h"
#include "platform/Color.h"
#include "platform/ColorWell.h"
#include "platform/PreferencePane.h"
#include "prefs/BPreferences.h"

#include <cstdint>
#include <optional>

namespace platform {
class ColorPanel;
class View;
} // namespace platform

/// The background colour pane: shows the stored colour in two wells and stores the colour picked
/// in the new one (see BackgroundColorPref.h).
class BackgroundColorPref : public platform::PreferencePane {
public:
    /// The colour shown when none is stored: red, green and blue 230.
    static constexpr int DefaultColor = 0xE6E6E6;

    /// Fields zero, Str fields empty; the two wells are made and connected to their outlets.
    BackgroundColorPref();
    /// Releases valueName, then key.
    ~BackgroundColorPref() override;

    /// Sets key, valueName and m_key; reads nothing.
    void mainViewDidLoad() override;
    /// Synchronises the defaults, reads the stored colour (or the default) and shows it, opaque,
    /// in currentColorWell and then newColorWell.
    void didSelect() override;
    /// Stores the colour of newColorWell without its alpha, then synchronises the defaults.
    /// Propagates std::invalid_argument for a colour with no RGB form.
    void didUnselect() override;
    /// Always false.
    bool editPane() override;
    /// Keeps the view in m_BrowserView; nothing else uses it.
    void setBrowserView(platform::View* browserView) override;
    /// Always true; nothing else happens.
    bool windowWillClose() override;

    /// The component in byte `index` (0 red, 1 green, 2 blue) of a packed value, as a float 0-1.
    static float UnpackComponent(int packed, int index);
    /// truncate(double(component) * 255.0); saturates at the 32-bit limits, NaN gives 0.
    static std::int32_t ComponentByte(float component);
    /// (r & 0xFF) | (g & 0xFF) << 8 | (b & 0xFF) << 16.
    static int Pack(std::int32_t r, std::int32_t g, std::int32_t b);

protected:
    platform::View* m_BrowserView = nullptr; ///< the view the host handed over
    BPreferences bp;                         ///< the store the colour is kept in
    Str key;                                 ///< the section, "BkgColors"
    Str valueName;                           ///< the name, "SelectedColor"
    float red = 0.0f;                        ///< red of the colour last taken, 0-1
    float green = 0.0f;                      ///< green of the colour last taken, 0-1
    float blue = 0.0f;                       ///< blue of the colour last taken, 0-1
    float alpha = 0.0f;                      ///< alpha of the colour last taken; never stored
    std::int32_t r = 0;                      ///< red as a byte
    std::int32_t g = 0;                      ///< green as a byte
    std::int32_t b = 0;                      ///< blue as a byte
    std::uint32_t colorRef = 0;              ///< unused; part of the pane's field layout
    platform::ColorWell* currentColorWell = nullptr; ///< the well showing the stored colour
    platform::ColorWell* newColorWell = nullptr;     ///< the well where the user picks
    std::optional<platform::Color> nsColor;          ///< empty until a callback sets it
    platform::ColorPanel* cp = nullptr;              ///< unused: the pane makes no colour panel
    const char* m_key = nullptr;                     ///< the entry's key, "BkgColorsSelectedColor"
};
