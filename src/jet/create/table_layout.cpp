// Encoders for table definitions, rows, usage maps and data pages of new tables.
#include "jet/create/table_layout.h"

#include <bit>
#include <cstring>

#include "common/error.h"
#include "jet/create/format.h"

namespace qorvane::jet::create {
namespace {

void Put16(std::vector<uint8_t>& out, uint16_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}
void Put32(std::vector<uint8_t>& out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
void Set16(std::vector<uint8_t>& out, size_t offset, uint16_t value) {
  out[offset] = static_cast<uint8_t>(value);
  out[offset + 1] = static_cast<uint8_t>(value >> 8);
}
void Set32(std::vector<uint8_t>& out, size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) out[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}
void PutName(std::vector<uint8_t>& out, const std::u16string& name) {
  Put16(out, static_cast<uint16_t>(name.size() * 2));
  for (char16_t c : name) Put16(out, c);
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
  bool narrow = compress && text.size() > 2 && text.size() <= 1024;
  for (char16_t c : text) narrow = narrow && c >= 0x01 && c <= 0xFF;
  if (narrow) {
    out = {0xFF, 0xFE};
    for (char16_t c : text) out.push_back(static_cast<uint8_t>(c));
  } else {
    for (char16_t c : text) Put16(out, c);
  }
  return out;
}

}  // namespace

bool ColumnLayout::fixed() const { return flags & format::kColumnFixed; }

const ColumnLayout& TableLayout::Column(uint16_t id) const {
  for (const auto& column : columns) {
    if (column.id == id) return column;
  }
  throw Error(ErrorKind::InvalidArgument, "table " + Narrow(name) + ": no column " + std::to_string(id));
}

std::vector<uint8_t> EncodeTableDefinition(const TableLayout& table) {
  std::vector<uint8_t> out(format::kTdefBodyOffset, 0);
  out[0] = format::kTableDefinitionPageType;
  out[1] = format::kPageTypeSecondByte;
  Set32(out, format::kTdefMarkerOffset, format::kTdefMarker);
  Set32(out, format::kTdefRowCountOffset, table.row_count);
  Set32(out, format::kTdefAutoNumberOffset, table.last_autonumber);
  Set32(out, format::kTdefIncrementOffset, 1);
  out[format::kTdefTableTypeOffset] = table.table_type;
  Set16(out, format::kTdefMaxColumnsOffset, table.max_columns);
  Set16(out, format::kTdefVariableColumnsOffset, table.variable_columns);
  Set16(out, format::kTdefColumnCountOffset, static_cast<uint16_t>(table.columns.size()));
  Set32(out, format::kTdefLogicalIndexCountOffset, static_cast<uint32_t>(table.logical_indexes.size()));
  Set32(out, format::kTdefRealIndexCountOffset, static_cast<uint32_t>(table.real_indexes.size()));
  Set32(out, format::kTdefOwnedMapOffset, table.owned_map);
  Set32(out, format::kTdefFreeMapOffset, table.free_map);

  for (const auto& index : table.real_indexes) {
    Put32(out, 0);
    Put32(out, index.distinct_keys);
    Put32(out, 0);
  }
  for (const auto& column : table.columns) {
    out.push_back(column.type);
    Put32(out, format::kTdefMarker);
    Put16(out, column.id);
    Put16(out, column.variable_slot);
    Put16(out, column.column_index);
    out.insert(out.end(), std::begin(format::kSortOrderBytes), std::end(format::kSortOrderBytes));
    out.push_back(column.flags);
    out.push_back(column.extended_flags);
    Put32(out, 0);
    Put16(out, column.fixed() ? column.fixed_offset : 0);
    Put16(out, column.length);
  }
  for (const auto& column : table.columns) PutName(out, column.name);
  for (const auto& index : table.real_indexes) {
    Put32(out, format::kRealIndexMarker);
    for (size_t slot = 0; slot < format::kRealIndexColumnSlots; ++slot) {
      if (slot < index.columns.size()) {
        Put16(out, index.columns[slot].first);
        out.push_back(index.columns[slot].second == index::SortOrder::Ascending ? 0x01 : 0x00);
      } else {
        Put16(out, 0xFFFF);
        out.push_back(0);
      }
    }
    Put32(out, index.map_pointer);
    Put32(out, index.root);
    Put32(out, 0);
    out.push_back(index.flags);
    out.insert(out.end(), 5, 0);
  }
  for (const auto& index : table.logical_indexes) {
    Put32(out, format::kTdefMarker);
    Put32(out, index.number);
    Put32(out, index.real_index);
    out.push_back(0);
    Put32(out, 0xFFFFFFFF);
    Put32(out, 0);
    out.push_back(format::kLogicalIndexCascadeNone);
    out.push_back(format::kLogicalIndexCascadeNone);
    out.push_back(index.kind);
    Put32(out, 0);
  }
  for (const auto& index : table.logical_indexes) PutName(out, index.name);
  for (const auto& value : table.long_values) {
    Put16(out, value.column_id);
    Put32(out, value.owned_map);
    Put32(out, value.free_map);
  }
  Put16(out, format::kDefinitionEnd);

  const size_t length = out.size();
  if (length + format::kTdefReserve > format::kPageSize) {
    throw Error(ErrorKind::NotSupported, "table " + Narrow(table.name) + ": its definition needs " +
                                             std::to_string(length) + " bytes, more than one page");
  }
  Set32(out, format::kTdefLengthOffset, static_cast<uint32_t>(length));
  Set16(out, format::kTdefFreeSpaceOffset, static_cast<uint16_t>(format::kPageSize - length - format::kTdefReserve));
  out.resize(format::kPageSize, 0);
  return out;
}

std::vector<uint8_t> EncodeRow(const TableLayout& table, const std::vector<index::KeyValue>& values) {
  using index::KeyValue;
  using index::Null;
  const uint16_t column_count = table.max_columns;
  size_t fixed_size = 0;
  for (const auto& column : table.columns) {
    if (column.fixed() && column.type != 0x01) fixed_size = std::max<size_t>(fixed_size, column.fixed_offset + column.length);
  }
  std::vector<uint8_t> row(2 + fixed_size, 0);
  Set16(row, 0, column_count);
  std::vector<uint8_t> mask((column_count + 7) / 8, 0);
  std::vector<std::vector<uint8_t>> variable(table.variable_columns);
  auto value_of = [&](uint16_t id) -> const KeyValue& {
    static const KeyValue kNull = Null{};
    return id < values.size() ? values[id] : kNull;
  };
  for (const auto& column : table.columns) {
    const KeyValue& value = value_of(column.id);
    const bool present = !std::holds_alternative<Null>(value);
    if (column.type == 0x01) {
      if (present && std::get<bool>(value)) mask[column.id / 8] |= 1 << (column.id % 8);
      continue;
    }
    if (!present) continue;
    mask[column.id / 8] |= 1 << (column.id % 8);
    std::vector<uint8_t> bytes;
    switch (column.type) {
      case 0x02: bytes.push_back(static_cast<uint8_t>(std::get<int64_t>(value))); break;
      case 0x03: Put16(bytes, static_cast<uint16_t>(std::get<int64_t>(value))); break;
      case 0x04: Put32(bytes, static_cast<uint32_t>(std::get<int64_t>(value))); break;
      case 0x05: { uint64_t v = static_cast<uint64_t>(std::get<int64_t>(value)); Put32(bytes, static_cast<uint32_t>(v)); Put32(bytes, static_cast<uint32_t>(v >> 32)); break; }
      case 0x06: Put32(bytes, std::bit_cast<uint32_t>(static_cast<float>(std::get<double>(value)))); break;
      case 0x07: case 0x08: { uint64_t v = std::bit_cast<uint64_t>(std::get<double>(value)); Put32(bytes, static_cast<uint32_t>(v)); Put32(bytes, static_cast<uint32_t>(v >> 32)); break; }
      case 0x0A: bytes = EncodeText(std::get<std::u16string>(value), column.extended_flags & format::kColumnCompressedUnicode); break;
      case 0x09: bytes = std::get<std::vector<uint8_t>>(value); break;
      default:
        throw Error(ErrorKind::NotSupported, "table " + Narrow(table.name) + ": cannot write column " +
                                                 Narrow(column.name) + " of type " + std::to_string(column.type));
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
    Put16(row, static_cast<uint16_t>(row.size()));  // end of the variable data
    for (size_t j = offsets.size(); j-- > 0;) Put16(row, offsets[j]);
    Put16(row, table.variable_columns);
  }
  row.insert(row.end(), mask.begin(), mask.end());
  if (row.size() > format::kMaxRowSize) {
    throw Error(ErrorKind::Constraint, "table " + Narrow(table.name) + ": a row of " + std::to_string(row.size()) +
                                           " bytes is longer than Jet allows");
  }
  return row;
}

std::vector<uint8_t> UsageMapRow(const std::vector<uint32_t>& pages) {
  std::vector<uint8_t> row(format::kUsageMapRowSize, 0);  // type 0 (inline), start page 0
  for (uint32_t page : pages) {
    if (page >= format::kUsageMapPages) {
      throw Error(ErrorKind::NotSupported, "usage map: page " + std::to_string(page) + " is past the first 512 pages");
    }
    row[format::kUsageMapBitmapOffset + page / 8] |= static_cast<uint8_t>(1 << (page % 8));
  }
  return row;
}

DataPage::DataPage(uint32_t owner) : bytes_(format::kPageSize, 0), lowest_(format::kPageSize) {
  bytes_[0] = format::kDataPageType;
  bytes_[1] = format::kPageTypeSecondByte;
  Set32(bytes_, format::kDataOwnerOffset, owner);
  Set16(bytes_, format::kDataFreeSpaceOffset, static_cast<uint16_t>(format::kPageSize - format::kDataHeaderSize));
}

int DataPage::Add(const std::vector<uint8_t>& row) {
  const size_t slots_end = format::kDataHeaderSize + 2 * (rows_ + 1);
  if (rows_ >= 255 || lowest_ < slots_end + row.size()) return -1;
  lowest_ -= row.size();
  std::memcpy(bytes_.data() + lowest_, row.data(), row.size());
  Set16(bytes_, format::kDataHeaderSize + 2 * rows_, static_cast<uint16_t>(lowest_));
  ++rows_;
  Set16(bytes_, format::kDataRowCountOffset, static_cast<uint16_t>(rows_));
  Set16(bytes_, format::kDataFreeSpaceOffset, static_cast<uint16_t>(lowest_ - slots_end));
  return static_cast<int>(rows_ - 1);
}

}  // namespace qorvane::jet::create
