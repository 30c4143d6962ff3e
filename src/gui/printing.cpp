// Printing a result list (see printing.h).
#include "gui/printing.h"

#include <QFontDatabase>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPrinter>
#include <QTextDocument>

namespace qorvane::gui {

bool PrintText(QWidget* parent, const std::string& title, const std::string& text, const ChoosePrinter& choose) {
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(QString::fromStdString(title));
  if (choose) {
    if (!choose(printer)) return false;
  } else {
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle("Print " + QString::fromStdString(title));
    if (dialog.exec() != QDialog::Accepted) return false;
  }
  if (!printer.isValid()) {
    QMessageBox::warning(parent, "Print", "The printer chosen for '" + QString::fromStdString(title) +
                                              "' cannot be used. Choose another, or print to a PDF file.");
    return false;
  }
  QTextDocument document;
  document.setDefaultFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  document.setPlainText(QString::fromStdString(text));
  document.print(&printer);
  return true;
}

}  // namespace qorvane::gui
