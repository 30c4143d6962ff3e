// One result list on screen: its heading, how many entries it holds, the list itself and,
// where the list is printed, a Print button. The main form's frame fraIllegalFix holds two,
// the duplicate-client form three.
#pragma once

#include <QWidget>

#include "app/form_model.h"
#include "app/result_lists.h"
#include "gui/printing.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace qorvane::gui {

class ResultListPanel : public QWidget {
 public:
  // CHOOSE (may point at an empty function) is read at each print; it must outlive the panel.
  // Without PRINTABLE the panel has no Print button.
  enum class Print { Button, None };
  ResultListPanel(const app::ResultList& list, Print print, const ChoosePrinter* choose, QWidget* parent);

  // Shows the entries the model holds now.
  void Fill(const app::FormModel& form);
  QListWidget* list() const { return list_; }
  QPushButton* print_button() const { return print_; }  // nullptr without one
  // Prints the list as it is shown; false when cancelled.
  bool PrintList();

 private:
  const app::ResultList& info_;
  const ChoosePrinter* choose_;
  QLabel* count_;
  QListWidget* list_;
  QPushButton* print_ = nullptr;
  std::vector<std::string> shown_;
};

}  // namespace qorvane::gui
