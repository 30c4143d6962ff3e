// The conversion's text rules (see text.h).
#include "common/text.h"

#include "common/utf8.h"

namespace qorvane::text {
namespace {

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

char32_t UpperCodePoint(char32_t c) {
  if (c >= U'a' && c <= U'z') return c - 0x20;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 0x20;  // à..þ except ÷
  if (c == 0xFF) return 0x178;                               // ÿ
  if (c >= 0x100 && c <= 0x17F) {                            // Latin Extended-A pairs
    bool even_is_lower = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F) return c;
    if (even_is_lower ? (c % 2 == 0) : (c % 2 == 1)) return c - 1;
    return c;
  }
  if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 0x20;  // Greek α..ω
  if (c >= 0x430 && c <= 0x44F) return c - 0x20;                // Cyrillic а..я
  if (c >= 0x450 && c <= 0x45F) return c - 0x50;                // ѐ..џ
  return c;
}

}  // namespace

std::string_view Trim(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string UCase(std::string_view text) {
  std::string upper;
  upper.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      char c = text[i++];
      upper.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 0x20) : c);
      continue;
    }
    std::size_t start = i;
    char32_t code = DecodeUtf8(text, i);
    char32_t mapped = UpperCodePoint(code);
    // A malformed byte, or a letter without an upper case, stays as it was written.
    if (mapped == code || code == kReplacementCharacter) {
      upper.append(text.substr(start, i - start));
    } else {
      AppendUtf8(upper, mapped);
    }
  }
  return upper;
}

std::string UCaseTrim(std::string_view text) { return UCase(Trim(text)); }

std::size_t CharLength(std::string_view text) {
  std::size_t count = 0;
  for (char c : text) count += IsContinuation(c) ? 0 : 1;
  return count;
}

std::string_view LeftChars(std::string_view text, std::size_t count) {
  std::size_t seen = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsContinuation(text[i])) continue;
    if (seen == count) return text.substr(0, i);
    ++seen;
  }
  return text;
}

std::string_view RightChars(std::string_view text, std::size_t count) {
  std::size_t total = CharLength(text);
  if (total <= count) return text;
  return text.substr(LeftChars(text, total - count).size());
}

std::string TrimToWidth(std::string_view text, int width) {
  if (width < 0) width = 0;
  std::string_view trimmed = Trim(text);
  // The padding is trimmed off again: a text that fits comes back trimmed, a longer one cut.
  return std::string(Trim(LeftChars(trimmed, static_cast<std::size_t>(width))));
}

std::string RightJustify(std::string_view text, int width) {
  if (width < 0) width = 0;
  std::string padded(static_cast<std::size_t>(width), ' ');
  padded += Trim(text);
  return std::string(RightChars(padded, static_cast<std::size_t>(width)));
}

std::string PadToWidth(std::string_view text, int width) {
  if (width < 0) width = 0;
  std::string padded(Trim(text));
  padded.append(static_cast<std::size_t>(width), ' ');
  return std::string(LeftChars(padded, static_cast<std::size_t>(width)));
}

std::string JoinedWithAnd(const std::vector<std::string>& items) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += i + 1 == items.size() ? " and " : ", ";
    text += items[i];
  }
  return text;
}

}  // namespace qorvane::text
