#include "prefs/Utility.h"

#include "platform/StringEncoding.h"

Str Utility::strFromNSString(const std::string& string) const {
    Str result;
    if (string.empty())
        return result;
    if (auto ascii = platform::cStringUsingEncoding(string, platform::ASCIIStringEncoding))
        result.Copy_Native(ascii->c_str());
    return result;
}

std::optional<std::string> Utility::nsStringFromStr(Str str) const {
    return platform::stringWithCString(str, platform::ASCIIStringEncoding);
}
