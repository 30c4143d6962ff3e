// The shared UTF-8 decoder: every well-formed character comes back whole, and what is not
// well-formed becomes U+FFFD, one per maximal ill-formed sequence, never a character it is not.
#include "common/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace qorvane {
namespace {

std::u32string DecodeAll(std::string_view text) {
  std::u32string out;
  for (std::size_t position = 0; position < text.size();) out.push_back(DecodeUtf8(text, position));
  return out;
}

TEST(Utf8, WellFormedCharactersRoundTripAtEveryLength) {
  for (char32_t code : {U'\0', U'A', U'\x7F', U'\x80', U'é', U'\x7FF', U'\x800', U'€', U'\xD7FF', U'\xE000', U'\xFFFD',
                        U'\xFFFF', U'\x10000', U'😀', U'\x10FFFF'}) {
    std::string utf8;
    AppendUtf8(utf8, code);
    EXPECT_EQ(DecodeAll(utf8), std::u32string(1, code)) << static_cast<unsigned>(code);
  }
}

TEST(Utf8, IllFormedSequencesBecomeReplacementCharacters) {
  const char32_t R = kReplacementCharacter;
  struct Case {
    const char* bytes;
    std::u32string expected;
  };
  const Case cases[] = {
      {"\xC0\xAF", {R, R}},                   // overlong '/'
      {"\xC1\xBF", {R, R}},                   // overlong DEL
      {"\xE0\x80\xAF", {R, R, R}},            // overlong '/' in three bytes
      {"\xF0\x80\x80\xAF", {R, R, R, R}},     // ... and in four
      {"\xED\xA0\x80", {R, R, R}},            // high surrogate D800
      {"\xED\xBF\xBF", {R, R, R}},            // low surrogate DFFF
      {"\xF4\x90\x80\x80", {R, R, R, R}},     // 110000, past the last code point
      {"\xF5\x80\x80\x80", {R, R, R, R}},     // no such lead byte
      {"\xFF", {R}},
      {"\x80", {R}},                          // a stray continuation byte
      {"a\xE2\x82", {U'a', R}},               // cut short at the end
      {"\xE2\x82x", {R, U'x'}},               // cut short before an ASCII letter
      {"\xF0\x9F\x98", {R}},
      // The example of the Unicode standard (table 3-8).
      {"\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64", {U'a', R, R, R, U'b', R, U'c', R, R, U'd'}},
  };
  for (const Case& c : cases) EXPECT_EQ(DecodeAll(c.bytes), c.expected) << c.bytes;
}

}  // namespace
}  // namespace qorvane
