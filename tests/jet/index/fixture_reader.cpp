// Minimal reading of Jet 4 table definitions and rows for the index tests (see the header).
#include "jet/index/fixture_reader.h"

#include <cstring>
#include <stdexcept>

#include "common/os.h"

namespace qorvane::test {
namespace {

constexpr size_t kPage = 4096;

uint16_t U16(std::span<const uint8_t> data, size_t offset) {
  if (offset + 2 > data.size()) throw std::runtime_error("read past the end of a buffer");
  return static_cast<uint16_t>(data[offset] | data[offset + 1] << 8);
}
uint32_t U32(std::span<const uint8_t> data, size_t offset) {
  if (offset + 4 > data.size()) throw std::runtime_error("read past the end of a buffer");
  return static_cast<uint32_t>(data[offset] | data[offset + 1] << 8 | data[offset + 2] << 16 |
                               static_cast<uint32_t>(data[offset + 3]) << 24);
}

std::u16string DecodeText(std::span<const uint8_t> data) {
  std::u16string text;
  if (data.size() >= 2 && data[0] == 0xFF && data[1] == 0xFE) {
    bool wide = false;
    for (size_t i = 2; i < data.size();) {
      if (data[i] == 0) {
        wide = !wide;
        ++i;
      } else if (wide) {
        if (i + 1 >= data.size()) break;
        text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
        i += 2;
      } else {
        text += static_cast<char16_t>(data[i]);
        ++i;
      }
    }
    return text;
  }
  for (size_t i = 0; i + 1 < data.size(); i += 2) text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
  return text;
}

// A value of COLUMN's type from its bytes in the row.
jet::index::KeyValue Decode(const FixtureColumn& column, std::span<const uint8_t> value) {
  using jet::index::KeyValue;
  int64_t integer = 0;
  switch (column.type) {
    case 0x02: return KeyValue(static_cast<int64_t>(value[0]));
    case 0x03: return KeyValue(static_cast<int64_t>(static_cast<int16_t>(U16(value, 0))));
    case 0x04: return KeyValue(static_cast<int64_t>(static_cast<int32_t>(U32(value, 0))));
    case 0x05: std::memcpy(&integer, value.data(), 8); return KeyValue(integer);
    case 0x06: { float number; std::memcpy(&number, value.data(), 4); return KeyValue(static_cast<double>(number)); }
    case 0x07: case 0x08: { double number; std::memcpy(&number, value.data(), 8); return KeyValue(number); }
    case 0x0A: return KeyValue(DecodeText(value));
    default: return KeyValue(std::vector<uint8_t>(value.begin(), value.end()));
  }
}

}  // namespace

const FixtureColumn& FixtureTable::Column(uint16_t id) const {
  for (const auto& column : columns) {
    if (column.id == id) return column;
  }
  throw std::runtime_error("no column " + std::to_string(id) + " in table " + std::to_string(tdef_page));
}

FixtureFile::FixtureFile(const std::string& path) : path_(path) {
  std::vector<std::byte> raw = os::ReadWholeFile(path);
  bytes_.resize(raw.size());
  std::memcpy(bytes_.data(), raw.data(), raw.size());
}

std::span<const uint8_t> FixtureFile::Page(uint32_t number) const {
  if ((number + 1ull) * kPage > bytes_.size()) {
    throw std::runtime_error(path_ + ": page " + std::to_string(number) + " is past the end");
  }
  return std::span<const uint8_t>(bytes_).subspan(number * kPage, kPage);
}

jet::index::PageSource FixtureFile::Source() const {
  return [this](uint32_t number, std::span<uint8_t> out) {
    auto page = Page(number);
    std::memcpy(out.data(), page.data(), kPage);
  };
}

std::vector<FixtureTable> FixtureFile::Tables() const {
  std::vector<FixtureTable> tables;
  for (uint32_t page = 1; page < page_count(); ++page) {
    auto bytes = Page(page);
    if (bytes[0] == 0x02 && bytes[1] == 0x01 && U32(bytes, 0x0C) == 1625) tables.push_back(ParseTable(page));
  }
  return tables;
}

FixtureTable FixtureFile::ParseTable(uint32_t first) const {
  std::vector<uint8_t> definition;
  auto page = Page(first);
  definition.assign(page.begin(), page.end());
  for (uint32_t next = U32(page, 4), hops = 0; next != 0 && hops < 64; ++hops) {
    auto more = Page(next);
    definition.insert(definition.end(), more.begin() + 8, more.end());
    next = U32(more, 4);
  }
  std::span<const uint8_t> d(definition);
  FixtureTable table;
  table.tdef_page = first;
  table.row_count = U32(d, 0x10);
  table.system = d[0x28] == 0x53;
  table.variable_columns = U16(d, 0x2B);
  const uint16_t column_count = U16(d, 0x2D);
  const uint32_t logical_count = U32(d, 0x2F);
  const uint32_t real_count = U32(d, 0x33);
  size_t offset = 0x3F + 12 * real_count;
  for (uint16_t i = 0; i < column_count; ++i, offset += 25) {
    FixtureColumn column;
    column.type = d[offset];
    column.id = U16(d, offset + 5);
    column.variable_slot = U16(d, offset + 7);
    column.flags = d[offset + 15];
    column.fixed_offset = U16(d, offset + 21);
    column.length = U16(d, offset + 23);
    table.columns.push_back(column);
  }
  for (auto& column : table.columns) {
    uint16_t length = U16(d, offset);
    std::u16string name = DecodeText(d.subspan(offset + 2, length));
    column.name.assign(name.begin(), name.end());
    offset += 2 + length;
  }
  for (uint32_t i = 0; i < real_count; ++i, offset += 52) {
    FixtureIndex index;
    for (int c = 0; c < 10; ++c) {
      uint16_t id = U16(d, offset + 4 + 3 * c);
      if (id == 0xFFFF) continue;
      index.columns.emplace_back(id, d[offset + 6 + 3 * c] == 0x01 ? jet::index::SortOrder::Ascending
                                                                   : jet::index::SortOrder::Descending);
    }
    index.root = U32(d, offset + 38);
    index.flags = d[offset + 46];
    table.indexes.push_back(index);
  }
  (void)logical_count;
  return table;
}

jet::index::KeyValue FixtureFile::Value(const FixtureTable& table, const FixtureColumn& column,
                                        uint32_t page_number, uint8_t row) const {
  using jet::index::KeyValue;
  using jet::index::Null;
  auto page = Page(page_number);
  for (int hops = 0;; ++hops) {
    if (page[0] != 0x01 || row >= U16(page, 12)) {
      throw std::runtime_error(path_ + ": no row " + std::to_string(row) + " on page " + std::to_string(page_number));
    }
    uint16_t slot = U16(page, 14 + 2 * row);
    if ((slot & 0x4000) && !(slot & 0x8000) && hops < 4) {
      size_t start = slot & 0x1FFF;
      row = page[start];
      page_number = page[start + 1] | page[start + 2] << 8 | page[start + 3] << 16;
      page = Page(page_number);
      continue;
    }
    break;
  }
  const uint16_t slot = U16(page, 14 + 2 * row);
  const size_t start = slot & 0x1FFF;
  const size_t end = row == 0 ? kPage : (U16(page, 14 + 2 * (row - 1)) & 0x1FFF);
  std::span<const uint8_t> data = page.subspan(start, end - start);
  const uint16_t column_count = U16(data, 0);
  const size_t mask_size = (column_count + 7) / 8;
  const size_t mask_start = data.size() - mask_size;
  const bool present = column.id < column_count && (data[mask_start + column.id / 8] >> (column.id % 8) & 1);
  if (column.type == 0x01) return KeyValue(present);
  if (!present) return KeyValue(Null{});
  const bool fixed = column.flags & 0x01;
  if (fixed) return Decode(column, data.subspan(2 + column.fixed_offset, column.length));
  const uint16_t slots = U16(data, mask_start - 2);
  if (column.variable_slot >= slots) return KeyValue(Null{});
  auto offset_of = [&](size_t j) { return U16(data, mask_start - 2 - 2 * (j + 1)); };
  const size_t begin = offset_of(column.variable_slot);
  const size_t finish = column.variable_slot + 1 < slots ? offset_of(column.variable_slot + 1) : offset_of(slots);
  auto value = data.subspan(begin, finish - begin);
  if (column.type == 0x0C) {
    if (value.size() >= 12 && (value[3] & 0xC0) == 0x80) return KeyValue(DecodeText(value.subspan(12)));
    throw std::runtime_error(path_ + ": memo stored outside the row (not needed by the index tests)");
  }
  return Decode(column, value);
}

}  // namespace qorvane::test
