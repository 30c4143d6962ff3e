// The confirmation's account of what a run will change (see run_changes.h).
#include "app/run_changes.h"
#include "common/text.h"

#include <fmt/format.h>

#include "app/steps.h"

namespace qorvane::app {
namespace {

}  // namespace

std::string ClientKeyChangeInWords(const ClientKeyChange& change) {
  std::string client = "client " + change.number + (change.key.empty() ? " (no key)" : " " + change.key);
  std::string becomes = client + " becomes " + change.corrected_key + ": ";
  if (!change.key.empty() && change.key == change.listed_key) {
    return becomes + "its number followed by its key, which another client has too";
  }
  if (change.listed_key.empty()) return becomes + "its number alone, as the old converter did (no client before it has a key)";
  std::string why = change.key.empty() ? "" : ", since its own key holds a character a key may not hold";
  return becomes + "its number followed by the previous client's key (" + change.listed_key +
         "), as the old converter did" + why;
}

std::string BackupFolderName(const Timestamp& start) {
  return fmt::format("qorvane-backup-{:02}{:02}{:02}-{}{}{}", start.year % 100, start.month, start.day,
                     start.hour, start.minute, start.second);
}

std::string RunChangesText(const FormModel& form, const DataPaths& paths, const Timestamp& start,
                           const std::vector<ClientKeyChange>& planned, Face face) {
  std::string office = paths.target_file.empty() ? paths.target_folder + "office.mdb" : paths.target_file;
  std::string text = "What this run will change:\n";

  std::vector<std::string> steps;
  for (const StepInfo& step : ConversionSteps()) {
    if (form.Checked(step.check_box)) steps.push_back(step.caption);
  }
  text += steps.empty() ? "- No conversion step is ticked: nothing is converted into " + office + ".\n"
                        : "- Converts into " + office + ": " + qorvane::text::JoinedWithAnd(steps) + ".\n";
  if (form.Checked(CheckBox::ckbMassage)) {
    std::vector<std::string> massage;
    for (const MassageStepInfo& step : MassageSteps()) {
      if (form.Checked(step.check_box)) massage.push_back(step.caption);
    }
    text += "- Then repairs the converted rows (Massage Data)" +
            (massage.empty() ? std::string(".\n") : ": " + qorvane::text::JoinedWithAnd(massage) + ".\n");
  }

  // With listed file numbers, the order tables lose only those numbers' rows.
  std::vector<std::string> cleared, cleared_listed;
  for (const ClearChoice& choice : ClearChoices()) {
    if (!form.Checked(choice.check_box)) continue;
    bool by_number = choice.check_box == CheckBox::ckbClearProperty || choice.check_box == CheckBox::ckbclearinvoice ||
                     choice.check_box == CheckBox::ckbclearapplied;
    (by_number && !form.lstfilenum.empty() ? cleared_listed : cleared).push_back(choice.caption);
  }
  if (cleared.empty() && cleared_listed.empty()) text += "- Empties no table of office.mdb first.\n";
  if (!cleared.empty()) {
    text += "- EMPTIES these tables of office.mdb first (Clear Data First): " + qorvane::text::JoinedWithAnd(cleared) +
            ". Their rows are deleted before anything is converted.\n";
  }
  if (!cleared_listed.empty()) {
    text += "- Deletes first the rows of the listed file numbers from " + qorvane::text::JoinedWithAnd(cleared_listed) +
            " (Clear Data First); their other rows stay.\n";
  }

  if (form.Checked(CheckBox::ckbPrelim)) {
    text += "- REPAIRS the source tables in " + paths.source_folder +
            " in place (Preliminary Corrections: illegal file numbers and invalid client keys are "
            "corrected and written back). A copy of each table it changes goes first into " +
            paths.source_folder + BackupFolderName(start) + "/.\n";
    if (!planned.empty()) {
      constexpr std::size_t kShown = 8;
      text += "- CHANGES " + std::to_string(planned.size()) + " client key" + (planned.size() == 1 ? "" : "s") +
              " in client.dbf (empty, used twice, or holding a character a key may not hold), so that no client "
              "is merged with another:\n";
      for (std::size_t i = 0; i < planned.size() && i < kShown; ++i) {
        text += "    " + ClientKeyChangeInWords(planned[i]) + "\n";
      }
      if (planned.size() > kShown) {
        text += "    ... and " + std::to_string(planned.size() - kShown) + " more (" +
                (face == Face::Window ? "the duplicate-client form lists them all after the run"
                                      : "qorvane check --source " + paths.source_folder + " lists them all") +
                ").\n";
      }
    }
  } else {
    text += "- Only reads the source tables in " + paths.source_folder + " (no Preliminary Corrections).\n";
  }

  if (form.lstfilenum.empty()) {
    text += "- Converts every file number.\n";
  } else {
    text += "- Converts only the file numbers " + qorvane::text::JoinedWithAnd(form.lstfilenum) + ", each afresh: their rows in " +
            office + " are deleted first.";
    if (form.Checked(CheckBox::ckbApplied)) {
      text += " Applied payments are converted for " + form.lstfilenum.back() + " only (the last listed).";
    }
    if (form.Checked(CheckBox::ckbclearapplied) && (form.lstfilenum.size() > 1 || !form.Checked(CheckBox::ckbApplied))) {
      text += " The payments already in Assigned of the numbers whose payments this run does not convert stay as they are.";
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
