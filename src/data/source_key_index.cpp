// The source key index (see source_key_index.h).
#include "data/source_key_index.h"

#include <cctype>

#include "data/connections.h"
#include "data/controls.h"
#include "foxpro/value.h"

namespace qorvane::data {
namespace {

std::string KeyText(std::string_view text) {
  std::string key(foxpro::TrimBlanks(text));
  for (char& c : key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return key;
}

}  // namespace

void SourceKeyIndex::Build(DataControl& control, std::string_view field) {
  control.run().Guard("SourceKeyIndex", [&] {
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

}  // namespace qorvane::data
