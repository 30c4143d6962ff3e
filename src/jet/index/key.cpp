// Key bytes of index entries: the flag byte of each column, then the value encoded so that an
// unsigned byte comparison sorts as Jet does. Numbers become big-endian with the sign folded in;
// text becomes a General-order sort key (primary weights, accents, ignorable characters).
#include "jet/index/key.h"
#include "common/utf8.h"

#include <bit>
#include <cmath>
#include <cstring>

#include "common/error.h"
#include "jet/format/index_pages.h"
#include "jet/format/table_definition.h"
#include "jet/index/text_weights.h"

namespace qorvane::jet::index {
namespace {

void Invert(std::vector<uint8_t>& bytes, size_t from) {
  for (size_t i = from; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(~bytes[i]);
}

std::string TypeName(KeyType type) {
  switch (type) {
    case KeyType::Boolean: return "Boolean";
    case KeyType::Byte: return "Byte";
    case KeyType::Integer: return "Integer";
    case KeyType::Long: return "Long";
    case KeyType::Currency: return "Currency";
    case KeyType::Single: return "Single";
    case KeyType::Double: return "Double";
    case KeyType::DateTime: return "DateTime";
    case KeyType::Binary: return "Binary";
    case KeyType::Text: return "Text";
    case KeyType::Memo: return "Memo";
    case KeyType::Guid: return "GUID";
  }
  return "unknown";
}

[[noreturn]] void WrongValue(KeyType type, const KeyValue& value) {
  throw Error(ErrorKind::InvalidArgument,
              "index key: value " + DescribeValue(value) + " does not fit a " + TypeName(type) +
                  " key column");
}

template <typename T>
const T& Expect(KeyType type, const KeyValue& value) {
  const T* held = std::get_if<T>(&value);
  if (!held) WrongValue(type, value);
  return *held;
}

// Signed integer of SIZE bytes, big-endian with the sign bit flipped.
void AppendInteger(std::vector<uint8_t>& key, KeyType type, const KeyValue& value, int size,
                   int64_t minimum, int64_t maximum) {
  int64_t number = Expect<int64_t>(type, value);
  if (number < minimum || number > maximum) WrongValue(type, value);
  uint64_t bits = static_cast<uint64_t>(number);
  for (int i = size - 1; i >= 0; --i) key.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  key[key.size() - size] ^= 0x80;
}

// IEEE value big-endian: positive numbers get the sign bit set, negative ones are inverted.
void AppendFloatBits(std::vector<uint8_t>& key, uint64_t bits, int size) {
  size_t start = key.size();
  for (int i = size - 1; i >= 0; --i) key.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  if (key[start] & 0x80) {
    Invert(key, start);
  } else {
    key[start] |= 0x80;
  }
}

// 8-byte chunks, each followed by 0x09 when more follow or by the count of real bytes in the
// last one. Descending inverts data and count but keeps the 0x09 markers.
void AppendBinary(std::vector<uint8_t>& key, std::span<const uint8_t> data, SortOrder order) {
  const uint8_t mask = order == SortOrder::Descending ? 0xFF : 0x00;
  size_t offset = 0;
  do {
    size_t chunk = std::min(format::kBinaryChunkSize, data.size() - offset);
    for (size_t i = 0; i < format::kBinaryChunkSize; ++i) {
      uint8_t byte = i < chunk ? data[offset + i] : 0;
      key.push_back(byte ^ mask);
    }
    offset += chunk;
    if (offset < data.size()) {
      key.push_back(format::kBinaryMoreChunks);
    } else {
      key.push_back(static_cast<uint8_t>(chunk) ^ mask);
    }
  } while (offset < data.size());
}

std::string CodePointName(char16_t character) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "U+%04X", static_cast<unsigned>(character));
  return buffer;
}

// Packs the kana flags three to a byte (0x80 | f0 << 4 | f1 << 2 | f2) after dropping the
// trailing 3s (the flag of plain kana), then the fixed suffix.
void AppendKanaFlags(std::vector<uint8_t>& key, std::vector<uint8_t>& flags) {
  while (!flags.empty() && flags.back() == format::kKanaPlainFlag) flags.pop_back();
  for (size_t i = 0; i < flags.size(); i += 3) {
    uint8_t packed = format::kKanaFlagByte;
    for (size_t k = 0; k < 3 && i + k < flags.size(); ++k) packed |= flags[i + k] << (4 - 2 * k);
    key.push_back(packed);
  }
  key.insert(key.end(), std::begin(format::kKanaSuffix), std::end(format::kKanaSuffix));
}

// The key of text whose characters are all Latin-1 letters and symbols without an accent,
// ignorable characters or characters ignored (nearly every key an office holds), built in one
// pass as AppendTextKey builds it: the primary weights, the section ends, the ignorables. False,
// with KEY as it was, when a character needs the full rules (an accent, a kana, no weight).
bool AppendPlainTextKey(std::vector<uint8_t>& key, std::u16string_view text, size_t length) {
  constexpr size_t kMostIgnorables = 16;
  uint8_t ignorables[4 * kMostIgnorables];
  size_t ignorable_bytes = 0;
  const size_t start = key.size();
  key.resize(start + 4 * length + 5);
  uint8_t* out = key.data() + start;
  uint32_t elements = 0;
  static const CharWeight* const latin1 = Latin1Weights();
  for (size_t i = 0; i < length; ++i) {
    if (text[i] >= 0x100) {
      key.resize(start);
      return false;
    }
    const CharWeight& weight = latin1[text[i]];
    if (weight.kind == WeightKind::Letters && weight.accent_size == 0) {
      for (uint8_t b = 0; b < weight.primary_size; ++b) *out++ = weight.primary[b];
      elements += weight.elements;
    } else if (weight.kind == WeightKind::Ignorable && ignorable_bytes < sizeof ignorables) {
      uint32_t position = format::kIgnorablePositionBase + format::kIgnorablePositionStep * elements;
      if (position > 0x7FFF) {
        key.resize(start);
        return false;
      }
      uint16_t field = static_cast<uint16_t>(format::kIgnorablePositionFlag | position);
      ignorables[ignorable_bytes++] = static_cast<uint8_t>(field >> 8);
      ignorables[ignorable_bytes++] = static_cast<uint8_t>(field);
      ignorables[ignorable_bytes++] = format::kIgnorableMarker;
      ignorables[ignorable_bytes++] = weight.code;
    } else if (weight.kind != WeightKind::Ignored) {
      key.resize(start);
      return false;
    }
  }
  const size_t body = static_cast<size_t>(out - (key.data() + start));
  key.resize(start + body + 1 + (ignorable_bytes ? 3 + ignorable_bytes : 0) + 1);
  out = key.data() + start + body;
  *out++ = format::kTextSectionEnd;
  if (ignorable_bytes) {
    *out++ = format::kTextSectionEnd;
    *out++ = format::kTextSectionEnd;
    *out++ = format::kTextSectionEnd;
    std::memcpy(out, ignorables, ignorable_bytes);
    out += ignorable_bytes;
  }
  *out++ = format::kTextKeyEnd;
  return true;
}

// The General-order sort key of TEXT, ascending, without the column flag.
void AppendTextKey(std::vector<uint8_t>& key, std::u16string_view text) {
  size_t length = std::min(text.size(), format::kMaxTextKeyCharacters);
  while (length > 0 && text[length - 1] == u' ') --length;
  if (AppendPlainTextKey(key, text, length)) return;

  // The accent section holds one slot per sort element once any accent occurs; a combining mark
  // before any element leaves one byte ahead of the slots (LEAD).
  std::vector<uint8_t> accents;
  size_t lead = 0;
  std::vector<uint8_t> ignorables;  // 4 bytes per ignorable character
  std::vector<uint8_t> kana;        // one flag per kana character
  uint32_t elements = 0;            // sort elements emitted so far
  for (size_t i = 0; i < length; ++i) {
    CharWeight weight = WeightOf(text[i]);
    switch (weight.kind) {
      case WeightKind::Unknown:
        throw Error(ErrorKind::NotSupported,
                    "index key: the character " + CodePointName(text[i]) +
                        " has no known weight in the General sort order");
      case WeightKind::Ignored:
        break;
      case WeightKind::Kana:
        kana.push_back(weight.code);
        [[fallthrough]];
      case WeightKind::Letters:
        key.insert(key.end(), weight.primary, weight.primary + weight.primary_size);
        if (weight.accent_size > 0) {
          accents.resize(lead + elements, format::kTextNoAccent);
          accents.insert(accents.end(), weight.accents, weight.accents + weight.accent_size);
        }
        elements += weight.elements;
        break;
      case WeightKind::AccentMark:
        if (lead + elements == 0) {
          if (accents.empty()) {
            accents.push_back(0);
            lead = 1;
          }
        } else {
          accents.resize(lead + elements, format::kTextNoAccent);
        }
        accents.back() = static_cast<uint8_t>(accents.back() + weight.code);
        break;
      case WeightKind::Ignorable: {
        uint32_t position = format::kIgnorablePositionBase + format::kIgnorablePositionStep * elements;
        if (position > 0x7FFF) {
          throw Error(ErrorKind::NotSupported, "index key: ignorable character too far into the text");
        }
        uint16_t field = static_cast<uint16_t>(format::kIgnorablePositionFlag | position);
        ignorables.push_back(static_cast<uint8_t>(field >> 8));
        ignorables.push_back(static_cast<uint8_t>(field));
        ignorables.push_back(format::kIgnorableMarker);
        ignorables.push_back(weight.code);
        break;
      }
    }
  }
  key.push_back(format::kTextSectionEnd);
  while (!accents.empty() && accents.back() <= format::kTextNoAccent) accents.pop_back();
  key.insert(key.end(), accents.begin(), accents.end());
  if (!ignorables.empty() || !kana.empty()) {
    key.push_back(format::kTextSectionEnd);
    key.push_back(format::kTextSectionEnd);
    if (!kana.empty()) {
      AppendKanaFlags(key, kana);
      if (!ignorables.empty()) key.push_back(format::kKanaIgnorableSeparator);
    }
    if (!ignorables.empty()) {
      key.push_back(format::kTextSectionEnd);
      key.insert(key.end(), ignorables.begin(), ignorables.end());
    }
  }
  key.push_back(format::kTextKeyEnd);
}


}  // namespace

