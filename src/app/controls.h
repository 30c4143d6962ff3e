// The named controls of the main form that code refers to: its check boxes and its source and
// target data controls. Each is an enumerator, so a misspelt control is a compile error; the
// control's name (the one the office's manual, the settings file and the window use) comes from
// the tables in controls.cpp, written once.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace qorvane::app {

enum class CheckBox {
  // The thirteen conversion steps, in the order the run takes them.
  ckbformtypes, ckbClient, ckbappraiser, ckbaddapprformtypes, ckbAddClientFormTypes, ckbProperty,
  ckbinvoice, ckbapprexp, ckbApprFee, ckbclientfee, ckbApplied, ckbcompany, ckbusers,
  // The run's options.
  ckbPrelim, ckbMassage, ckbmassageproperty, ckbmassageassigned, ckbmassageinvoice, ckbViewLog,
  // The target tables to clear first.
  ckbClearFormTypes, ckbclearapplied, ckbClearAppraiser, ckbclearapprfee, ckbClearClient,
  ckbclearclientfee, ckbclearcompany, ckbclearinvoice, ckbClearProperty, ckbclearsystem,
};
inline constexpr std::size_t kCheckBoxCount = static_cast<std::size_t>(CheckBox::ckbclearsystem) + 1;

struct CheckBoxInfo {
  CheckBox box;
  const char* name;       // the control's name, also its key in FOXCON.INI
  int first_start_value;  // the value before any settings were stored
};
// Every check box, in the order of the enumeration.
std::span<const CheckBoxInfo> CheckBoxes();
const char* NameOf(CheckBox box);
int FirstStartValue(CheckBox box);

// The source data controls: each binds one FoxPro table (or a query on it).
enum class SourceControl {
  datAssign, datapplied, datappraisr, datappraisrtable, datapprexp, datapprfee, datClient,
  datclienttable, datcliexp, datclifee, datpayfee, datproperty, datproperty2, datrooms, datuser,
  datinvoice, datforms,
};
inline constexpr std::size_t kSourceControlCount = static_cast<std::size_t>(SourceControl::datforms) + 1;
const char* NameOf(SourceControl control);

// The ADO controls: each binds one SQL record source of office.mdb.
enum class TargetControl {
  adoappraiser, adoappraiserfee, adoassigned, adoclient, adoclientcontact, adoclientfee,
  adocompany, adoformtypes, adoinvoice, adoproperty, adousers, adofind, adoquery,
};
inline constexpr std::size_t kTargetControlCount = static_cast<std::size_t>(TargetControl::adoquery) + 1;
const char* NameOf(TargetControl control);

template <typename Enum>
constexpr std::size_t IndexOf(Enum value) {
  return static_cast<std::size_t>(value);
}

}  // namespace qorvane::app
