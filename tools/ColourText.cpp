#include "tools/ColourText.h"

#include "tools/HexDigit.h"

#include <cmath>
#include <cstdlib>
#include <vector>

std::optional<float> ParseComponent(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789.+-eE") != std::string::npos)
        return std::nullopt;
    char* end = nullptr;
    double value = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !std::isfinite(value) || value < 0.0 || value > 1.0)
        return std::nullopt;
    return static_cast<float>(value);
}

std::optional<platform::Color> ParseColour(const std::string& text) {
    if (!text.empty() && text[0] == '#') {
        if (text.size() != 7)
            return std::nullopt;
        float parts[3];
        for (int i = 0; i < 3; ++i) {
            int high = HexDigit(text[1 + 2 * i]), low = HexDigit(text[2 + 2 * i]);
            if (high < 0 || low < 0)
                return std::nullopt;
            parts[i] = static_cast<float>(high * 16 + low) / 255.0f;
        }
        return platform::Color::colorWithCalibratedRed(parts[0], parts[1], parts[2], 1.0f);
    }
    std::vector<float> parts;
    std::size_t start = 0;
    for (;;) {
        std::size_t comma = text.find(',', start);
        auto part = ParseComponent(text.substr(start, comma - start));
        if (!part)
            return std::nullopt;
        parts.push_back(*part);
        if (comma == std::string::npos)
            break;
        start = comma + 1;
    }
    if (parts.size() != 3 && parts.size() != 4)
        return std::nullopt;
    return platform::Color::colorWithCalibratedRed(parts[0], parts[1], parts[2],
                                                   parts.size() == 4 ? parts[3] : 1.0f);
}

int ComponentByte(float component) {
    double scaled = static_cast<double>(component) * 255.0;
    if (!(scaled >= 0.0))
        return 0;
    return scaled >= 255.0 ? 255 : static_cast<int>(scaled);
}
