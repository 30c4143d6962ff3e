// What each conversion routine reads from the source tables: for every table, by its data
// control, the fields with the kind of value the routine takes from them (and so the types and
// widths it can read). The run checks a routine's tables against this list before the routine
// starts, so that a table whose header was damaged (a field name or type hit by a bit flip, a
// file that cannot be opened) stops that routine with one message naming the table and the
// field, instead of an error for every record and a reason that is not the real one.
//
// A routine walks one table (its records are what it converts) and may look records up in
// others. A walked table that cannot be opened skips the routine; one that lacks a field, or a
// required look-up table that cannot be read as needed, refuses the routine: every record of
// the walked table is counted as refused for that reason. Any other look-up table with such a
// problem is left out while the routine runs (its control unbound), said once: the routine
// converts its records without what it would have looked up there.
//
// The list follows the converters (src/convert); a field a converter starts to read belongs here
// too.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"
#include "app/ledger.h"
#include "data/context.h"
#include "foxpro/table.h"

namespace qorvane::data {

// The kind of value a routine takes from a field, with the types and widths that hold it.
enum class FieldKind { Text, Number, Date, Logical, Memo };

struct FieldNeed {
  const char* name;
  FieldKind kind;
};

// Walked: the table whose records the routine converts. Required: a look-up without which no
// record can be converted (a fee needs its party's name). LookUp: one the routine can do
// without, converting its records without what it would have found there.
enum class TableRole { Walked, Required, LookUp };

struct TableNeed {
  const char* file;  // "applied.dbf"
  // The control the routine reads the table through (none for forms.dbf, which the routine
  // opens itself).
  std::optional<app::SourceControl> control;
  TableRole role;
  std::vector<FieldNeed> fields;
};

struct RoutineNeeds {
  const char* routine;  // "ConvertAppliedDBF"
  const char* step;     // as messages name the step: "the applied payments step"
  std::vector<TableNeed> tables;
};

// The needs of ROUTINE, or nullptr for a routine that reads no source table.
const RoutineNeeds* NeedsOf(std::string_view routine);
std::span<const RoutineNeeds> AllRoutineNeeds();

// What is wrong with TABLE for NEED: one line per field that is missing or of a type or width
// the routine cannot read, each naming the table and the field; empty when it will do.
std::vector<std::string> FieldProblems(const foxpro::Table& table, const TableNeed& need, const char* step);

// Runs BODY, the routine ROUTINE, after checking its tables: returns BODY's result, or without
// running it the result that refuses the walked table's records for the problem found.
app::StepResult RunCheckedRoutine(Context& context, std::string_view routine,
                                  const std::function<app::StepResult()>& body);

}  // namespace qorvane::data
