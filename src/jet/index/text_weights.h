// Weights of characters in Jet 4's "General" text sort order (LCID 1033, version 0), as used by
// text index keys: each character has a primary weight (one or two bytes, case-blind), an accent
// weight for the secondary section, expands into two letters, or is ignorable. The table covers
// Latin-1 and the Windows-1252 punctuation; other characters have no known weight.
#pragma once

#include <cstdint>

namespace qorvane::jet::index {

enum class WeightKind : uint8_t {
  Unknown,    // no weight known: a key holding it cannot be built
  Simple,     // primary bytes only
  Accented,   // primary bytes, and `accent` in the secondary section
  Expanding,  // two letters (primary[0], primary[1]), each a weight of its own: Æ, Œ, Þ, ß
  Ignorable,  // no primary; recorded after the secondary section with code `accent`
};

struct CharWeight {
  WeightKind kind = WeightKind::Unknown;
  uint8_t primary_size = 0;  // 1 or 2 (Simple, Accented); 2 for Expanding
  uint8_t primary[2] = {0, 0};
  uint8_t accent = 0;  // Accented: secondary code; Ignorable: its code
};

// The weight of one UTF-16 code unit.
CharWeight WeightOf(char16_t character);

}  // namespace qorvane::jet::index
