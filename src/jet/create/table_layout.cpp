// Encoders for table definitions, rows, usage maps and data pages of new tables.
#include "jet/create/table_layout.h"

#include <bit>
#include <cstring>

#include "common/error.h"
#include "jet/bytes.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"

namespace qorvane::jet::create {
namespace {

void PutName(std::vector<uint8_t>& out, const std::u16string& name) {
  Append16(out, static_cast<uint16_t>(name.size() * 2));
  for (char16_t c : name) Append16(out, c);
}

std::string Narrow(const std::u16string& text) {
  std::string out;
  for (char16_t c : text) out += c < 0x80 ? static_cast<char>(c) : '?';
  return out;
}

// Text as stored in a row: "FF FE" and one byte per character when every character is in
// U+0001..U+00FF (and the column allows compression), else UTF-16LE.
std::vector<uint8_t> EncodeText(const std::u16string& text, bool compress) {
  std::vector<uint8_t> out;
  bool narrow = compress && text.size() > 2 && text.size() <= format::kMaxCompressedTextCharacters;
  for (char16_t c : text) narrow = narrow && c >= 0x01 && c <= 0xFF;
  if (narrow) {
    out = {format::kCompressedTextMarker0, format::kCompressedTextMarker1};
    for (char16_t c : text) out.push_back(static_cast<uint8_t>(c));
  } else {
    for (char16_t c : text) Append16(out, c);
  }
  return out;
}

}  // namespace

bool ColumnLayout::fixed() const { return flags & format::kColumnFlagFixed; }

const ColumnLayout& TableLayout::Column(uint16_t id) const {
  for (const auto& column : columns) {
    if (column.id == id) return column;
  }
  throw Error(ErrorKind::InvalidArgument, "table " + Narrow(name) + ": no column " + std::to_string(id));
}

std::vector<uint8_t> EncodeTableDefinition(const TableLayout& table) {
  std::vector<uint8_t> out(format::kTdefBodyOffset, 0);
  out[0] = format::kPageTypeTableDefinition;
  out[1] = format::kPageMarker;
  Put32(out, format::kTdefMarkerOffset, format::kTdefMarker);
  Put32(out, format::kTdefRowCountOffset, table.row_count);
  Put32(out, format::kTdefAutoNumberOffset, table.last_autonumber);
  Put32(out, format::kTdefAutoIncrementOffset, 1);
  out[format::kTdefTableTypeOffset] = table.table_type;
  Put16(out, format::kTdefMaxColumnsOffset, table.max_columns);
  Put16(out, format::kTdefVariableColumnsOffset, table.variable_columns);
  Put16(out, format::kTdefColumnCountOffset, static_cast<uint16_t>(table.columns.size()));
  Put32(out, format::kTdefLogicalIndexCountOffset, static_cast<uint32_t>(table.logical_indexes.size()));
  Put32(out, format::kTdefRealIndexCountOffset, static_cast<uint32_t>(table.real_indexes.size()));
  Put32(out, format::kTdefOwnedMapOffset, table.owned_map);
  Put32(out, format::kTdefFreeMapOffset, table.free_map);

  for (const auto& index : table.real_indexes) {
    Append32(out, 0);
    Append32(out, index.distinct_keys);
    Append32(out, 0);
  }
  for (const auto& column : table.columns) {
    out.push_back(static_cast<uint8_t>(column.type));
    Append32(out, format::kTdefMarker);
    Append16(out, column.id);
    Append16(out, column.variable_slot);
    Append16(out, column.column_index);
    out.insert(out.end(), std::begin(format::kSortOrderBytes), std::end(format::kSortOrderBytes));
    out.push_back(column.flags);
    out.push_back(column.extended_flags);
    Append32(out, 0);
    Append16(out, column.fixed() ? column.fixed_offset : 0);
    Append16(out, column.length);
  }
  for (const auto& column : table.columns) PutName(out, column.name);
  for (const auto& index : table.real_indexes) {
    Append32(out, format::kRealIndexMarker);
    for (size_t slot = 0; slot < format::kRealIndexMaxColumns; ++slot) {
      if (slot < index.columns.size()) {
        Append16(out, index.columns[slot].first);
        out.push_back(index.columns[slot].second == index::SortOrder::Ascending ? format::kRealIndexAscending : 0x00);
      } else {
        Append16(out, 0xFFFF);
        out.push_back(0);
      }
    }
    Append32(out, index.map_pointer);
    Append32(out, index.root);
    Append32(out, 0);
    out.push_back(index.flags);
    out.insert(out.end(), 5, 0);
  }
  for (const auto& index : table.logical_indexes) {
    Append32(out, format::kTdefMarker);
    Append32(out, index.number);
    Append32(out, index.real_index);
    out.push_back(0);
    Append32(out, 0xFFFFFFFF);
    Append32(out, 0);
    out.push_back(format::kLogicalIndexCascadeNone);
    out.push_back(format::kLogicalIndexCascadeNone);
    out.push_back(index.kind);
    Append32(out, 0);
  }
  for (const auto& index : table.logical_indexes) PutName(out, index.name);
  for (const auto& value : table.long_values) {
    Append16(out, value.column_id);
    Append32(out, value.owned_map);
    Append32(out, value.free_map);
  }
  Append16(out, format::kTdefTerminator);

  const size_t length = out.size();
  if (length + format::kTdefReserve > format::kPageSize) {
    throw Error(ErrorKind::NotSupported, "table " + Narrow(table.name) + ": its definition needs " +
                                             std::to_string(length) + " bytes, more than one page");
  }
  Put32(out, format::kTdefLengthOffset, static_cast<uint32_t>(length));
  Put16(out, format::kTdefFreeSpaceOffset, static_cast<uint16_t>(format::kPageSize - length - format::kTdefReserve));
  out.resize(format::kPageSize, 0);
  return out;
}

std::vector<uint8_t> EncodeRow(const TableLayout& table, const std::vector<index::KeyValue>& values) {
  using index::KeyValue;
  using index::Null;
  const uint16_t column_count = table.max_columns;
  size_t fixed_size = 0;
  for (const auto& column : table.columns) {
    if (column.fixed() && column.type != jet::ColumnType::Boolean) fixed_size = std::max<size_t>(fixed_size, column.fixed_offset + column.length);
  }
  std::vector<uint8_t> row(2 + fixed_size, 0);
  Put16(row, 0, column_count);
  std::vector<uint8_t> mask((column_count + 7) / 8, 0);
  std::vector<std::vector<uint8_t>> variable(table.variable_columns);
  auto value_of = [&](uint16_t id) -> const KeyValue& {
    static const KeyValue kNull = Null{};
    return id < values.size() ? values[id] : kNull;
  };
  for (const auto& column : table.columns) {
    const KeyValue& value = value_of(column.id);
    const bool present = !std::holds_alternative<Null>(value);
    if (column.type == jet::ColumnType::Boolean) {
      if (present && std::get<bool>(value)) mask[column.id / 8] |= 1 << (column.id % 8);
      continue;
    }
    if (!present) continue;
    mask[column.id / 8] |= 1 << (column.id % 8);
    std::vector<uint8_t> bytes;
    switch (column.type) {
      case jet::ColumnType::Byte: bytes.push_back(static_cast<uint8_t>(std::get<int64_t>(value))); break;
      case jet::ColumnType::Integer: Append16(bytes, static_cast<uint16_t>(std::get<int64_t>(value))); break;
      case jet::ColumnType::Long: Append32(bytes, static_cast<uint32_t>(std::get<int64_t>(value))); break;
      case jet::ColumnType::Currency: { uint64_t v = static_cast<uint64_t>(std::get<int64_t>(value)); Append32(bytes, static_cast<uint32_t>(v)); Append32(bytes, static_cast<uint32_t>(v >> 32)); break; }
      case jet::ColumnType::Single: Append32(bytes, std::bit_cast<uint32_t>(static_cast<float>(std::get<double>(value)))); break;
      case jet::ColumnType::Double: case jet::ColumnType::DateTime: { uint64_t v = std::bit_cast<uint64_t>(std::get<double>(value)); Append32(bytes, static_cast<uint32_t>(v)); Append32(bytes, static_cast<uint32_t>(v >> 32)); break; }
      case jet::ColumnType::Text: bytes = EncodeText(std::get<std::u16string>(value), column.extended_flags & format::kColumnExtendedFlagCompressed); break;
      case jet::ColumnType::Binary: bytes = std::get<std::vector<uint8_t>>(value); break;
      default:
        throw Error(ErrorKind::NotSupported, "table " + Narrow(table.name) + ": cannot write column " +
                                                 Narrow(column.name) + " of type " + std::to_string(static_cast<int>(column.type)));
    }
    if (column.fixed()) {
      std::memcpy(row.data() + 2 + column.fixed_offset, bytes.data(), std::min<size_t>(bytes.size(), column.length));
    } else {
      variable.at(column.variable_slot) = std::move(bytes);
    }
  }
  if (table.variable_columns > 0) {
    std::vector<uint16_t> offsets;
    for (const auto& bytes : variable) {
      offsets.push_back(static_cast<uint16_t>(row.size()));
      row.insert(row.end(), bytes.begin(), bytes.end());
    }
    Append16(row, static_cast<uint16_t>(row.size()));  // end of the variable data
    for (size_t j = offsets.size(); j-- > 0;) Append16(row, offsets[j]);
    Append16(row, table.variable_columns);
  }
  row.insert(row.end(), mask.begin(), mask.end());
  if (row.size() > format::kMaxRowSize) {
    throw Error(ErrorKind::Constraint, "table " + Narrow(table.name) + ": a row of " + std::to_string(row.size()) +
                                           " bytes is longer than Jet allows");
  }
  return row;
}

std::vector<uint8_t> UsageMapRow(const std::vector<uint32_t>& pages) {
  std::vector<uint8_t> row(format::kUsageMapInlineRowSize, 0);  // type 0 (inline), start page 0
  for (uint32_t page : pages) {
    if (page >= format::kUsageMapInlinePages) {
      throw Error(ErrorKind::NotSupported, "usage map: page " + std::to_string(page) + " is past the first 512 pages");
    }
    row[format::kUsageMapInlineBitmapOffset + page / 8] |= static_cast<uint8_t>(1 << (page % 8));
  }
  return row;
}

DataPage::DataPage(uint32_t owner) : bytes_(format::kPageSize, 0), lowest_(format::kPageSize) {
  bytes_[0] = format::kPageTypeData;
  bytes_[1] = format::kPageMarker;
  Put32(bytes_, format::kDataOwnerOffset, owner);
  Put16(bytes_, format::kDataFreeSpaceOffset, static_cast<uint16_t>(format::kPageSize - format::kDataHeaderSize));
}

int DataPage::Add(const std::vector<uint8_t>& row) {
  const size_t slots_end = format::kDataHeaderSize + 2 * (rows_ + 1);
  if (rows_ >= 255 || lowest_ < slots_end + row.size()) return -1;
  lowest_ -= row.size();
  std::memcpy(bytes_.data() + lowest_, row.data(), row.size());
  Put16(bytes_, format::kDataHeaderSize + 2 * rows_, static_cast<uint16_t>(lowest_));
  ++rows_;
  Put16(bytes_, format::kDataRowCountOffset, static_cast<uint16_t>(rows_));
  Put16(bytes_, format::kDataFreeSpaceOffset, static_cast<uint16_t>(lowest_ - slots_end));
  return static_cast<int>(rows_ - 1);
}

}  // namespace qorvane::jet::create