bool AppendTextSortKey(std::vector<uint8_t>& key, std::u16string_view text) {
  const size_t size = key.size();
  try {
    AppendTextKey(key, text);
    return true;
  } catch (const Error&) {
    key.resize(size);
    return false;
  }
}

std::optional<KeyType> KeyTypeFromColumnType(uint8_t column_type) {
  switch (static_cast<ColumnType>(column_type)) {
    case ColumnType::Boolean: return KeyType::Boolean;
    case ColumnType::Byte: return KeyType::Byte;
    case ColumnType::Integer: return KeyType::Integer;
    case ColumnType::Long: return KeyType::Long;
    case ColumnType::Currency: return KeyType::Currency;
    case ColumnType::Single: return KeyType::Single;
    case ColumnType::Double: return KeyType::Double;
    case ColumnType::DateTime: return KeyType::DateTime;
    case ColumnType::Binary: return KeyType::Binary;
    case ColumnType::Text: return KeyType::Text;
    case ColumnType::Memo: return KeyType::Memo;
    case ColumnType::Guid: return KeyType::Guid;
    default: return std::nullopt;  // OLE, NUMERIC and codes no column type has
  }
}

void AppendKeyColumn(std::vector<uint8_t>& key, KeyType type, SortOrder order,
                     const KeyValue& value) {
  const bool descending = order == SortOrder::Descending;
  if (std::holds_alternative<Null>(value)) {
    key.push_back(descending ? format::kDescendingNullFlag : format::kAscendingNullFlag);
    return;
  }
  key.push_back(descending ? format::kDescendingValueFlag : format::kAscendingValueFlag);
  const size_t start = key.size();
  switch (type) {
    case KeyType::Boolean:
      // Yes sorts before No: 0x00 for Yes, 0xFF for No, after the usual flag byte.
      key.push_back(Expect<bool>(type, value) ? 0x00 : 0xFF);
      break;
    case KeyType::Byte: {
      int64_t number = Expect<int64_t>(type, value);
      if (number < 0 || number > 255) WrongValue(type, value);
      key.push_back(static_cast<uint8_t>(number));
      break;
    }
    case KeyType::Integer: AppendInteger(key, type, value, 2, INT16_MIN, INT16_MAX); break;
    case KeyType::Long: AppendInteger(key, type, value, 4, INT32_MIN, INT32_MAX); break;
    case KeyType::Currency: AppendInteger(key, type, value, 8, INT64_MIN, INT64_MAX); break;
    case KeyType::Single:
      AppendFloatBits(key, std::bit_cast<uint32_t>(static_cast<float>(Expect<double>(type, value))), 4);
      break;
    case KeyType::Double:
    case KeyType::DateTime:
      AppendFloatBits(key, std::bit_cast<uint64_t>(Expect<double>(type, value)), 8);
      break;
    case KeyType::Binary: {
      const auto& data = Expect<std::vector<uint8_t>>(type, value);
      AppendBinary(key, data, order);
      return;  // descending already applied chunk by chunk
    }
    case KeyType::Guid: {
      const auto& data = Expect<std::vector<uint8_t>>(type, value);
      if (data.size() != 16) WrongValue(type, value);
      // Keys use the GUID's text order: the first three groups are stored little-endian.
      const uint8_t canonical[16] = {data[3], data[2], data[1], data[0], data[5], data[4],
                                     data[7], data[6], data[8], data[9], data[10], data[11],
                                     data[12], data[13], data[14], data[15]};
      AppendBinary(key, canonical, order);
      return;
    }
    case KeyType::Text:
    case KeyType::Memo:
      AppendTextKey(key, Expect<std::u16string>(type, value));
      if (descending) {
        Invert(key, start);
        key.push_back(format::kTextKeyEnd);
      }
      return;
  }
  if (descending) Invert(key, start);
}

