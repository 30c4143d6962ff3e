// The one model of the main form, frmConvert: every caption, label, text box, list, check box,
// image and frame that the conversion reads or writes, under the control names the office's
// manual uses. The converters and the run change this model and ask the View to show it; they
// never touch a widget. The command line, the window and the tests each present it their way.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/controls.h"

namespace qorvane::app {

// What a step's mark on the form says: beyond the two images of each step, which tell only
// running and done, the faces show what a done step came to.
enum class StepMark { NotTicked, Running, Converted, NothingFound, Missing, Failed, Stopped };

struct FormModel {
  // Window and captions.
  std::string Caption;          // the window title
  std::string lblTitle;         // names the two programs
  std::string lblDescription;   // "This program converts tracking data from the ..."
  std::string cmdSource;        // caption of the source picker button
  std::string cmdTarget;        // caption of the target picker button
  std::string cmdQuit = "Quit";
  std::string lblHint;          // the running hint shown while a run goes on
  bool ButtonsEnabled = true;   // Convert, the pickers and the check boxes (off during a run)

  // Company labels, filled at start-up from the source program's user table.
  std::string lblCompany;
  std::string lblphone;
  std::string lblfax;

  // Status labels and the progress gauge (0..99).
  std::string lblCaption;
  std::string lblAddress;
  std::string lblRecord;        // the record counter; the run reads it as a step's count
  std::string lblmsg;
  int gauprogress = 0;
  // For the faces' progress display (no control of its own): the record the record loop is on
  // and the records of the table it walks; 0 when no loop is running.
  std::int64_t RecordNumber = 0;
  std::int64_t RecordTotal = 0;
  // The run as a whole: what runs now in the window's words ("Client fees"), and which of the
  // run's ticked steps it is (StepNumber of StepCount; 0 outside the steps).
  std::string RunningCaption;
  int StepNumber = 0;
  int StepCount = 0;
  // The last notice of the run shown without halting it (no control of the old form).
  std::string RunNotice;

  // Text boxes.
  std::string txtPyxPath;       // source data path
  std::string txtZulPath;       // target data path
  std::string txtfilenum;       // the file number the applied-payments step takes

  // Lists.
  std::vector<std::string> lstIllegalFilenumbers;
  std::vector<std::string> lstWasNotConverted;
  std::vector<std::string> lstfilenum;  // limits a run to these file numbers when not empty
  // The listed numbers the source tables do not hold (their "Not found" marks), found when a run
  // prepares the source.
  std::vector<std::string> FileNumbersNotFound;

  // The duplicate-client form (frmClientDup): the offending keys, the client numbers of the
  // same rows at the same positions, and the corrected keys.
  std::vector<std::string> lstduplicateclients;
  std::vector<std::string> lstclinum;
  std::vector<std::string> lstafterdup;

  // Frames.
  bool fraIllegalFix = false;
  bool fraCustomize = false;

  // Check boxes: 1 checked, 0 not.
  std::array<int, kCheckBoxCount> CheckBoxes{};
  bool Checked(CheckBox box) const { return CheckBoxes[IndexOf(box)] == 1; }
  void SetCheck(CheckBox box, bool checked) { CheckBoxes[IndexOf(box)] = checked ? 1 : 0; }

  // Image controls ("imaclient", "imaClientNow", ...): true when visible. Only names from the
  // step tables (steps.h) are ever set.
  std::map<std::string_view, bool, std::less<>> Images;
  // The marks of the steps, by their done image's name; reset when a run starts.
  std::map<std::string_view, StepMark, std::less<>> Marks;
  StepMark Mark(std::string_view done_image) const {
    auto found = Marks.find(done_image);
    return found == Marks.end() ? StepMark::NotTicked : found->second;
  }
  void SetImage(std::string_view image, bool visible) { Images[image] = visible; }
  bool ImageVisible(std::string_view image) const {
    auto found = Images.find(image);
    return found != Images.end() && found->second;
  }
};

}  // namespace qorvane::app
