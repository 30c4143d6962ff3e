// Look-ups in the source tables (see lookups.h).
#include "data/lookups.h"

#include <optional>

#include "common/text.h"
#include "data/controls.h"
#include "data/fields.h"

namespace qorvane::data {

bool FindRecord(DataControl& control, std::string_view key, std::string_view field) {
  return control.run().Guard("FindRecord", [&] {
    if (text::Trim(key).empty()) return false;
    // A table that could not be opened was said once; a look-up in it finds nothing.
    if (control.Unreadable()) return false;
    foxpro::RecordSet& records = control.Recordset();
    records.SetIndex(std::string(field));
    std::optional<foxpro::RecordSet::Bookmark> before;
    if (!records.EndOfFile() && !records.BeginningOfFile()) before = records.GetBookmark();
    std::string padded = Trim2Size(control, key, field);
    if (records.Seek(padded)) return true;
    if (before) records.SetBookmark(*before);
    return false;
  });
}

}  // namespace qorvane::data
