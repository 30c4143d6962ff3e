// The duplicate-client form (see client_dup_form.h).
#include "gui/client_dup_form.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

namespace qorvane::gui {

ClientDupForm::ClientDupForm(const ChoosePrinter* choose, QWidget* parent) : QDialog(parent) {
  setObjectName("frmClientDup");
  setWindowTitle(app::kDuplicateClientHeading);
  setModal(false);
  auto* layout = new QVBoxLayout(this);
  auto* about = new QLabel(
      "These clients of client.dbf had a key (Cli_lname) that was empty, used twice, or held a "
      "character not allowed in a key. Each was made unique with the client's number, in "
      "client.dbf itself (a copy of the table was kept first), so that no client is merged with "
      "another in office.mdb.",
      this);
  about->setWordWrap(true);
  layout->addWidget(about);
  auto* lists = new QHBoxLayout();
  for (const app::ResultList& list : app::ClientDupLists()) {
    // The first list is the one that is printed.
    auto print = panels_.empty() ? ResultListPanel::Print::Button : ResultListPanel::Print::None;
    panels_.push_back(new ResultListPanel(list, print, choose, this));
    lists->addWidget(panels_.back(), 1);
  }
  layout->addLayout(lists, 1);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
  layout->addWidget(buttons);
  resize(640, 420);
}

void ClientDupForm::Fill(const app::FormModel& form) {
  for (ResultListPanel* panel : panels_) panel->Fill(form);
}

ResultListPanel* ClientDupForm::Panel(const std::string& control) const {
  for (ResultListPanel* panel : panels_) {
    if (panel->list()->objectName().toStdString() == control) return panel;
  }
  return nullptr;
}

}  // namespace qorvane::gui
