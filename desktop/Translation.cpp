#include "desktop/Translation.h"

#include <clocale>

void UseCatalogues() {
    std::setlocale(LC_ALL, "");
    std::string folder;
    if (gchar* program = g_file_read_link("/proc/self/exe", nullptr)) {
        gchar* bin = g_path_get_dirname(program);
        gchar* locale = g_build_filename(bin, "..", "share", "locale", nullptr);
        folder = locale;
        g_free(locale);
        g_free(bin);
        g_free(program);
    }
    if (!folder.empty())
        bindtextdomain(TextDomain, folder.c_str());
    bind_textdomain_codeset(TextDomain, "UTF-8");
    textdomain(TextDomain);
}

std::string Fill(const char* format, const std::string& value) {
    std::string text = format;
    const std::size_t at = text.find("%s");
    if (at != std::string::npos)
        text.replace(at, 2, value);
    return text;
}
