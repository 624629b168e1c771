#pragma once

#include <vector>

#include <QDialog>

#include "core/context.h"

class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace tw::app {

// The preferences window: the menu-bar item, the low-space alert, the automatic cleanup
// rules, the project roots and opening at login. Every change is saved at once through the
// settings store. While the settings file is damaged the window says so and changes
// nothing: the store keeps the user's file as it is, so what they set must not seem saved.
class SettingsWindow : public QDialog {
  Q_OBJECT

 public:
  explicit SettingsWindow(Context context, QWidget* parent = nullptr);

  // Shows what the store holds now (another process may have changed it).
  void reload();
  // Adds a folder to the project roots, as "Add Folder…" does once one is chosen.
  void addProjectRoot(const QString& folder);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* makeStatusIconSection();
  QWidget* makeLowSpaceSection();
  QWidget* makeRulesSection();
  QWidget* makeRootsSection();
  QWidget* makeLoginSection();
  QCheckBox* addSwitch(const char* key, const QString& label);
  QSpinBox* addNumber(const char* key, int minimum, int maximum, const QString& suffix);
  void chooseProjectRoot();
  void removeProjectRoot();
  void saveProjectRoots();
  void setOpenAtLogin(bool on);
  void showDependencies();

  Context context_;
  QLabel* damage_ = nullptr;
  std::vector<QWidget*> editors_;  // every control that writes a setting
  std::vector<std::pair<QCheckBox*, const char*>> switches_;
  std::vector<std::pair<QSpinBox*, const char*>> numbers_;
  QListWidget* roots_ = nullptr;
  QPushButton* removeRoot_ = nullptr;
  QCheckBox* login_ = nullptr;
  QLabel* loginProblem_ = nullptr;
};

}  // namespace tw::app
