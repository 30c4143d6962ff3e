// Helpers of the order converters (see order_helpers.h).
#include "data/order_helpers.h"

#include <cctype>

#include "foxpro/value.h"

namespace qorvane::data {
namespace {

std::string KeyText(std::string_view text) {
  std::string key(foxpro::TrimBlanks(text));
  for (char& c : key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return key;
}

}  // namespace

std::string DATgetfieldStored(DataControl& control, std::string_view field) {
  return control.form().Guard("DATgetfieldStored", [&] {
    foxpro::RecordSet& records = control.Recordset();
    const foxpro::Table& table = records.table();
    auto index = table.FindField(field);
    if (!index) return std::string();
    std::string_view raw = table.RawField(records.GetBookmark(), *index);
    // Text as stored: NULs (an unwritten field) count as blank, as the reader counts them.
    std::string text;
    for (char c : raw) text += c == '\0' ? ' ' : c;
    return std::string(foxpro::TrimBlanks(text));
  });
}

void SourceKeyIndex::Build(DataControl& control, std::string_view field) {
  control.form().Guard("SourceKeyIndex", [&] {
    groups_.clear();
    foxpro::RecordSet& records = control.Recordset();
    if (records.RecordCount() > 0) {
      const std::string name(field);
      for (records.MoveFirst(); !records.EndOfFile(); records.MoveNext()) {
        foxpro::Value value = records.GetValue(name);
        groups_[KeyText(value.text)].push_back(records.GetBookmark());
      }
    }
    built_ = true;
  });
}

const std::vector<SourceKeyIndex::Bookmark>& SourceKeyIndex::Records(std::string_view key) const {
  static const std::vector<Bookmark> kNone;
  auto found = groups_.find(KeyText(key));
  return found == groups_.end() ? kNone : found->second;
}

void DATgoto(DataControl& control, SourceKeyIndex::Bookmark bookmark) {
  control.form().Guard("DATgoto", [&] { control.Recordset().SetBookmark(bookmark); });
}

std::int32_t TextColumnWidth(AdoControl& control, std::string_view column) {
  return control.form().Guard("TextColumnWidth", [&]() -> std::int32_t {
    const jet::FieldInfo& info = control.Recordset().Field(column);
    return info.type == jet::ColumnType::Text ? info.defined_size : 0;
  });
}

std::size_t TextLength(std::string_view text) {
  std::size_t count = 0;
  for (char c : text) count += (static_cast<unsigned char>(c) & 0xC0) == 0x80 ? 0 : 1;
  return count;
}

}  // namespace qorvane::data
