// The confirmation's account of what a run will change (see run_changes.h).
#include "app/run_changes.h"

#include <fmt/format.h>

#include "app/steps.h"

namespace qorvane::app {
namespace {

// "a, b and c"
std::string Joined(const std::vector<std::string>& items) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += i + 1 == items.size() ? " and " : ", ";
    text += items[i];
  }
  return text;
}

}  // namespace

std::string BackupFolderName(const Timestamp& start) {
  return fmt::format("qorvane-backup-{:02}{:02}{:02}-{}{}{}", start.year % 100, start.month, start.day,
                     start.hour, start.minute, start.second);
}

std::string RunChangesText(const FormModel& form, const DataPaths& paths, const Timestamp& start) {
  std::string office = paths.target_file.empty() ? paths.target_folder + "office.mdb" : paths.target_file;
  std::string text = "What this run will change:\n";

  std::vector<std::string> steps;
  for (const StepInfo& step : ConversionSteps()) {
    if (form.Checked(step.check_box)) steps.push_back(step.caption);
  }
  text += steps.empty() ? "- No conversion step is ticked: nothing is converted into " + office + ".\n"
                        : "- Converts into " + office + ": " + Joined(steps) + ".\n";
  if (form.Checked(CheckBox::ckbMassage)) {
    std::vector<std::string> massage;
    for (const MassageStepInfo& step : MassageSteps()) {
      if (form.Checked(step.check_box)) massage.push_back(step.caption);
    }
    text += "- Then repairs the converted rows (Massage Data)" +
            (massage.empty() ? std::string(".\n") : ": " + Joined(massage) + ".\n");
  }

  std::vector<std::string> cleared;
  for (const ClearChoice& choice : ClearChoices()) {
    if (form.Checked(choice.check_box)) cleared.push_back(choice.caption);
  }
  text += cleared.empty() ? "- Empties no table of office.mdb first.\n"
                          : "- EMPTIES these tables of office.mdb first (Clear Data First): " + Joined(cleared) +
                                ". Their rows are deleted before anything is converted.\n";

  if (form.Checked(CheckBox::ckbPrelim)) {
    text += "- REPAIRS the source tables in " + paths.source_folder +
            " in place (Preliminary Corrections: illegal file numbers and invalid client keys are "
            "corrected and written back). A copy of each table it changes goes first into " +
            paths.source_folder + BackupFolderName(start) + "/.\n";
  } else {
    text += "- Only reads the source tables in " + paths.source_folder + " (no Preliminary Corrections).\n";
  }

  if (form.lstfilenum.empty()) {
    text += "- Converts every file number.\n";
  } else {
    text += "- Converts only the file numbers " + Joined(form.lstfilenum) + ", each afresh: their rows in " +
            office + " are deleted first.";
    if (form.Checked(CheckBox::ckbApplied)) {
      text += " Applied payments are converted for " + form.lstfilenum.back() + " only (the last listed).";
    }
    text += "\n";
    for (const std::string& number : form.FileNumbersNotFound) {
      text += "- " + number + " is in neither property.dbf nor invoice.dbf: its rows in office.mdb are deleted and "
              "nothing is converted in their place. Check the number (as the old program shows it) before going on.\n";
    }
  }
  text.pop_back();  // the last line ends where the face puts its answer
  return text;
}

}  // namespace qorvane::app
