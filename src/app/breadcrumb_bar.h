#pragma once

#include <string>

#include <QWidget>

#include "lens/disk_scanner.h"

class QHBoxLayout;

namespace tw::app {

// The way from the scanned folder down to the one being explored, one button per folder;
// pressing one goes back up to it.
class BreadcrumbBar : public QWidget {
  Q_OBJECT

 public:
  explicit BreadcrumbBar(std::string home, QWidget* parent = nullptr);

  void setFolder(const FSNode* folder);

 signals:
  void chosen(const tw::FSNode* folder);

 private:
  void clear();

  std::string home_;
  QHBoxLayout* layout_ = nullptr;
};

}  // namespace tw::app
