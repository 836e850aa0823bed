// Translation.h — the window's texts come from the gettext catalogue "bkgcolors-prefs": `_()`
// marks and translates a text, and UseCatalogues() points gettext at the catalogues installed
// beside the program (share/locale next to its bin/, in the build tree as once installed).
//
// Free functions; nothing is owned or kept but gettext's own state.
#pragma once

#include <glib/gi18n.h>

#include <string>

// The gettext domain of the window's texts.
inline constexpr const char* TextDomain = "bkgcolors-prefs";

// Takes the locale from the environment and makes TextDomain the default domain, read as UTF-8
// from the catalogues beside the program.
void UseCatalogues();
// `format` with its one "%s" replaced by `value`: translated sentences keep their own word order.
std::string Fill(const char* format, const std::string& value);
