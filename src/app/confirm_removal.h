#pragma once

#include <string>
#include <vector>

#include <QDialog>

#include "core/dev_item.h"

class QPushButton;

namespace tw::app {

// Asked before anything is removed: every item with what its action will do, the warnings
// set apart, the total, and the screen's action on the confirming button. Cancel is the
// default, so Return alone never removes anything.
class ConfirmRemovalDialog : public QDialog {
  Q_OBJECT

 public:
  // `actions` gives, for each item, what will be done to it (the same words as the command line).
  ConfirmRemovalDialog(const QString& actionLabel, const std::vector<DevItem>& items,
                       const std::vector<std::string>& actions, QWidget* parent = nullptr);

  [[nodiscard]] QPushButton* confirmButton() const { return confirm_; }
  [[nodiscard]] QPushButton* cancelButton() const { return cancel_; }

 private:
  QWidget* makeWarnings(const std::vector<DevItem>& items);

  QPushButton* confirm_ = nullptr;
  QPushButton* cancel_ = nullptr;
};

}  // namespace tw::app