std::optional<std::vector<uint8_t>> MakeKey(std::span<const KeyColumn> columns,
                                            std::span<const KeyValue> values, NullKeys nulls) {
  std::vector<uint8_t> key;
  if (!AppendKey(key, columns, values, nulls)) return std::nullopt;
  return key;
}

bool AppendKey(std::vector<uint8_t>& out, std::span<const KeyColumn> columns, std::span<const KeyValue> values,
               NullKeys nulls) {
  if (columns.size() != values.size()) {
    throw Error(ErrorKind::InvalidArgument, "index key: " + std::to_string(values.size()) +
                                                " values for " + std::to_string(columns.size()) +
                                                " key columns");
  }
  if (nulls == NullKeys::Ignore) {
    bool all_null = true;
    for (const KeyValue& value : values) all_null = all_null && std::holds_alternative<Null>(value);
    if (all_null) return false;
  }
  const size_t start = out.size();
  try {
    for (size_t i = 0; i < columns.size(); ++i) {
      AppendKeyColumn(out, columns[i].type, columns[i].order, values[i]);
    }
  } catch (...) {
    out.resize(start);
    throw;
  }
  const size_t length = out.size() - start;
  if (length > format::kMaxKeySize) {
    out.resize(start);
    throw Error(ErrorKind::Constraint, "index key: the key is " + std::to_string(length) +
                                           " bytes long, more than the " +
                                           std::to_string(format::kMaxKeySize) + " Jet allows");
  }
  return true;
}

bool AnyNull(std::span<const KeyValue> values) {
  for (const KeyValue& value : values) {
    if (std::holds_alternative<Null>(value)) return true;
  }
  return false;
}

std::string DescribeValue(const KeyValue& value) {
  struct Describer {
    std::string operator()(const Null&) const { return "NULL"; }
    std::string operator()(bool flag) const { return flag ? "Yes" : "No"; }
    std::string operator()(int64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const {
      char buffer[32];
      std::snprintf(buffer, sizeof buffer, "%.17g", number);
      return buffer;
    }
    std::string operator()(const std::u16string& text) const {
      std::string out = "'";
      for (size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
          code = 0x10000 + ((code - 0xD800) << 10) + (text[i + 1] - 0xDC00);
          ++i;
        }
        AppendUtf8(out, code);
      }
      return out + "'";
    }
    std::string operator()(const std::vector<uint8_t>& bytes) const {
      static const char kHex[] = "0123456789ABCDEF";
      std::string out = "0x";
      for (uint8_t byte : bytes) {
        out += kHex[byte >> 4];
        out += kHex[byte & 15];
      }
      return out;
    }
  };
  return std::visit(Describer{}, value);
}

}  // namespace qorvane::jet::index
