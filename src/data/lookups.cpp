// Look-ups in office.mdb (see lookups.h).
#include "data/lookups.h"

#include "data/fields.h"

namespace qorvane::data {
namespace {

std::string Filter(const char* column, std::string_view value) {
  return std::string(column) + "='" + SqlQuote(value) + "'";
}

}  // namespace

std::string FilterFormClient(std::string_view value) { return Filter("FormClient", value); }
std::string FilterClient(std::string_view value) { return Filter("Client", value); }
std::string FilterOldCliNum(std::string_view value) { return Filter("OldCliNum", value); }
std::string FilterFormtype(std::string_view value) { return Filter("Formtype", value); }
std::string FilterForm(std::string_view value) { return Filter("Form", value); }
std::string FilterUser(std::string_view value) { return Filter("user", value); }
std::string FilterAppraiser(std::string_view value) { return Filter("Appraiser", value); }
std::string FilterFormAppraiser(std::string_view value) { return Filter("FormAppraiser", value); }
std::string FilterFileNumber(std::string_view value) { return Filter("FileNumber", value); }

bool AdoFindRec(AdoControl& control, const std::string& criteria) {
  return control.form().Guard("AdoFindRec", [&] {
    control.Refresh();
    jet::Recordset& records = control.Recordset();
    if (records.eof() && records.RecordCount() == 0) return false;
    records.MoveFirst();
    records.Find(criteria);
    return !records.eof();
  });
}

}  // namespace qorvane::data
