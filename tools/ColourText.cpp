#include "tools/ColourText.h"

#include "tools/HexDigit.h"
#include "tools/Translation.h"

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

// The parts of `text` between commas, each without its surrounding spaces.
std::vector<std::string> Parts(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = text.find(',', start);
        std::string part = text.substr(start, comma - start);
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        parts.push_back(part);
        if (comma == std::string::npos)
            return parts;
        start = comma + 1;
    }
}

// A decimal byte, 0 to 255.
std::optional<float> ByteComponent(const std::string& text) {
    if (text.empty() || text.size() > 3 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    const int value = std::atoi(text.c_str());
    if (value > 255)
        return std::nullopt;
    return static_cast<float>(value) / 255.0f;
}

// `#` and three, four, six or eight hex digits: the components, alpha last when given.
std::optional<std::vector<float>> HexComponents(const std::string& digits) {
    const std::size_t size = digits.size();
    if (size != 3 && size != 4 && size != 6 && size != 8)
        return std::nullopt;
    const std::size_t width = size <= 4 ? 1 : 2;
    std::vector<float> components;
    for (std::size_t at = 0; at < size; at += width) {
        int byte = 0;
        for (std::size_t i = 0; i < 2; ++i) {
            const int digit = HexDigit(digits[at + (width == 2 ? i : 0)]);
            if (digit < 0)
                return std::nullopt;
            byte = byte * 16 + digit;
        }
        components.push_back(static_cast<float>(byte) / 255.0f);
    }
    return components;
}

// `rgb(R, G, B)` with decimal bytes, or `rgba(R, G, B, A)` with an alpha from 0 to 1.
std::optional<std::vector<float>> FunctionComponents(const std::string& text) {
    const bool alpha = text.rfind("rgba(", 0) == 0;
    if ((!alpha && text.rfind("rgb(", 0) != 0) || text.back() != ')')
        return std::nullopt;
    const std::size_t open = text.find('(') + 1;
    const std::vector<std::string> parts = Parts(text.substr(open, text.size() - 1 - open));
    if (parts.size() != (alpha ? 4u : 3u))
        return std::nullopt;
    std::vector<float> components;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        auto component = i < 3 ? ByteComponent(parts[i]) : ParseComponent(parts[i]);
        if (!component)
            return std::nullopt;
        components.push_back(*component);
    }
    return components;
}

std::optional<std::vector<float>> DecimalComponents(const std::string& text) {
    std::vector<float> components;
    for (const std::string& part : Parts(text)) {
        auto component = ParseComponent(part);
        if (!component)
            return std::nullopt;
        components.push_back(*component);
    }
    if (components.size() != 3 && components.size() != 4)
        return std::nullopt;
    return components;
}

} // namespace

std::optional<float> ParseComponent(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789.+-eE") != std::string::npos)
        return std::nullopt;
    char* end = nullptr;
    double value = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !std::isfinite(value) || value < 0.0 || value > 1.0)
        return std::nullopt;
    return static_cast<float>(value);
}

std::optional<platform::Color> ParseColour(const std::string& text, std::string* why,
                                           const char* whiteOption) {
    std::optional<std::vector<float>> components;
    if (!text.empty() && text[0] == '#')
        components = HexComponents(text.substr(1));
    else if (!text.empty() && text[0] == 'r')
        components = FunctionComponents(text);
    else
        components = DecimalComponents(text);
    if (!components) {
        if (why)
            *why = whiteOption
                       ? Fill(_("unrecognised colour '%s' (use #RRGGBB, #RGB, rgb(R, G, B), R,G,B "
                                "or %s)"),
                              text, whiteOption)
                       : Fill(_("unrecognised colour '%s' (use #RRGGBB, #RGB, rgb(R, G, B) or "
                                "R,G,B)"),
                              text);
        return std::nullopt;
    }
    if (components->size() == 4 && (*components)[3] != 1.0f) {
        if (why)
            *why = Fill(_("the store keeps no alpha: '%s' is not fully opaque"), text);
        return std::nullopt;
    }
    const auto& c = *components;
    return platform::Color::colorWithCalibratedRed(c[0], c[1], c[2], 1.0f);
}

int ComponentByte(float component) {
    double scaled = static_cast<double>(component) * 255.0;
    if (!(scaled >= 0.0))
        return 0;
    return scaled >= 255.0 ? 255 : static_cast<int>(scaled);
}
