// The duplicate-client form (see client_dup_form.h).
#include "gui/client_dup_form.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QTableWidget>
#include <QVBoxLayout>

#include <map>
#include <set>

#include "app/result_lists.h"

namespace qorvane::gui {
namespace {

QString Q(const std::string& text) { return QString::fromStdString(text); }

const char* const kColumns[] = {"Key as the check listed it", "Client number", "Corrected key", "The client's own key"};

}  // namespace

ClientDupForm::ClientDupForm(const ChoosePrinter* choose, QWidget* parent) : QDialog(parent), choose_(choose) {
  setObjectName("frmClientDup");
  setWindowTitle(app::kDuplicateClientHeading);
  setModal(false);
  auto* layout = new QVBoxLayout(this);
  auto* about = new QLabel(
      "These clients of client.dbf had a key (Cli_lname) that was empty, used twice, or held a character a key may "
      "not hold. Each was made unique with the client's number, as the old converter did: a key another client has "
      "too becomes the number followed by that key; an empty key, or one with a character such as & or an accented "
      "letter, becomes the number followed by the key of the client before it in name order (its neighbour's). A "
      "copy of client.dbf was kept first. Point at a row to read its correction in words.",
      this);
  about->setWordWrap(true);
  layout->addWidget(about);
  auto* top = new QHBoxLayout();
  auto* heading = new QLabel(app::kDuplicateClientHeading, this);
  heading->setStyleSheet("font-weight: bold;");
  top->addWidget(heading);
  count_ = new QLabel(this);
  count_->setObjectName("lstduplicateclientsCount");
  top->addWidget(count_, 1);
  auto* copy = new QPushButton("Copy all", this);
  copy->setObjectName("cmdCopyClientDup");
  copy->setToolTip("Copy every row as tab-separated text, for a spreadsheet or a letter");
  connect(copy, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(CopiedText(true)); });
  top->addWidget(copy);
  print_ = new QPushButton("Print...", this);
  print_->setObjectName("cmdPrint_lstduplicateclients");
  print_->setToolTip(QString("Print the '") + app::kDuplicateClientHeading + "' on a printer or into a PDF file");
  connect(print_, &QPushButton::clicked, this, [this] {
    PrintText(this, app::kDuplicateClientHeading, app::PrintedListText(app::kDuplicateClientHeading, listed_),
              choose_ ? *choose_ : ChoosePrinter());
  });
  top->addWidget(print_);
  layout->addLayout(top);

  table_ = new QTableWidget(0, 4, this);
  table_->setObjectName("tblClientDup");
  for (int column = 0; column < 4; ++column) table_->setHorizontalHeaderItem(column, new QTableWidgetItem(kColumns[column]));
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->verticalHeader()->setVisible(false);
  layout->addWidget(table_, 1);
  auto* shortcut = new QShortcut(QKeySequence::Copy, table_);
  connect(shortcut, &QShortcut::activated, this, [this] { QApplication::clipboard()->setText(CopiedText(false)); });

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
  layout->addWidget(buttons);
  resize(860, 460);
}

void ClientDupForm::Fill(const app::FormModel& form, const std::vector<app::ClientKeyChange>& planned) {
  std::map<std::string, std::string> own_key;
  for (const app::ClientKeyChange& change : planned) own_key.emplace(change.number, change.key);
  const std::size_t rows = form.lstduplicateclients.size();
  listed_ = form.lstduplicateclients;
  table_->setRowCount(static_cast<int>(rows));
  for (std::size_t row = 0; row < rows; ++row) {
    app::ClientKeyChange change;
    change.listed_key = form.lstduplicateclients[row];
    change.number = row < form.lstclinum.size() ? form.lstclinum[row] : "";
    change.corrected_key = row < form.lstafterdup.size() ? form.lstafterdup[row] : "";
    auto found = own_key.find(change.number);
    change.key = found != own_key.end() ? found->second : change.listed_key;
    const std::string cells[] = {change.listed_key, change.number, change.corrected_key, change.key};
    QString words = change.corrected_key.empty() ? QString("not corrected (the client was not found again)")
                                                 : Q(app::ClientKeyChangeInWords(change));
    for (int column = 0; column < 4; ++column) {
      auto* item = new QTableWidgetItem(Q(cells[column]));
      item->setToolTip(words);
      table_->setItem(static_cast<int>(row), column, item);
    }
  }
  table_->resizeColumnsToContents();
  count_->setText(rows == 1 ? "(1 client)" : QString("(%1 clients)").arg(rows));
  print_->setEnabled(rows > 0);
}

QString ClientDupForm::CopiedText(bool all) const {
  std::set<int> rows;
  if (!all) {
    for (const QTableWidgetItem* item : table_->selectedItems()) rows.insert(item->row());
  }
  if (rows.empty()) {
    for (int row = 0; row < table_->rowCount(); ++row) rows.insert(row);
  }
  QStringList lines;
  QStringList header;
  for (const char* column : kColumns) header << column;
  lines << header.join('\t');
  for (int row : rows) {
    QStringList cells;
    for (int column = 0; column < table_->columnCount(); ++column) cells << table_->item(row, column)->text();
    lines << cells.join('\t');
  }
  return lines.join('\n') + '\n';
}

}  // namespace qorvane::gui
