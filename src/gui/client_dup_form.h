// The duplicate-client form frmClientDup: the client keys the duplicate check listed (empty,
// used twice, or holding a character not allowed in a key), the client number of each, and
// the key each was corrected to, side by side, with the Print of the list. It is a window of
// its own beside the main window, shown when a run found such clients.
#pragma once

#include <QDialog>

#include <vector>

#include "app/form_model.h"
#include "gui/printing.h"
#include "gui/result_list_panel.h"

namespace qorvane::gui {

class ClientDupForm : public QDialog {
 public:
  // CHOOSE as for ResultListPanel.
  ClientDupForm(const ChoosePrinter* choose, QWidget* parent);

  void Fill(const app::FormModel& form);
  // The panel of lstduplicateclients, lstclinum or lstafterdup.
  ResultListPanel* Panel(const std::string& control) const;

 private:
  std::vector<ResultListPanel*> panels_;
};

}  // namespace qorvane::gui
