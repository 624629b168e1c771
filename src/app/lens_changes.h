#pragma once

#include <optional>
#include <string>

#include <QWidget>

#include "lens/snapshots.h"

class QLabel;
class QTreeWidget;

namespace tw::app {

// What changed since the scan before of the same folder: "Since <date>" and each folder that
// grew or shrank by 100 MB or more, with its change and its size now; activating one asks
// for it to be opened.
class LensChanges : public QWidget {
  Q_OBJECT

 public:
  explicit LensChanges(std::string home, QWidget* parent = nullptr);

  // Nothing to compare with (a first scan) shows a line saying when there will be.
  void showComparison(const std::optional<Snapshots::Comparison>& comparison);

 signals:
  void openRequested(const std::string& path);

 private:
  std::string home_;
  QLabel* since_ = nullptr;
  QTreeWidget* list_ = nullptr;
};

}  // namespace tw::app
