// The conversion choices of the command line (--steps, --clear, --massage, --prelim, --files,
// --view-log) and how they set the main form's check boxes and file-number list.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/form_model.h"

namespace qorvane::cli {

struct ConvertChoices {
  std::string steps = "all";
  std::string clear = "none";
  std::string massage = "none";
  bool prelim = false;
  bool view_log = false;
  std::string files;  // comma-separated file numbers, or empty
};

// Sets the check boxes and lstfilenum from CHOICES. Returns an error message naming the
// unknown word, or nullopt.
std::optional<std::string> ApplyChoices(const ConvertChoices& choices, app::FormModel& form);

// Why one of the listed file NUMBERS cannot be a file number (empty, longer than 8 characters,
// with a blank, or without a digit, as "abc"), or nullopt.
std::optional<std::string> CheckFileNumbers(const std::vector<std::string>& numbers);

// The words each list accepts, in the order the run uses them (for --help and messages).
std::string StepWords();
std::string ClearWords();
std::string MassageWords();

}  // namespace qorvane::cli
