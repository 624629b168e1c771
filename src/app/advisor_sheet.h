#pragma once

#include <QDialog>

#include "core/context.h"
#include "core/task_runner.h"

class QLabel;
class QTreeWidget;

namespace tw::app {

// The package manager advisor: which manager each project uses, what its dependencies take,
// the advice where a shared store would pay, and the shared stores. It reads the projects
// off the window's thread; closing the sheet stops that.
class AdvisorSheet : public QDialog {
  Q_OBJECT

 public:
  AdvisorSheet(Context context, QWidget* parent = nullptr);

 private:
  QLabel* status_ = nullptr;
  QLabel* advice_ = nullptr;
  QTreeWidget* projects_ = nullptr;
  QTreeWidget* stores_ = nullptr;
  TaskRunner runner_;
};

}  // namespace tw::app
