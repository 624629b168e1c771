#pragma once

#include <QFrame>

#include "screens/registry.h"

class QLabel;

namespace tw::app {

// One screen on the overview: its icon and title, the size it last found and when.
// Clicking it (or Return or Space on it) opens that screen.
class OverviewCard : public QFrame {
  Q_OBJECT

 public:
  OverviewCard(const DevScreen& screen, QWidget* parent = nullptr);

  // Nothing known: the screen was never scanned.
  void showUnknown();
  void showScanning();
  void showMeasured(const QString& size, const QString& when);

 signals:
  void clicked();

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QLabel* size_ = nullptr;
  QLabel* when_ = nullptr;
};

}  // namespace tw::app
