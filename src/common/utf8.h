// UTF-8 encoding and decoding of one code point, shared by both engines (text in and out of
// the files is UTF-8 inside the program).
#pragma once

#include <string>
#include <string_view>

namespace qorvane {

inline void AppendUtf8(std::string& out, char32_t code) {
  if (code < 0x80) {
    out.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (code >> 6)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (code >> 12)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (code >> 18)));
    out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// Decodes the character at text[position] (position < text.size()) and moves position past it.
// Bytes that are not well-formed UTF-8 are replaced, never refused: each maximal ill-formed
// sequence comes back as one U+FFFD, as Unicode recommends. That covers a stray continuation
// byte, a sequence cut short, an overlong form (C0 AF for '/', E0 80 80), a surrogate
// (ED A0 80 to ED BF BF) and anything past U+10FFFF (F4 90 80 80, F5 to FF).
inline char32_t DecodeUtf8(std::string_view text, std::size_t& position) {
  unsigned char first = static_cast<unsigned char>(text[position++]);
  if (first < 0x80) return first;
  int extra = 0;
  char32_t code = 0;
  // The second byte's range rules out overlong forms, surrogates and code points past U+10FFFF.
  unsigned char low = 0x80, high = 0xBF;
  if (first >= 0xC2 && first <= 0xDF) {
    extra = 1;
    code = first & 0x1F;
  } else if (first >= 0xE0 && first <= 0xEF) {
    extra = 2;
    code = first & 0x0F;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    extra = 3;
    code = first & 0x07;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  } else {
    return kReplacementCharacter;
  }
  for (int k = 0; k < extra; ++k, low = 0x80, high = 0xBF) {
    if (position >= text.size()) return kReplacementCharacter;
    unsigned char next = static_cast<unsigned char>(text[position]);
    if (next < low || next > high) return kReplacementCharacter;
    code = (code << 6) | (next & 0x3F);
    ++position;
  }
  return code;
}

}  // namespace qorvane
