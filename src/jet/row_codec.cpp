// Row layout codec, text compression and value coercion.
#include "jet/row_codec.h"

#include "common/utf8.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "common/error.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"

namespace qorvane::jet {
namespace {

using namespace format;

std::size_t FixedSize(const ColumnDefinition& column) {
  switch (column.type) {
    case ColumnType::Boolean: return 0;
    case ColumnType::Byte: return 1;
    case ColumnType::Integer: return 2;
    case ColumnType::Long:
    case ColumnType::Single: return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime: return 8;
    case ColumnType::Guid: return 16;
    case ColumnType::Numeric: return 17;
    case ColumnType::Text:
    case ColumnType::Binary: return column.length;  // fixed-length forms
    default: return 0;
  }
}

struct RowFrame {
  std::size_t column_count = 0;
  std::size_t mask_start = 0;
  std::size_t variable_count = 0;
  std::size_t offsets_start = 0;  // position of var_off[0]
  std::size_t end_of_data = 0;
};

[[noreturn]] void DamagedRow(const std::string& context, const std::string& why) {
  throw Error(ErrorKind::Corrupt, context + ": damaged row: " + why);
}

[[noreturn]] void DamagedRow(const RowPlace& context, const std::string& why) { DamagedRow(context.str(), why); }

RowFrame ReadFrame(const TableDefinition& definition, Bytes row, const RowPlace& context) {
  RowFrame frame;
  if (row.size() < 2) DamagedRow(context, "shorter than 2 bytes");
  frame.column_count = Get16(row, 0);
  std::size_t mask_size = (frame.column_count + 7) / 8;
  if (mask_size + 2 > row.size()) DamagedRow(context, "null mask larger than the row");
  frame.mask_start = row.size() - mask_size;
  if (definition.variable_columns > 0) {
    if (frame.mask_start < 4) DamagedRow(context, "no room for the variable-column table");
    frame.variable_count = Get16(row, frame.mask_start - 2);
    std::size_t table_size = 2 * frame.variable_count + 4;
    if (table_size + 2 > frame.mask_start) DamagedRow(context, "variable-column table larger than the row");
    frame.offsets_start = frame.mask_start - 4;
    frame.end_of_data = Get16(row, frame.mask_start - 4 - 2 * frame.variable_count);
    if (frame.end_of_data > frame.mask_start) DamagedRow(context, "variable data runs past the row");
  }
  return frame;
}

bool Present(Bytes row, const RowFrame& frame, std::uint16_t id) {
  if (id >= frame.column_count) return false;
  return (Get8(row, frame.mask_start + id / 8) >> (id % 8)) & 1;
}

Value DecodeFixed(const ColumnDefinition& column, Bytes data) {
  switch (column.type) {
    case ColumnType::Byte: return Value::Int(Get8(data, 0));
    case ColumnType::Integer: return Value::Int(static_cast<std::int16_t>(Get16(data, 0)));
    case ColumnType::Long: return Value::Int(static_cast<std::int32_t>(Get32(data, 0)));
    case ColumnType::Currency: return Value::Money(static_cast<std::int64_t>(Get64(data, 0)));
    case ColumnType::Single: {
      float value;
      std::uint32_t raw = Get32(data, 0);
      std::memcpy(&value, &raw, 4);
      return Value::Float(value);
    }
    case ColumnType::Double:
    case ColumnType::DateTime: {
      double value;
      std::uint64_t raw = Get64(data, 0);
      std::memcpy(&value, &raw, 8);
      return column.type == ColumnType::Double ? Value::Real(value) : Value::Date(value);
    }
    case ColumnType::Text: return Value::String(DecodeText(data));
    default:
      return Value::Bytes(std::string(reinterpret_cast<const char*>(data.data()), data.size()));
  }
}

Value DecodeVariable(const ColumnDefinition& column, Bytes data, const LongValueReader& long_values) {
  switch (column.type) {
    case ColumnType::Text: return Value::String(DecodeText(data));
    case ColumnType::Memo: {
      std::vector<std::byte> bytes = long_values(data, column);
      return Value::String(DecodeText(bytes));
    }
    case ColumnType::Ole: {
      std::vector<std::byte> bytes = long_values(data, column);
      return Value::Bytes(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }
    default:
      return Value::Bytes(std::string(reinterpret_cast<const char*>(data.data()), data.size()));
  }
}

// Where a (non-Boolean) column's value lies in ROW; nullopt when it is null.
std::optional<Bytes> Locate(const ColumnDefinition& column, Bytes row, const RowFrame& frame,
                            const RowPlace& context) {
  if (!Present(row, frame, column.id)) return std::nullopt;
  if (column.is_fixed()) {
    std::size_t size = FixedSize(column);
    std::size_t start = 2 + column.fixed_offset;
    if (start + size > frame.mask_start) {
      DamagedRow(context.str() + ", column " + column.name, "fixed value lies outside the row");
    }
    return row.subspan(start, size);
  }
  if (column.variable_slot >= frame.variable_count) return std::nullopt;
  std::size_t start = Get16(row, frame.offsets_start - 2 * column.variable_slot);
  std::size_t end = column.variable_slot + 1u < frame.variable_count
                        ? Get16(row, frame.offsets_start - 2 * (column.variable_slot + 1))
                        : frame.end_of_data;
  if (start > end || end > frame.end_of_data) {
    DamagedRow(context.str() + ", column " + column.name,
               "variable value at " + std::to_string(start) + ".." + std::to_string(end) + " is out of order");
  }
  return row.subspan(start, end - start);
}

Value DecodeOne(const ColumnDefinition& column, Bytes row, const RowFrame& frame,
                const LongValueReader& long_values, const RowPlace& context) {
  if (column.type == ColumnType::Boolean) return Value::Bool(Present(row, frame, column.id));
  std::optional<Bytes> stored = Locate(column, row, frame, context);
  if (!stored) return Value::Null();
  return column.is_fixed() ? DecodeFixed(column, *stored) : DecodeVariable(column, *stored, long_values);
}

[[noreturn]] void Refuse(ErrorKind kind, const std::string& context, const ColumnDefinition& column,
                         const std::string& why) {
  throw Error(kind, context + ", column " + column.name + ": " + why);
}

// Refuses text longer than a Text column holds (characters, as UTF-16 units).
void CheckTextLength(const ColumnDefinition& column, const std::string& utf8, const std::string& context) {
  std::size_t limit = column.length / 2u;
  // UTF-16 never has more units than UTF-8 has bytes: short text needs no counting.
  if (utf8.size() <= limit) return;
  unsigned char high = 0;
  for (char c : utf8) high |= static_cast<unsigned char>(c);
  std::size_t characters = (high & 0x80) ? Utf8ToUtf16(utf8).size() : utf8.size();
  if (characters > limit) {
    Refuse(ErrorKind::Constraint, context, column,
           "text of " + std::to_string(characters) + " characters does not fit the column (" +
               std::to_string(limit) + " characters)");
  }
}

}  // namespace

std::string DecodeText(Bytes stored) {
  // Most stored text is compressed and Latin-1 throughout: decode it straight to UTF-8.
  if (stored.size() >= 2 && Get8(stored, 0) == kCompressedTextMarker0 && Get8(stored, 1) == kCompressedTextMarker1) {
    bool one_segment = true;
    for (std::size_t i = 2; i < stored.size() && one_segment; ++i) one_segment = Get8(stored, i) != 0;
    if (one_segment) {
      std::string text;
      text.reserve(stored.size());
      for (std::size_t i = 2; i < stored.size(); ++i) AppendUtf8(text, Get8(stored, i));
      return text;
    }
  }
  return Utf16ToUtf8(DecodeTextUtf16(stored));
}

std::u16string DecodeTextUtf16(Bytes stored) {
  std::u16string text;
  if (stored.size() >= 2 && Get8(stored, 0) == kCompressedTextMarker0 && Get8(stored, 1) == kCompressedTextMarker1) {
    bool one_byte = true;
    std::size_t segment = 2;
    for (std::size_t i = 2; i <= stored.size(); ++i) {
      if (i < stored.size() && Get8(stored, i) != 0) continue;
      if (one_byte) {
        text.reserve(text.size() + (i - segment));
        for (std::size_t k = segment; k < i; ++k) text.push_back(Get8(stored, k));
      } else {
        for (std::size_t k = segment; k + 1 < i; k += 2) text.push_back(Get16(stored, k));
      }
      one_byte = !one_byte;
      segment = i + 1;
    }
  } else {
    text.reserve(stored.size() / 2);
    for (std::size_t i = 0; i + 1 < stored.size(); i += 2) text.push_back(Get16(stored, i));
  }
  return text;
}

std::vector<std::byte> EncodeText(std::u16string_view text, bool compress) {
  bool can_compress = compress && text.size() > 2 && text.size() <= kMaxCompressedTextCharacters &&
                      std::all_of(text.begin(), text.end(), [](char16_t c) { return c != 0 && c <= 0xFF; });
  if (can_compress) {
    std::vector<std::byte> out(text.size() + 2);
    out[0] = std::byte{kCompressedTextMarker0};
    out[1] = std::byte{kCompressedTextMarker1};
    std::byte* target = out.data() + 2;
    for (char16_t c : text) *target++ = static_cast<std::byte>(c);
    return out;
  }
  std::vector<std::byte> out(text.size() * 2);
  std::byte* target = out.data();
  for (char16_t c : text) {
    *target++ = static_cast<std::byte>(c & 0xFF);
    *target++ = static_cast<std::byte>(c >> 8);
  }
  return out;
}

void AppendEncodedText(std::string_view utf8, bool compress, std::vector<std::byte>& out) {
  // One pass without branches: any byte with the high bit set, and the smallest byte.
  unsigned char high = 0;
  unsigned char lowest = 0xFF;
  for (char c : utf8) {
    auto byte = static_cast<unsigned char>(c);
    high |= byte;
    lowest = std::min(lowest, byte);
  }
  bool has_zero = !utf8.empty() && lowest == 0;
  if (high & 0x80) {
    std::vector<std::byte> encoded = EncodeText(Utf8ToUtf16(utf8), compress);
    out.insert(out.end(), encoded.begin(), encoded.end());
    return;
  }
  // ASCII: one UTF-16 unit per byte.
  std::size_t at = out.size();
  if (compress && !has_zero && utf8.size() > 2 && utf8.size() <= kMaxCompressedTextCharacters) {
    out.resize(at + 2 + utf8.size());
    out[at] = std::byte{kCompressedTextMarker0};
    out[at + 1] = std::byte{kCompressedTextMarker1};
    std::memcpy(out.data() + at + 2, utf8.data(), utf8.size());
    return;
  }
  out.resize(at + 2 * utf8.size());
  std::byte* target = out.data() + at;
  for (char c : utf8) {
    *target++ = static_cast<std::byte>(c);
    *target++ = std::byte{0};
  }
}

std::vector<Value> DecodeRow(const TableDefinition& definition, Bytes row, const LongValueReader& long_values,
                             const RowPlace& context) {
  RowFrame frame = ReadFrame(definition, row, context);
  std::vector<Value> values;
  values.reserve(definition.columns.size());
  for (const auto& column : definition.columns) {
    values.push_back(DecodeOne(column, row, frame, long_values, context));
  }
  return values;
}

void DecodeColumns(const TableDefinition& definition, std::span<const std::size_t> columns, Bytes row,
                   const LongValueReader& long_values, const RowPlace& context, std::span<Value> out) {
  RowFrame frame = ReadFrame(definition, row, context);
  for (std::size_t k = 0; k < columns.size(); ++k) {
    out[k] = DecodeOne(definition.columns[columns[k]], row, frame, long_values, context);
  }
}

bool FitsFixedInPlace(const ColumnDefinition& column, Bytes row) {
  if (!column.is_fixed() || row.size() < 2) return false;
  const std::size_t column_count = Get16(row, 0);
  if (column.id >= column_count) return false;
  const std::size_t mask_size = (column_count + 7) / 8;
  if (mask_size + 2 > row.size()) return false;
  if (column.type == ColumnType::Boolean) return true;
  const std::size_t size = FixedSize(column);
  return size > 0 && column.type != ColumnType::Text && column.type != ColumnType::Binary &&
         column.type != ColumnType::Guid && column.type != ColumnType::Numeric &&
         2 + column.fixed_offset + size <= row.size() - mask_size;
}

void WriteFixedInPlace(const ColumnDefinition& column, MutableBytes row, const Value& value) {
  const std::size_t column_count = Get16(row, 0);
  const std::size_t mask_byte = row.size() - (column_count + 7) / 8 + column.id / 8;
  const auto bit = static_cast<std::uint8_t>(1u << (column.id % 8));
  auto set_present = [&](bool present) {
    std::uint8_t mask = Get8(row, mask_byte);
    Put8(row, mask_byte, static_cast<std::uint8_t>(present ? (mask | bit) : (mask & ~bit)));
  };
  if (column.type == ColumnType::Boolean) {
    set_present(value.integer != 0);
    return;
  }
  if (value.is_null()) {
    set_present(false);
    return;
  }
  const std::size_t start = 2 + column.fixed_offset;
  switch (column.type) {
    case ColumnType::Byte: Put8(row, start, static_cast<std::uint8_t>(value.integer)); break;
    case ColumnType::Integer: Put16(row, start, static_cast<std::uint16_t>(value.integer)); break;
    case ColumnType::Long: Put32(row, start, static_cast<std::uint32_t>(value.integer)); break;
    case ColumnType::Currency: Put64(row, start, static_cast<std::uint64_t>(value.integer)); break;
    case ColumnType::Single: {
      float number = static_cast<float>(value.number);
      std::uint32_t raw;
      std::memcpy(&raw, &number, 4);
      Put32(row, start, raw);
      break;
    }
    default: {  // Double, DateTime
      std::uint64_t raw;
      std::memcpy(&raw, &value.number, 8);
      Put64(row, start, raw);
      break;
    }
  }
  set_present(true);
}

std::optional<Bytes> ColumnBytes(const TableDefinition& definition, std::size_t column, Bytes row,
                                 const RowPlace& context) {
  RowFrame frame = ReadFrame(definition, row, context);
  return Locate(definition.columns[column], row, frame, context);
}

Value DecodeColumn(const TableDefinition& definition, std::size_t column, Bytes row,
                   const LongValueReader& long_values, const RowPlace& context) {
  RowFrame frame = ReadFrame(definition, row, context);
  return DecodeOne(definition.columns[column], row, frame, long_values, context);
}

RowEncoder::RowEncoder(const TableDefinition& definition) : definition_(definition) {
  column_count_ = definition.max_columns;
  variable_count_ = definition.variable_columns;
  for (const auto& column : definition.columns) {
    column_count_ = std::max<std::size_t>(column_count_, column.id + 1u);
    if (column.is_fixed()) {
      fixed_size_ = std::max(fixed_size_, column.fixed_offset + FixedSize(column));
    } else {
      variable_count_ = std::max<std::size_t>(variable_count_, column.variable_slot + 1u);
    }
  }
  row_.reserve(kMaxRowSize);
  mask_.resize((column_count_ + 7) / 8);
  variable_.resize(variable_count_);
}

Bytes RowEncoder::Encode(const std::vector<Value>& values, const LongValueWriter& long_values,
                         const std::string& context) {
  std::size_t mask_size = (column_count_ + 7) / 8;
  std::size_t fixed_start = 2;
  // The fixed region and null mask are written straight into the row; variable values go to
  // the scratch buffer first, because the long values' places depend on the size of the rest.
  row_.assign(2 + fixed_size_, std::byte{0});
  Put16(row_, 0, static_cast<std::uint16_t>(column_count_));
  std::fill(mask_.begin(), mask_.end(), 0);
  std::uint8_t* mask = mask_.data();
  scratch_.clear();
  pending_long_.clear();
  for (Piece& piece : variable_) piece = Piece{};
  const std::size_t column_total = definition_.columns.size();
  const Value null_value;
  for (std::size_t i = 0; i < column_total; ++i) {
    const ColumnDefinition& column = definition_.columns[i];
    const Value& value = i < values.size() ? values[i] : null_value;
    auto set_present = [&] { mask[column.id / 8] |= static_cast<std::uint8_t>(1u << (column.id % 8)); };
    if (column.type == ColumnType::Boolean) {
      if (value.integer) set_present();
      continue;
    }
    if (value.is_null()) continue;
    set_present();
    const bool fixed = column.is_fixed();
    MutableBytes field = fixed ? MutableBytes(row_.data() + fixed_start + column.fixed_offset, FixedSize(column))
                               : MutableBytes();
    auto variable_piece = [&](std::size_t start) {
      variable_[column.variable_slot] = Piece{i, start, scratch_.size() - start};
    };
    switch (column.type) {
      case ColumnType::Byte: Put8(field, 0, static_cast<std::uint8_t>(value.integer)); break;
      case ColumnType::Integer: Put16(field, 0, static_cast<std::uint16_t>(value.integer)); break;
      case ColumnType::Long: Put32(field, 0, static_cast<std::uint32_t>(value.integer)); break;
      case ColumnType::Currency: Put64(field, 0, static_cast<std::uint64_t>(value.integer)); break;
      case ColumnType::Single: {
        float number = static_cast<float>(value.number);
        std::uint32_t raw;
        std::memcpy(&raw, &number, 4);
        Put32(field, 0, raw);
        break;
      }
      case ColumnType::Double:
      case ColumnType::DateTime: {
        std::uint64_t raw;
        std::memcpy(&raw, &value.number, 8);
        Put64(field, 0, raw);
        break;
      }
      case ColumnType::Guid:
      case ColumnType::Numeric:
        std::memcpy(field.data(), value.bytes.data(), std::min(field.size(), value.bytes.size()));
        break;
      case ColumnType::Text:
        if (fixed) {
          // Fixed-length text: uncompressed, padded with blanks.
          std::u16string text = Utf8ToUtf16(value.bytes);
          for (std::size_t k = 0; k < field.size() / 2; ++k) Put16(field, 2 * k, k < text.size() ? text[k] : u' ');
        } else {
          std::size_t start = scratch_.size();
          AppendEncodedText(value.bytes, column.is_compressed(), scratch_);
          variable_piece(start);
        }
        break;
      case ColumnType::Binary: {
        if (fixed) {
          std::memcpy(field.data(), value.bytes.data(), std::min(field.size(), value.bytes.size()));
          break;
        }
        std::size_t start = scratch_.size();
        const auto* data = reinterpret_cast<const std::byte*>(value.bytes.data());
        scratch_.insert(scratch_.end(), data, data + value.bytes.size());
        variable_piece(start);
        break;
      }
      case ColumnType::Memo: {
        std::size_t start = scratch_.size();
        // Values that go to long-value pages in chains are stored uncompressed, as Access does.
        // Encoded compressed first; a value too long for one page is encoded again without.
        AppendEncodedText(value.bytes, column.is_compressed(), scratch_);
        bool compressed = scratch_.size() - start >= 2 && scratch_[start] == std::byte{kCompressedTextMarker0} &&
                          scratch_[start + 1] == std::byte{kCompressedTextMarker1};
        if (compressed && 2 * (scratch_.size() - start - 2) > kLongValueSinglePageLimit) {
          scratch_.resize(start);
          AppendEncodedText(value.bytes, false, scratch_);
        }
        pending_long_.push_back(Piece{i, start, scratch_.size() - start});
        break;
      }
      case ColumnType::Ole: {
        std::size_t start = scratch_.size();
        const auto* data = reinterpret_cast<const std::byte*>(value.bytes.data());
        scratch_.insert(scratch_.end(), data, data + value.bytes.size());
        pending_long_.push_back(Piece{i, start, value.bytes.size()});
        break;
      }
      case ColumnType::Boolean: break;
    }
  }
  // Row size without long values, then decide which long values may stay inline.
  std::size_t base = 2 + fixed_size_ + mask_size + (variable_count_ > 0 ? 4 + 2 * variable_count_ : 0);
  for (const Piece& piece : variable_) base += piece.size;
  std::size_t inline_room = base + kLongValueDescriptorSize * pending_long_.size();
  for (const Piece& pending : pending_long_) {
    bool allow_inline = pending.size <= kLongValueInlineLimit && inline_room + pending.size <= kMaxRowSize;
    if (allow_inline) inline_room += pending.size;
    const ColumnDefinition& column = definition_.columns[pending.column];
    // The writer appends the descriptor (at most the data and 12 bytes) to the buffer that
    // holds the data: make room first so the buffer does not move under it.
    if (scratch_.capacity() - scratch_.size() < kLongValueDescriptorSize + pending.size) {
      scratch_.reserve(2 * scratch_.capacity() + kLongValueDescriptorSize + pending.size);
    }
    std::size_t start = scratch_.size();
    long_values(Bytes(scratch_.data() + pending.start, pending.size), column, allow_inline, scratch_);
    variable_[column.variable_slot] = Piece{pending.column, start, scratch_.size() - start};
  }
  std::size_t total = 2 + fixed_size_ + mask_size;
  for (const Piece& piece : variable_) total += piece.size;
  if (variable_count_ > 0) total += 4 + 2 * variable_count_;
  if (total > kMaxRowSize) {
    throw Error(ErrorKind::Constraint, context + ": the row needs " + std::to_string(total) +
                                           " bytes, more than the " + std::to_string(kMaxRowSize) +
                                           " a Jet row may hold");
  }
  row_.resize(total);
  std::size_t at = 2 + fixed_size_;
  if (variable_count_ > 0) {
    std::size_t trailer = total - mask_size - (4 + 2 * variable_count_);
    for (std::size_t slot = 0; slot < variable_count_; ++slot) {
      const Piece& piece = variable_[slot];
      Put16(row_, trailer + 2 + 2 * (variable_count_ - 1 - slot), static_cast<std::uint16_t>(at));
      if (piece.size > 0) std::memcpy(row_.data() + at, scratch_.data() + piece.start, piece.size);
      at += piece.size;
    }
    Put16(row_, trailer, static_cast<std::uint16_t>(at));
    Put16(row_, trailer + 2 + 2 * variable_count_, static_cast<std::uint16_t>(variable_count_));
  }
  std::memcpy(row_.data() + total - mask_size, mask_.data(), mask_size);
  return row_;
}

Value CoerceToColumn(const ColumnDefinition& column, Value value, const std::string& context) {
  using Kind = Value::Kind;
  if (value.kind == Kind::Text && IsTextType(column.type)) {
    // The common case: text into a text column, moved through after the length check.
    value.integer = 0;
    value.number = 0;
    if (column.type == ColumnType::Text) CheckTextLength(column, value.bytes, context);
    return value;
  }
  if (column.type == ColumnType::Boolean) return Value::Bool(!value.is_null() && value.AsBool());
  if (value.is_null()) return Value::Null();
  bool empty_text = value.kind == Kind::Text && value.bytes.find_first_not_of(' ') == std::string::npos;
  auto number = [&]() {
    if (value.kind == Kind::Text) {
      char* end = nullptr;
      double parsed = std::strtod(value.bytes.c_str(), &end);
      while (end && *end == ' ') ++end;
      if (end == value.bytes.c_str() || (end && *end != 0)) {
        Refuse(ErrorKind::InvalidArgument, context, column, "'" + value.bytes + "' is not a number");
      }
      return parsed;
    }
    if (value.kind == Kind::Binary) Refuse(ErrorKind::InvalidArgument, context, column, "binary data is not a number");
    return value.AsDouble();
  };
  auto whole = [&](double low, double high) {
    double rounded = std::nearbyint(number());
    if (!(rounded >= low && rounded <= high)) {
      Refuse(ErrorKind::Constraint, context, column, value.AsText() + " is out of range for " + ColumnTypeName(column.type));
    }
    return Value::Int(static_cast<std::int64_t>(rounded));
  };
  switch (column.type) {
    case ColumnType::Byte: return empty_text ? Value::Null() : whole(0, 255);
    case ColumnType::Integer: return empty_text ? Value::Null() : whole(-32768, 32767);
    case ColumnType::Long: return empty_text ? Value::Null() : whole(-2147483648.0, 2147483647.0);
    case ColumnType::Currency: {
      if (empty_text) return Value::Null();
      if (value.kind == Kind::Currency) return value;
      double scaled = std::nearbyint(number() * 10000.0);
      if (!(std::fabs(scaled) < 9.2e18)) Refuse(ErrorKind::Constraint, context, column, "out of range for Currency");
      return Value::Money(static_cast<std::int64_t>(scaled));
    }
    case ColumnType::Single: {
      if (empty_text) return Value::Null();
      double n = number();
      if (std::isfinite(n) && std::fabs(n) > std::numeric_limits<float>::max()) {
        Refuse(ErrorKind::Constraint, context, column, value.AsText() + " is out of range for Single");
      }
      return Value::Float(static_cast<float>(n));
    }
    case ColumnType::Double: return empty_text ? Value::Null() : Value::Real(number());
    case ColumnType::DateTime: {
      if (empty_text) return Value::Null();
      if (value.kind == Kind::Text) {
        std::string why;
        std::optional<double> parsed = ParseDateText(value.bytes, why);
        if (!parsed) Refuse(ErrorKind::InvalidArgument, context, column, "'" + value.bytes + "': " + why);
        return Value::Date(*parsed);
      }
      double days = number();
      if (!IsOleDateInRange(days)) {
        Refuse(ErrorKind::InvalidArgument, context, column,
               Value::Real(days).AsText() + " is not a date Access keeps (days since 1899-12-30 for the years 100 "
                                            "to 9999)");
      }
      return Value::Date(days);
    }
    case ColumnType::Text:
    case ColumnType::Memo: {
      Value text;
      if (value.kind == Kind::Text) {
        text = Value::String(std::move(value.bytes));
      } else {
        text = Value::String(value.kind == Kind::Boolean ? (value.integer ? "True" : "False") : value.AsText());
      }
      if (column.type == ColumnType::Text) CheckTextLength(column, text.bytes, context);
      return text;
    }
    case ColumnType::Binary:
    case ColumnType::Ole:
    case ColumnType::Guid:
    case ColumnType::Numeric: {
      if (value.kind != Kind::Binary) {
        Refuse(ErrorKind::InvalidArgument, context, column, "needs binary data");
      }
      if (column.type == ColumnType::Binary && value.bytes.size() > column.length) {
        Refuse(ErrorKind::Constraint, context, column, "binary value longer than the column");
      }
      return value;
    }
    case ColumnType::Boolean: break;
  }
  return value;
}

void CoerceInPlace(const ColumnDefinition& column, Value& value, const std::string& context) {
  if (column.type != ColumnType::Boolean && value.is_null()) return;
  if (value.kind == Value::Kind::Text && IsTextType(column.type)) {
    value.integer = 0;
    value.number = 0;
    if (column.type == ColumnType::Text) CheckTextLength(column, value.bytes, context);
    return;
  }
  value = CoerceToColumn(column, std::move(value), context);
}

}  // namespace qorvane::jet
