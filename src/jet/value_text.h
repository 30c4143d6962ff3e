// A stored value as text, in the form its column gives it: GUIDs in braces, NUMERIC (decimal)
// values in plain decimal with the column's scale, everything else as Value::AsText.
#pragma once

#include <string>

#include "jet/table_definition.h"
#include "jet/value.h"

namespace qorvane::jet {

std::string ColumnValueText(const ColumnDefinition& column, const Value& value);

}  // namespace qorvane::jet
