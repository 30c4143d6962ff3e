// The field copies, the illegal-number check and the counters of the order converters (see
// order_fields.h).
#include "convert/orders/order_fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <unordered_set>

#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/order_helpers.h"

namespace qorvane::convert {

std::string TrimBlanks(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

std::string TrimUpper(std::string_view text) {
  std::string upper = TrimBlanks(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

std::string SingleText(float value) { return fmt::format("{}", value); }

void RecordPlace::Note(std::string_view field, std::string_view what) const {
  context.Log("DATA: " + file + " " + number + ": " + std::string(field) + " " + std::string(what));
}

void RecordPlace::NoteRecord(std::string_view what) const {
  context.Log("DATA: " + file + " " + number + " " + std::string(what));
}


void CopyText(const RecordPlace& place, data::DataControl& source, std::string_view field, data::AdoControl& target,
              std::string_view column) {
  place.context.Guard("convertField", [&] {
    std::string text = data::DATgetfield(source, field);
    std::int32_t width = data::TextColumnWidth(target, column);
    if (width > 0 && data::TextLength(text) > static_cast<std::size_t>(width)) {
      place.Note(field, "is longer than " + std::string(column) + " (" + std::to_string(width) + " characters); cut to '" +
                            data::AdoTrim(target, text, column) + "'");
    }
    data::AdoSetField(target, text, column);
  });
}

void ConvertNumericField(data::DataControl& source, std::string_view field, data::AdoControl& target,
                         std::string_view column, const RecordPlace* place) {
  source.form().Guard("ConvertNumericField", [&] {
    std::string text = data::DATgetfield(source, field);
    if (text.empty()) {
      if (place) {
        std::string stored = data::DATgetfieldStored(source, field);
        if (!stored.empty()) place->Note(field, "'" + stored + "' is not a number; 0 written to " + std::string(column));
      }
      text = "0";
    }
    float value = data::Csingle(text);
    if (place && (value == 0 || !std::isfinite(value)) &&
        data::NumericChars(text).find_first_of("123456789") != std::string::npos) {
      place->Note(field, "'" + text + "' is not a number " + std::string(column) + " can hold; 0 written");
      value = 0;
    }
    data::AdoSetFieldSingle(target, value, column);
  });
}

void VerifyAndSet(data::DataControl& source, std::string_view field, data::AdoControl& target,
                  std::string_view column, const RecordPlace* place) {
  source.form().Guard("VerifyAndSet", [&] {
    std::string text = data::DATgetfield(source, field);
    if (data::IsDate(text)) {
      data::AdoSetFieldDate(target, text, column);
      return;
    }
    if (place) {
      std::string stored = data::DATgetfieldStored(source, field);
      if (!stored.empty()) {
        place->Note(field, "'" + stored + "' is not a usable date; " + kMissingDate + " written to " + std::string(column));
      }
    }
    data::AdoSetFieldDate(target, kMissingDate, column);
  });
}

std::optional<std::string> CheckIllegalNumber(data::Context& context, const IllegalNumberTexts& texts,
                                              const std::string& candidate) {
  if (!data::HasIllegalFileChars(candidate)) return candidate;
  std::string corrected = data::FixIllegalFileChars(candidate);
  if (data::AdoFindRec(context.Target(app::TargetControl::adofind), data::FilterFileNumber(corrected))) {
    context.ListNotConverted(texts.list_prefix + candidate);
    context.Log(texts.warning + candidate);
    return std::nullopt;
  }
  context.ListIllegalFileNumber(candidate + " = " + corrected);
  context.Log(texts.correction + candidate + ") converted = " + corrected);
  return corrected;
}

void FirstListedFileNumber(data::Context& context) {
  if (!context.FileNumbers().empty()) ShowListedFileNumber(context, context.FileNumbers().front());
}

void ShowListedFileNumber(data::Context& context, const std::string& number) { context.form().txtfilenum = number; }

std::vector<std::string> ListedNumberForms(std::string_view number) {
  std::vector<std::string> forms{TrimUpper(number)};
  while (data::HasIllegalFileChars(forms.back()) && forms.size() < 8) {
    std::string cleaned;
    for (char c : forms.back()) {
      if (c != ' ') cleaned += c;
    }
    std::string corrected = data::FixIllegalFileChars(cleaned);
    if (corrected == forms.back()) break;
    forms.push_back(std::move(corrected));
  }
  return forms;
}

std::string SelectListedNumber(data::DataControl& control, std::string_view table, std::string_view field,
                               std::string_view number) {
  std::vector<std::string> forms = ListedNumberForms(number);
  for (const std::string& form : forms) {
    control.RecordSource = "Select * from " + std::string(table) + " where TRIM(UCASE(" + std::string(field) + "))='" +
                           data::SqlQuote(form) + "'";
    control.Refresh();
    if (control.Recordset().RecordCount() > 0) return form;
  }
  // None holds it: the record set stays on the typed form, empty.
  control.RecordSource = "Select * from " + std::string(table) + " where TRIM(UCASE(" + std::string(field) + "))='" +
                         data::SqlQuote(forms.front()) + "'";
  control.Refresh();
  return forms.front();
}

std::vector<std::string> ListedNumbersNotInSource(data::Context& context) {
  std::vector<std::string> missing;
  if (context.FileNumbers().empty()) return missing;
  std::unordered_set<std::string> held;
  auto collect = [&](app::SourceControl id, const char* field) {
    data::DataControl& control = context.Source(id);
    if (!control.bound()) return;
    context.Guard("ListedNumbersNotInSource", [&] {
      foxpro::RecordSet& records = control.Recordset();
      const std::string name(field);
      for (records.MoveFirst(); !records.EndOfFile(); records.MoveNext()) held.insert(TrimUpper(records.GetValue(name).text));
    });
  };
  collect(app::SourceControl::datproperty, "File_num");
  collect(app::SourceControl::datinvoice, "Inv_num");
  for (const std::string& number : context.FileNumbers()) {
    std::vector<std::string> forms = ListedNumberForms(number);
    if (std::none_of(forms.begin(), forms.end(), [&](const std::string& form) { return held.count(form) != 0; })) {
      missing.push_back(TrimUpper(number));
    }
  }
  return missing;
}

void OpenOrderSource(data::Context& context, const OrderSource& order) {
  context.Guard(order.routine, [&] {
    data::DataControl& source = context.Source(order.source);
    if (context.FileNumbers().empty()) {
      source.RecordSource = std::string("Select * from ") + order.table;
      source.Refresh();
      return;
    }
    std::string number = SelectListedNumber(source, order.table, order.number_field, context.SingleFileNumber());
    // The keys the pass writes its record under: "-A" appended, right-justified in ten (the
    // order step's candidate keeps the last ten characters of a longer one), and the corrected
    // form of an illegal number.
    std::vector<std::string> keys;
    auto add = [&](const std::string& key) {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
    };
    std::vector<std::string> forms{number};
    if (order.delete_corrected_form) forms.push_back(data::FixIllegalFileChars(number));
    for (const std::string& form : forms) {
      add(data::MakeFileNumberDashA(form));
      add(data::MakeFileNumber(data::RightJustify(form + "-A", 10)));
    }
    data::AdoControl& target = context.Target(order.target);
    for (const std::string& key : keys) {
      order.select_target(target, key);
      data::DeleteAllRows(target);
    }
  });
}

void ShownCounter::Show(data::Context& context) {
  context.form().lblRecord = std::to_string(current_);
  shown_ = current_;
}

app::StepResult ShownCounter::Finish(app::StepResult result) const {
  result.shown_count = shown_;
  return result;
}

}  // namespace qorvane::convert
