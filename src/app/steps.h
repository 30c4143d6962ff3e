// The one table of the run's steps: for each conversion step, massage step and clearing choice
// its command-line word, check box, caption in the window, image pair, log lines and routines.
// The run, the form model, the command line and the window all read these tables; nothing else
// lists the steps.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "app/controls.h"
#include "app/form_model.h"
#include "app/routines.h"

namespace qorvane::app {

enum class Step {
  FormTypes, Client, Appraiser, ApprFormTypes, ClientFormTypes, Property, Invoice, ApprExp,
  ApprFee, ClientFee, Applied, Company, Users,
};
inline constexpr std::size_t kStepCount = static_cast<std::size_t>(Step::Users) + 1;

enum class MassageStep { Property, Assigned, Invoice };
inline constexpr std::size_t kMassageStepCount = static_cast<std::size_t>(MassageStep::Invoice) + 1;

// A step's two images: the done image ("ima" and the step's word) and the now-running image.
struct ImagePair {
  const char* done;
  const char* now;
};

struct StepInfo {
  Step step;
  const char* word;        // on the command line (--steps)
  CheckBox check_box;
  const char* caption;     // beside its check box in the window
  ImagePair images;
  const char* begin_line;  // nullptr: the step writes no begin line
  // Runs after the begin line and before ROUTINES, with a report of its own (nullptr: none).
  StepRoutine prepare;
  std::array<StepRoutine, 2> routines;  // in order; the second may be nullptr
  const char* completion_prefix;        // followed by the count and " records"
  const char* empty_line;               // when no count was shown
  // A source table the step needs: when it is missing the step writes MISSING_LINE instead of
  // running its routines and its completion line.
  const char* required_file;
  const char* missing_line;
};

struct MassageStepInfo {
  MassageStep step;
  const char* word;  // on the command line (--massage)
  CheckBox check_box;
  const char* caption;
  ImagePair images;
  const char* begin_line;
  StepRoutine routine;
  const char* completion_prefix;  // followed by the count and " records"
};

// A target table the user may clear before the conversion.
struct ClearChoice {
  const char* word;  // on the command line (--clear)
  CheckBox check_box;
  const char* caption;
  const char* caption_word;  // the caption's word, accepted too where it differs (or nullptr)
};

// The preliminary corrections of the other source tables, in their order.
struct DataFileNumFix {
  SourceControl control;
  const char* field;
  const char* table;
};

std::span<const StepInfo> ConversionSteps();
std::span<const MassageStepInfo> MassageSteps();
std::span<const ClearChoice> ClearChoices();
std::span<const DataFileNumFix> DataFileNumFixes();
const StepInfo& InfoOf(Step step);
const MassageStepInfo& InfoOf(MassageStep step);

// Ticks or clears BOX as the user does, with the rule that keeps "Massage Data" and its three
// boxes together: ticking "Massage Data" with none of the three ticked ticks all three, clearing
// it clears them; ticking one of the three ticks "Massage Data", clearing the last one clears
// it. So "Massage Data" is never ticked with nothing to massage.
void TickMassage(FormModel& form, CheckBox box, bool checked);

// The images shown while the massage as a whole runs, and when it is done.
inline constexpr ImagePair kMassageDataImages = {"imamassagedata", "imaMassageDataNow"};

}  // namespace qorvane::app
