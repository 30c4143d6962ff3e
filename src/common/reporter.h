// Where a reader reports damage it can skip and goes on ("dropped N bytes in record R: reason").
// A report is a Damage: what sort, where (file, table, record or row, field), the byte offset
// and bytes dropped when known, and what is wrong. The conversion turns it into one log line
// (DamageMessage); tests look at the parts or at the line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qorvane {

enum class DamageKind {
  Header,     // the file's header or layout (field list, record count, end-of-file mark)
  Value,      // one stored value that cannot be read; it reads as blank
  LongValue,  // a memo or long value that is cut or missing; what is there is kept
  Row,        // a whole row or record that cannot be read; it is skipped
  Index,      // an index that is damaged or missing; it is not used
  Notice,     // not damage: something the reader did for the caller (a backup taken)
};

// Every member has an initializer, so a report names only what it knows:
// {.kind = DamageKind::Value, .record = 3, .field = "PR_DATE", .what = "..."}.
struct Damage {
  DamageKind kind = DamageKind::Header;
  std::string file{};                     // as messages name it: "property.dbf", "office.mdb"
  std::string table{};                    // a table inside the file (Jet); empty for a .dbf
  std::optional<std::uint64_t> record{};  // FoxPro: the record number, from 1 as RECNO()
  std::optional<std::uint32_t> page{};    // Jet: the page of the row, or the damaged page
  std::optional<std::uint16_t> slot{};    // Jet: the row's slot on PAGE
  std::string field{};                    // the field (of a record) or the column (of a row)
  std::optional<std::uint64_t> offset{};  // byte offset in the file, when known
  std::uint64_t bytes_dropped = 0;        // bytes read past; 0 when none or not known
  std::string what{};                     // what is wrong and what the reader did about it
};

// The one-line message: "FILE: PLACE: WHAT", the parts that are empty left out. PLACE is
// "record N, field F" for a record, "table T, row at page P slot S, column C" for a row.
std::string DamageMessage(const Damage& damage);

// A report made from an error's message: when MESSAGE starts with "FILE: " the file is split
// off, so DamageMessage gives MESSAGE back; else the whole message is the `what`.
Damage DamageFromMessage(DamageKind kind, const std::string& file, const std::string& message);

class Reporter {
 public:
  virtual ~Reporter() = default;
  virtual void Report(const Damage& damage) = 0;
};

// A reporter that keeps every report, for tests and for callers that show them later.
class CollectingReporter : public Reporter {
 public:
  void Report(const Damage& damage) override {
    damages.push_back(damage);
    messages.push_back(DamageMessage(damage));
  }
  std::vector<Damage> damages;
  std::vector<std::string> messages;  // DamageMessage of each, in order
};

}  // namespace qorvane
