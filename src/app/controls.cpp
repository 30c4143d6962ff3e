// The names of the main form's controls (see controls.h). Each table is in the order of its
// enumeration; a static_assert in each accessor keeps the two the same length, and the tests
// check that every entry sits at its own enumerator.
#include "app/controls.h"

#include <array>

namespace qorvane::app {
namespace {

using enum CheckBox;
constexpr std::array<CheckBoxInfo, kCheckBoxCount> kCheckBoxes = {{
    {ckbformtypes, "ckbformtypes", 1},
    {ckbClient, "ckbClient", 1},
    {ckbappraiser, "ckbappraiser", 1},
    {ckbaddapprformtypes, "ckbaddapprformtypes", 1},
    {ckbAddClientFormTypes, "ckbAddClientFormTypes", 1},
    {ckbProperty, "ckbProperty", 1},
    {ckbinvoice, "ckbinvoice", 1},
    {ckbapprexp, "ckbapprexp", 1},
    {ckbApprFee, "ckbApprFee", 1},
    {ckbclientfee, "ckbclientfee", 1},
    {ckbApplied, "ckbApplied", 1},
    {ckbcompany, "ckbcompany", 1},
    {ckbusers, "ckbusers", 1},
    {ckbPrelim, "ckbPrelim", 0},
    {ckbMassage, "ckbMassage", 0},
    {ckbmassageproperty, "ckbmassageproperty", 0},
    {ckbmassageassigned, "ckbmassageassigned", 0},
    {ckbmassageinvoice, "ckbmassageinvoice", 0},
    {ckbViewLog, "ckbViewLog", 0},
    {ckbClearFormTypes, "ckbClearFormTypes", 0},
    {ckbclearapplied, "ckbclearapplied", 0},
    {ckbClearAppraiser, "ckbClearAppraiser", 0},
    {ckbclearapprfee, "ckbclearapprfee", 0},
    {ckbClearClient, "ckbClearClient", 0},
    {ckbclearclientfee, "ckbclearclientfee", 0},
    {ckbclearcompany, "ckbclearcompany", 0},
    {ckbclearinvoice, "ckbclearinvoice", 0},
    {ckbClearProperty, "ckbClearProperty", 0},
    {ckbclearsystem, "ckbclearsystem", 0},
}};

constexpr std::array<const char*, kSourceControlCount> kSourceControlNames = {
    "datAssign", "datapplied", "datappraisr", "datappraisrtable", "datapprexp", "datapprfee",
    "datClient", "datclienttable", "datcliexp", "datclifee", "datpayfee", "datproperty",
    "datproperty2", "datrooms", "datuser", "datinvoice", "datforms"};

constexpr std::array<const char*, kTargetControlCount> kTargetControlNames = {
    "adoappraiser", "adoappraiserfee", "adoassigned", "adoclient", "adoclientcontact",
    "adoclientfee", "adocompany", "adoformtypes", "adoinvoice", "adoproperty", "adousers",
    "adofind", "adoquery"};

constexpr bool CheckBoxesInOrder() {
  for (std::size_t i = 0; i < kCheckBoxes.size(); ++i) {
    if (IndexOf(kCheckBoxes[i].box) != i) return false;
  }
  return true;
}
static_assert(CheckBoxesInOrder(), "kCheckBoxes must follow the order of enum CheckBox");

}  // namespace

std::span<const CheckBoxInfo> CheckBoxes() { return kCheckBoxes; }
const char* NameOf(CheckBox box) { return kCheckBoxes[IndexOf(box)].name; }
int FirstStartValue(CheckBox box) { return kCheckBoxes[IndexOf(box)].first_start_value; }
const char* NameOf(SourceControl control) { return kSourceControlNames[IndexOf(control)]; }
const char* NameOf(TargetControl control) { return kTargetControlNames[IndexOf(control)]; }

}  // namespace qorvane::app
