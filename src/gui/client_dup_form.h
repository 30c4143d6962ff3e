// The duplicate-client form frmClientDup: the client keys the duplicate check listed (empty,
// used twice, or holding a character not allowed in a key) in one table whose columns scroll
// together: the key as the check listed it, the client number, the corrected key, and the
// client's own key as it was, with each row's correction in plain words as its tooltip. Rows
// copy as tab-separated text (Ctrl+C, or "Copy all"); Print prints the "Duplicate Client List".
// It is a window of its own beside the main window, shown when a run found such clients.
#pragma once

#include <QDialog>

#include <string>
#include <vector>

#include "app/form_model.h"
#include "app/run_changes.h"
#include "gui/printing.h"

class QLabel;
class QPushButton;
class QTableWidget;

namespace qorvane::gui {

class ClientDupForm : public QDialog {
 public:
  // CHOOSE (may point at an empty function) replaces the print dialog; it must outlive the form.
  ClientDupForm(const ChoosePrinter* choose, QWidget* parent);

  // Shows the lists of FORM; PLANNED (the changes found before the run) gives each client's
  // own key, else the listed key stands in for it.
  void Fill(const app::FormModel& form, const std::vector<app::ClientKeyChange>& planned);
  QTableWidget* table() const { return table_; }
  QPushButton* print_button() const { return print_; }
  // The selected rows (all rows when none is selected), a header line first, tab-separated.
  QString CopiedText(bool all) const;

 private:
  const ChoosePrinter* choose_;
  QLabel* count_;
  QTableWidget* table_;
  QPushButton* print_;
  std::vector<std::string> listed_;  // what Print prints
};

}  // namespace qorvane::gui
