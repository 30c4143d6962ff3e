// Key layouts of real indexes and the conversion of row values into the index module's values.
#include "jet/index_keys.h"

#include <algorithm>

#include "common/error.h"

namespace qorvane::jet {

std::vector<IndexKeyLayout> IndexKeyLayouts(const TableDefinition& definition, const std::string& where) {
  std::vector<IndexKeyLayout> layouts(definition.real_indexes.size());
  for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
    const RealIndexDefinition& real = definition.real_indexes[i];
    layouts[i].nulls = (real.flags & format::kIndexFlagIgnoreNulls) ? index::NullKeys::Ignore : index::NullKeys::Store;
    for (const auto& part : real.columns) {
      for (std::size_t c = 0; c < definition.columns.size(); ++c) {
        const ColumnDefinition& column = definition.columns[c];
        if (column.id != part.column_id) continue;
        auto type = index::KeyTypeFromColumnType(static_cast<std::uint8_t>(column.type));
        if (!type) {
          throw Error(ErrorKind::NotSupported, where + ": cannot maintain an index on column " + column.name +
                                                   " of type " + ColumnTypeName(column.type));
        }
        if (IsTextType(column.type) &&
            !(column.sort_order[0] == 0x09 && column.sort_order[1] == 0x04 && column.sort_order[2] == 0 &&
              column.sort_order[3] == 0)) {
          throw Error(ErrorKind::NotSupported, where + ": column " + column.name +
                                                   " uses a sort order other than General (1033); its index cannot be written");
        }
        layouts[i].positions.push_back(c);
        layouts[i].columns.push_back({*type, part.ascending ? index::SortOrder::Ascending : index::SortOrder::Descending});
      }
    }
  }
  return layouts;
}

index::KeyValue ToKeyValue(const Value& value) {
  using Kind = Value::Kind;
  switch (value.kind) {
    case Kind::Null: return index::Null{};
    case Kind::Boolean: return value.integer != 0;
    case Kind::Integer:
    case Kind::Currency: return value.integer;
    case Kind::Single:
    case Kind::Double:
    case Kind::DateTime: return value.number;
    case Kind::Text: return Utf8ToUtf16(value.bytes);
    case Kind::Binary: return std::vector<std::uint8_t>(value.bytes.begin(), value.bytes.end());
  }
  return index::Null{};
}

index::KeyValue TextKeyValue(std::u16string text) {
  bool surrogates = std::any_of(text.begin(), text.end(), [](char16_t c) { return c >= 0xD800 && c < 0xE000; });
  if (surrogates) return Utf8ToUtf16(Utf16ToUtf8(text));
  return text;
}

}  // namespace qorvane::jet
