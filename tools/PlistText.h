// PlistText.h — the text forms bkgcolors-defaults reads and prints: the old-style property-list
// text of a value, the date form, and the names of the kinds.
//
// Free functions over values; nothing is owned or kept between calls.
#pragma once

#include "platform/PropertyValue.h"

#include <optional>
#include <string>

// The old-style text of `value`: `(` items `,` `)`, `{` `key = value;` `}`, nested lines indented
// four spaces deeper than `indent`; texts quoted unless they are only letters, digits and
// `_ . $ / :`; data as `<0a0b0c>`; booleans as 1 and 0. No final newline.
std::string OldStyleText(const platform::PropertyValue& value, int indent = 0);
// One value as `read` shows it alone: a text as it is (quoted with escapes, as OldStyleText
// writes it, when it holds a control character other than tab and line feed), numbers and dates
// bare, the rest as OldStyleText.
std::string BareText(const platform::PropertyValue& value);
// The kind as `read-type` names it: string, integer, float, boolean, data, date, array,
// dictionary.
std::string KindName(const platform::PropertyValue& value);

// A date written `YYYY-MM-DD HH:MM:SS +ZZZZ` or `YYYY-MM-DDTHH:MM:SSZ`, as seconds since
// 2001-01-01 00:00:00 UTC; nullopt for anything else, an impossible day or time included.
std::optional<double> ParseDate(const std::string& text);
// Seconds since 2001-01-01 00:00:00 UTC as `YYYY-MM-DD HH:MM:SS +0000`, whole seconds.
std::string DateText(double seconds);
