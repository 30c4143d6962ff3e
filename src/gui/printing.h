// Printing a result list: the list's printed text on a printer, or into a PDF file, chosen in
// Qt's print dialog (QPrintDialog offers "Print to File (PDF)" where no printer is set up).
#pragma once

#include <functional>
#include <string>

class QPrinter;
class QWidget;

namespace qorvane::gui {

// Sets up PRINTER in place of the print dialog (tests and scripts); false as Cancel.
using ChoosePrinter = std::function<bool(QPrinter&)>;

// Prints TEXT (a heading, its underline and the entries) in a fixed-width font under the
// document name TITLE. CHOOSE, when set, replaces the print dialog. Returns false when the user
// cancelled; a printer that fails shows a message on PARENT.
bool PrintText(QWidget* parent, const std::string& title, const std::string& text, const ChoosePrinter& choose);

}  // namespace qorvane::gui
