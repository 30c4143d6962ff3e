// One result list on screen (see result_list_panel.h).
#include "gui/result_list_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace qorvane::gui {

ResultListPanel::ResultListPanel(const app::ResultList& list, Print print, const ChoosePrinter* choose,
                                 QWidget* parent)
    : QWidget(parent), info_(list), choose_(choose) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(2);
  auto* top = new QHBoxLayout();
  auto* heading = new QLabel(list.heading, this);
  heading->setObjectName(QString(list.control) + "Heading");
  heading->setStyleSheet("font-weight: bold;");
  top->addWidget(heading);
  count_ = new QLabel(this);
  count_->setObjectName(QString(list.control) + "Count");
  top->addWidget(count_, 1);
  if (print == Print::Button) {
    print_ = new QPushButton("Print...", this);
    print_->setObjectName(QString("cmdPrint_") + list.control);
    print_->setToolTip(QString("Print '") + list.heading + "' on a printer or into a PDF file");
    connect(print_, &QPushButton::clicked, this, [this] { PrintList(); });
    top->addWidget(print_);
  }
  layout->addLayout(top);
  list_ = new QListWidget(this);
  list_->setObjectName(list.control);
  // Its own preferred height (a list's is tall) would push the window past a small screen: it
  // takes the height the layout has left, at least a few lines.
  list_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
  list_->setMinimumHeight(60);
  layout->addWidget(list_, 1);
  Fill(app::FormModel{});
}

void ResultListPanel::Fill(const app::FormModel& form) {
  const std::vector<std::string>& items = form.*info_.items;
  if (items == shown_ && list_->count() == static_cast<int>(items.size()) && !count_->text().isEmpty()) return;
  shown_ = items;
  list_->clear();
  for (const std::string& item : items) list_->addItem(QString::fromStdString(item));
  count_->setText(items.size() == 1 ? "(1 entry)" : QString("(%1 entries)").arg(items.size()));
  if (print_) print_->setEnabled(!items.empty());
}

bool ResultListPanel::PrintList() {
  return PrintText(this, info_.heading, app::PrintedListText(info_.heading, shown_), choose_ ? *choose_ : ChoosePrinter());
}

}  // namespace qorvane::gui
