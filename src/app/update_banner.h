#pragma once

#include <QFrame>

#include "core/context.h"
#include "core/task_runner.h"
#include "updates/https_fetch.h"
#include "updates/update_check.h"

class QLabel;

namespace tw::app {

// "Tidewarden X is available" across the top of the window, with the release notes' link,
// once the opt-in check has found a newer version. Hidden otherwise; the check runs off the
// window's thread, and a failed one stays silent until the next day's.
class UpdateBanner : public QFrame {
  Q_OBJECT

 public:
  UpdateBanner(Context context, QWidget* parent = nullptr);

  // Asks the feed when the check is on and due; `options` only for a test's certificate.
  void check(const HttpsFetchOptions& options = {});
  void show(const UpdateNotice& notice);

 private:
  Context context_;
  QLabel* text_ = nullptr;
  QString notesUrl_;
  TaskRunner runner_;
};

}  // namespace tw::app
