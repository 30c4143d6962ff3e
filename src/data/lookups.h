// Look-ups in the source tables by index: a control positioned on the record whose indexed
// field holds a key, as the converters find the client or appraiser an order names.
#pragma once

#include <string_view>

#include "data/controls.h"

namespace qorvane::data {

// The record source the form-types control is given back after a clearing.
inline constexpr const char* kFormTypesSource = "Select * from FormTypes";

// Seeks KEY (padded to the field's size) on the index named FIELD of a source table; on no
// match the cursor stays where it was.
bool FindRecord(DataControl& control, std::string_view key, std::string_view field);

}  // namespace qorvane::data
