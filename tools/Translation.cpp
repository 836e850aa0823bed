#include "tools/Translation.h"

#include <cctype>
#include <clocale>
#include <filesystem>
#include <system_error>

void UseCatalogues(const char* codeset) {
    std::setlocale(LC_MESSAGES, "");
    std::setlocale(LC_CTYPE, "");
    std::error_code failed;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failed);
    if (!failed) {
        const std::filesystem::path folder = program.parent_path() / ".." / "share" / "locale";
        bindtextdomain(TextDomain, folder.c_str());
    }
    if (codeset)
        bind_textdomain_codeset(TextDomain, codeset);
    textdomain(TextDomain);
}

std::string FillIn(const char* format, const std::vector<std::string>& values) {
    std::string text;
    std::size_t next = 0;
    for (const char* at = format; *at; ++at) {
        if (at[0] != '%') {
            text += *at;
        } else if (at[1] == '%') {
            text += '%';
            ++at;
        } else if (at[1] == 's') {
            text += next < values.size() ? values[next++] : std::string();
            ++at;
        } else if (std::isdigit(static_cast<unsigned char>(at[1])) && at[2] == '$' &&
                   at[3] == 's') {
            const auto n = static_cast<std::size_t>(at[1] - '1');
            text += n < values.size() ? values[n] : std::string();
            at += 3;
        } else {
            text += *at;
        }
    }
    return text;
}
