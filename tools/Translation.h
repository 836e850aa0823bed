// Translation.h — the programs' texts (the window's, and the messages and usage of the command-line
// programs) come from one gettext catalogue, "bkgcolors-prefs": `_()` marks and translates a text,
// `N_()` marks one translated later, and UseCatalogues() points gettext at the catalogues installed
// beside the program (share/locale next to its bin/, in the build tree as once installed).
//
// Free functions; nothing is owned or kept but gettext's own state.
#pragma once

#include <libintl.h>

#include <string>
#include <vector>

#define _(text) gettext(text)
#define N_(text) text

// The gettext domain of every text the programs show.
inline constexpr const char* TextDomain = "bkgcolors-prefs";

// Takes the language (LC_MESSAGES) and the character set (LC_CTYPE) from the environment, and
// nothing else: numbers keep the dot they are read and printed with, whatever the language.
// Makes TextDomain the default domain, its texts given in `codeset`, or in the locale's own
// character set (what a terminal shows) when null.
void UseCatalogues(const char* codeset = nullptr);

// `format` with its "%s" replaced by `values` in order, or "%N$s" by the N-th value, so that a
// translated sentence keeps its own word order; "%%" is a percent sign.
std::string FillIn(const char* format, const std::vector<std::string>& values);
template <class... Values> std::string Fill(const char* format, const Values&... values) {
    return FillIn(format, {std::string(values)...});
}
