// Weights of characters in Jet 4's "General" text sort order (LCID 1033, version 0), as used by
// text index keys. A character is made of sort elements (one for most letters, two or three for
// expansions such as ß, Æ, ﬁ), each with primary bytes (case-blind) and, for accented letters,
// an accent code in the secondary section; some characters are ignorable (recorded apart),
// ignored altogether, add to the accent of the character before them (combining marks), or
// carry a kana flag. The table covers every BMP character except the surrogates.
#pragma once

#include <cstdint>

namespace qorvane::jet::index {

enum class WeightKind : uint8_t {
  Unknown,     // no weight known (surrogate halves): a key holding it cannot be built
  Letters,     // `elements` sort elements in `primary`, with `accents` (one per element) or none
  Kana,        // one element, as Letters, and `code` (2 or 3) in the kana section
  Ignorable,   // no primary; recorded after the secondary section with `code`
  Ignored,     // nothing at all in the key
  AccentMark,  // no primary; `code` is added to the accent of the element before it
};

struct CharWeight {
  WeightKind kind = WeightKind::Unknown;
  uint8_t primary_size = 0;  // bytes of `primary` (1 to 4)
  uint8_t elements = 0;      // sort elements those bytes make
  uint8_t accent_size = 0;   // 0 (no accent), or `elements`
  uint8_t primary[4] = {0, 0, 0, 0};
  uint8_t accents[2] = {0, 0};
  uint8_t code = 0;  // Ignorable, AccentMark, Kana: see above
};

// The weight of one UTF-16 code unit.
CharWeight WeightOf(char16_t character);
// The weights of U+0000..U+00FF, by character: the table WeightOf answers Latin-1 from, for
// loops over long runs of such text.
const CharWeight* Latin1Weights();

}  // namespace qorvane::jet::index
