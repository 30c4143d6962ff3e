// The General sort order's weights. Latin-1 is built once at compile time from short lists:
// letters and digits step through their ranges, punctuation and symbols carry explicit codes,
// accented letters name their base letter and accent code. The rest of the BMP comes from
// generated runs (text_weight_runs.inc): neighbouring characters whose primary weight or code
// steps by 0 or 1 from one character to the next share one entry, found by binary search.
#include "jet/index/text_weights.h"

#include <algorithm>
#include <array>

namespace qorvane::jet::index {
namespace {

constexpr CharWeight Simple(uint8_t first) { return {WeightKind::Letters, 1, 1, 0, {first}, {}, 0}; }
// One sort element of two bytes (punctuation, symbols and other scripts' letters).
constexpr CharWeight Simple(uint8_t first, uint8_t second) {
  return {WeightKind::Letters, 2, 1, 0, {first, second}, {}, 0};
}
constexpr CharWeight Ignorable(uint8_t code) { return {WeightKind::Ignorable, 0, 0, 0, {}, {}, code}; }
// Two letters, each an element of its own: Æ, Œ, Þ, ß.
constexpr CharWeight Expanding(uint8_t first, uint8_t second) {
  return {WeightKind::Letters, 2, 2, 0, {first, second}, {}, 0};
}

// Primary weights of the letters A..Z (lower case shares them). The steps are uneven: some
// letters leave a gap for weights of other scripts' letters sorted with them.
constexpr uint8_t kLetterWeights[26] = {
    0x4A, 0x4C, 0x4D, 0x4F, 0x51, 0x53, 0x55, 0x57, 0x59, 0x5B, 0x5C, 0x5E, 0x60,  // A..M
    0x62, 0x64, 0x66, 0x68, 0x69, 0x6B, 0x6D, 0x6F, 0x71, 0x73, 0x75, 0x76, 0x78,  // N..Z
};
constexpr uint8_t Letter(char upper) { return kLetterWeights[upper - 'A']; }

constexpr CharWeight Accented(char base, uint8_t accent) {
  return {WeightKind::Letters, 1, 1, 1, {Letter(base)}, {accent}, 0};
}

// Accent codes of the secondary section.
constexpr uint8_t kAcute = 0x0E, kGrave = 0x0F, kCircumflex = 0x12, kDiaeresis = 0x13,
                  kTilde = 0x19, kRing = 0x1A, kCedilla = 0x1C, kStroke = 0x21, kOrdinal = 0x03,
                  kEth = 0x68;

struct Assignment {
  char16_t character;
  CharWeight weight;
};

// Characters of U+00A0..U+00FF that are not letters with a plain accent (those are listed by
// base letter below).
constexpr Assignment kSymbols[] = {
    {0x00A0, Simple(0x08, 0x02)}, {0x00A1, Simple(0x2B, 0x10)}, {0x00A2, Simple(0x34, 0xA6)},
    {0x00A3, Simple(0x34, 0xA7)}, {0x00A4, Simple(0x34, 0xA8)}, {0x00A5, Simple(0x34, 0xA9)},
    {0x00A6, Simple(0x2B, 0x11)}, {0x00A7, Simple(0x34, 0xAA)}, {0x00A8, Simple(0x2B, 0x12)},
    {0x00A9, Simple(0x34, 0xAB)}, {0x00AA, Accented('A', kOrdinal)}, {0x00AB, Simple(0x33, 0x05)},
    {0x00AC, Simple(0x34, 0xAC)}, {0x00AD, Ignorable(0x83)},         {0x00AE, Simple(0x34, 0xAD)},
    {0x00AF, Simple(0x2B, 0x13)}, {0x00B0, Simple(0x34, 0xAE)},      {0x00B1, Simple(0x33, 0x04)},
    {0x00B2, Simple(0x3A)},       {0x00B3, Simple(0x3C)},            {0x00B4, Simple(0x2B, 0x14)},
    {0x00B5, Simple(0x34, 0xAF)}, {0x00B6, Simple(0x34, 0xB0)},      {0x00B7, Simple(0x34, 0xB1)},
    {0x00B8, Simple(0x2B, 0x15)}, {0x00B9, Simple(0x38)},            {0x00BA, Accented('O', kOrdinal)},
    {0x00BB, Simple(0x33, 0x07)}, {0x00BC, Simple(0x37, 0x12)},      {0x00BD, Simple(0x37, 0x16)},
    {0x00BE, Simple(0x37, 0x1A)}, {0x00BF, Simple(0x2B, 0x16)},      {0x00D7, Simple(0x33, 0x09)},
    {0x00F7, Simple(0x33, 0x0A)}, {0x00C6, Expanding(Letter('A'), Letter('E'))},
    {0x00E6, Expanding(Letter('A'), Letter('E'))}, {0x00DE, Expanding(Letter('T'), Letter('H'))},
    {0x00FE, Expanding(Letter('T'), Letter('H'))}, {0x00DF, Expanding(Letter('S'), Letter('S'))},
    {0x00D0, Accented('D', kEth)}, {0x00F0, Accented('D', kEth)},
    {0x00D8, Accented('O', kStroke)}, {0x00F8, Accented('O', kStroke)},
};

// Accented Latin-1 letters, upper case (lower case is 0x20 above each).
constexpr Assignment kAccentedUpper[] = {
    {0xC0, Accented('A', kGrave)},  {0xC1, Accented('A', kAcute)}, {0xC2, Accented('A', kCircumflex)},
    {0xC3, Accented('A', kTilde)},  {0xC4, Accented('A', kDiaeresis)}, {0xC5, Accented('A', kRing)},
    {0xC7, Accented('C', kCedilla)}, {0xC8, Accented('E', kGrave)}, {0xC9, Accented('E', kAcute)},
    {0xCA, Accented('E', kCircumflex)}, {0xCB, Accented('E', kDiaeresis)},
    {0xCC, Accented('I', kGrave)},  {0xCD, Accented('I', kAcute)}, {0xCE, Accented('I', kCircumflex)},
    {0xCF, Accented('I', kDiaeresis)}, {0xD1, Accented('N', kTilde)}, {0xD2, Accented('O', kGrave)},
    {0xD3, Accented('O', kAcute)},  {0xD4, Accented('O', kCircumflex)}, {0xD5, Accented('O', kTilde)},
    {0xD6, Accented('O', kDiaeresis)}, {0xD9, Accented('U', kGrave)}, {0xDA, Accented('U', kAcute)},
    {0xDB, Accented('U', kCircumflex)}, {0xDC, Accented('U', kDiaeresis)},
    {0xDD, Accented('Y', kAcute)},
};

constexpr std::array<CharWeight, 256> BuildLatin1() {
  std::array<CharWeight, 256> table{};
  table[0] = {WeightKind::Ignored, 0, 0, 0, {}, {}, 0};
  // Control characters are ignorable, numbered in order, except TAB..CR which sort as spaces.
  uint8_t code = 0x03;
  for (int c = 0x01; c <= 0x1F; ++c) {
    if (c >= 0x09 && c <= 0x0D) {
      table[c] = Simple(0x08, static_cast<uint8_t>(0x03 + (c - 0x09)));
    } else {
      table[c] = Ignorable(code++);
    }
  }
  code = 0x1D;
  for (int c = 0x7F; c <= 0x9F; ++c) table[c] = Ignorable(code++);
  const Assignment punctuation[] = {
      {' ', Simple(0x07)},  {'!', Simple(0x09)}, {'"', Simple(0x0A)}, {'#', Simple(0x0C)},
      {'$', Simple(0x0E)},  {'%', Simple(0x10)}, {'&', Simple(0x12)}, {'\'', Ignorable(0x80)},
      {'(', Simple(0x14)},  {')', Simple(0x16)}, {'*', Simple(0x18)}, {'+', Simple(0x2C)},
      {',', Simple(0x1A)},  {'-', Ignorable(0x82)}, {'.', Simple(0x1C)}, {'/', Simple(0x1E)},
      {':', Simple(0x20)},  {';', Simple(0x22)}, {'<', Simple(0x2E)}, {'=', Simple(0x30)},
      {'>', Simple(0x32)},  {'?', Simple(0x24)}, {'@', Simple(0x26)}, {'[', Simple(0x27)},
      {'\\', Simple(0x29)}, {']', Simple(0x2A)}, {'^', Simple(0x2B, 0x02)},
      {'_', Simple(0x2B, 0x03)}, {'`', Simple(0x2B, 0x07)}, {'{', Simple(0x2B, 0x09)},
      {'|', Simple(0x2B, 0x0B)}, {'}', Simple(0x2B, 0x0D)}, {'~', Simple(0x2B, 0x0F)},
  };
  for (const Assignment& entry : punctuation) table[entry.character] = entry.weight;
  for (int digit = 0; digit < 10; ++digit) table['0' + digit] = Simple(static_cast<uint8_t>(0x36 + 2 * digit));
  for (int letter = 0; letter < 26; ++letter) {
    table['A' + letter] = Simple(kLetterWeights[letter]);
    table['a' + letter] = Simple(kLetterWeights[letter]);
  }
  for (const Assignment& entry : kAccentedUpper) {
    table[entry.character] = entry.weight;
    table[entry.character + 0x20] = entry.weight;
  }
  table[0xFF] = Accented('Y', kDiaeresis);
  for (const Assignment& entry : kSymbols) table[entry.character] = entry.weight;
  return table;
}

constexpr std::array<CharWeight, 256> kLatin1 = BuildLatin1();

// COUNT characters from FIRST: the I-th has primary (or code) FIRST_VALUE + I * STEP, the primary
// being PRIMARY_SIZE bytes big-endian; the other fields are the same for all of them.
struct WeightRun {
  char16_t first;
  uint16_t count;
  WeightKind kind;
  uint8_t primary_size;
  uint8_t elements;
  uint32_t first_value;
  uint8_t step;
  uint8_t accent_size;
  uint8_t accents[2];
  uint8_t kana_flag;
};

constexpr WeightRun kRuns[] = {
#include "jet/index/text_weight_runs.inc"
};

constexpr bool RunsAreOrdered() {
  for (size_t i = 1; i < std::size(kRuns); ++i) {
    if (kRuns[i].first < kRuns[i - 1].first + kRuns[i - 1].count) return false;
  }
  return kRuns[0].first == 0x100;
}
static_assert(RunsAreOrdered(), "weight runs must be sorted and must not overlap");

}  // namespace

const CharWeight* Latin1Weights() { return kLatin1.data(); }

CharWeight WeightOf(char16_t character) {
  if (character < 0x100) return kLatin1[character];
  const WeightRun* run = std::upper_bound(std::begin(kRuns), std::end(kRuns), character,
                                          [](char16_t c, const WeightRun& r) { return c < r.first; });
  if (run == std::begin(kRuns)) return {};
  --run;
  const uint32_t offset = character - run->first;
  if (offset >= run->count) return {};  // the surrogates lie between runs
  const uint32_t value = run->first_value + offset * run->step;
  CharWeight weight;
  weight.kind = run->kind;
  switch (run->kind) {
    case WeightKind::Ignorable:
    case WeightKind::AccentMark:
      weight.code = static_cast<uint8_t>(value);
      return weight;
    case WeightKind::Ignored:
    case WeightKind::Unknown:
      return weight;
    case WeightKind::Letters:
    case WeightKind::Kana:
      break;
  }
  weight.primary_size = run->primary_size;
  weight.elements = run->elements;
  for (int i = 0; i < run->primary_size; ++i) {
    weight.primary[i] = static_cast<uint8_t>(value >> (8 * (run->primary_size - 1 - i)));
  }
  weight.accent_size = run->accent_size;
  weight.accents[0] = run->accents[0];
  weight.accents[1] = run->accents[1];
  weight.code = run->kana_flag;
  return weight;
}

}  // namespace qorvane::jet::index
