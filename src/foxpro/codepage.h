// Code pages of FoxPro tables: the mark in a table header names one, and text fields and memos
// are stored in it. A CodePage decodes those bytes to UTF-8 and encodes UTF-8 back for writes.
// Single-byte pages (all DOS and Windows pages FoxPro 2.x uses) are turned into a 256-entry
// table once, through glibc iconv, so decoding is a table look-up per byte; the East Asian
// double-byte pages go through iconv on every call.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace qorvane::foxpro {

// The code page a header mark names (437 for 0x01, 1252 for 0x03, ...), or 0 when the mark is 0
// or unknown.
int CodePageFromMark(std::uint8_t mark);
// The mark FoxPro writes for a code page, or 0 when it has none.
std::uint8_t MarkFromCodePage(int code_page);

class CodePage {
 public:
  // Throws qorvane::Error (NotSupported) when iconv does not know the code page.
  explicit CodePage(int number);
  ~CodePage();
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;

  int number() const { return number_; }
  // Appends the UTF-8 form of bytes to out. Bytes the code page leaves undefined become the
  // Unicode character of the same number (as Windows does), so nothing is lost; a broken
  // double-byte sequence turns the whole text that way. Returns false when either happened,
  // so that the caller can say where.
  bool Decode(std::string_view bytes, std::string& out) const;
  std::string Decode(std::string_view bytes) const;
  // The bytes of UTF-8 text in this code page, or nullopt when a character has no byte here.
  std::optional<std::string> Encode(std::string_view utf8) const;
  // The upper-case byte of a byte in this code page (FoxPro UPPER()); unchanged when none.
  unsigned char Upper(unsigned char byte) const { return upper_[byte]; }
  unsigned char Lower(unsigned char byte) const { return lower_[byte]; }

 private:
  struct Utf8 {
    std::uint8_t length = 0;
    char bytes[4] = {};
  };
  int number_;
  bool double_byte_ = false;
  std::array<Utf8, 256> table_{};
  std::array<bool, 256> undefined_{};  // single-byte pages: bytes with no character
  std::array<unsigned char, 256> upper_{};
  std::array<unsigned char, 256> lower_{};
  std::unordered_map<char32_t, unsigned char> reverse_;  // single-byte pages
  struct Converters;
  std::unique_ptr<Converters> converters_;  // iconv handles for double-byte pages
};

}  // namespace qorvane::foxpro
