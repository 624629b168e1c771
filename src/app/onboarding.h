#pragma once

#include <thread>

#include <QDialog>

#include "core/context.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace tw::app {

struct CodeFolder;

// The first start: what the app does, and the folders under home that hold code, offered
// as project roots. Continue saves the ticked ones; the window then opens on the overview.
class Onboarding : public QDialog {
  Q_OBJECT

 public:
  // No project roots chosen yet (and settings that can be read), or TIDEWARDEN_ONBOARDING
  // set. Sample data never asks unless told to.
  [[nodiscard]] static bool needed(const Context& context);

  explicit Onboarding(Context context, QWidget* parent = nullptr);
  ~Onboarding() override;

  // Saves the ticked folders as the project roots; with none ticked, the home folder.
  void saveAndContinue();

 private:
  void showFolders(const std::vector<CodeFolder>& folders);
  void addFolder();
  void addRow(const QString& path, const QString& detail);

  Context context_;
  QLabel* status_ = nullptr;
  QListWidget* folders_ = nullptr;
  QPushButton* continue_ = nullptr;
  std::jthread search_;  // last: stopped and joined before the rest goes
};

}  // namespace tw::app
