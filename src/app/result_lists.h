// The lists a run leaves for the user to read and print: on the main form the file numbers it
// corrected and those it did not convert, on the duplicate-client form (frmClientDup) the
// client keys it found invalid, their client numbers and their corrected keys. Each list has a
// heading; its printed form is the heading, an underline of '=' as long, and one entry a line.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/form_model.h"

namespace qorvane::app {

struct ResultList {
  const char* control;  // the list box's name
  const char* heading;  // above the list, and at the top of its printed page
  std::vector<std::string> FormModel::*items;
};

// The two lists of the main form's frame fraIllegalFix, left to right.
std::span<const ResultList> MainFormResultLists();
// The three lists of frmClientDup: the listed keys, their client numbers, the corrected keys.
std::span<const ResultList> ClientDupLists();

inline constexpr const char* kDuplicateClientHeading = "Duplicate Client List";

// HEADING, its underline, and ITEMS one a line.
std::string PrintedListText(std::string_view heading, const std::vector<std::string>& items);

}  // namespace qorvane::app
