// The one rule for trimming and upper-casing text that the whole conversion follows, and the
// character counts of UTF-8 text. Trimming removes blanks (spaces) on both sides, as the old
// converter's Trim did; upper-casing maps ASCII, the accented letters of Latin-1 and Latin
// Extended-A, Greek and Cyrillic, as its UCase did on a Western Windows; anything else stays.
// Keys, names and file numbers are all compared in this form.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qorvane::text {

std::string_view Trim(std::string_view text);
// "a, b and c": ITEMS joined as a sentence lists them.
std::string JoinedWithAnd(const std::vector<std::string>& items);
std::string UCase(std::string_view text);
// Trim, then UCase.
std::string UCaseTrim(std::string_view text);

// Characters (code points) of UTF-8 text; its first or last COUNT characters.
std::size_t CharLength(std::string_view text);
std::string_view LeftChars(std::string_view text, std::size_t count);
std::string_view RightChars(std::string_view text, std::size_t count);

// Trim(text), padded with blanks to WIDTH characters, cut to WIDTH, trimmed again: a
// left-justified value no longer than a column of WIDTH (a width below 0 counts as 0).
std::string TrimToWidth(std::string_view text, int width);
// WIDTH blanks followed by Trim(text), of which the last WIDTH characters are kept:
// right-justified, a longer text losing its leading characters.
std::string RightJustify(std::string_view text, int width);
// Trim(text) followed by blanks, cut to WIDTH characters: exactly WIDTH, padding kept.
std::string PadToWidth(std::string_view text, int width);

}  // namespace qorvane::text
