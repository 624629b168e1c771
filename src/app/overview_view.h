#pragma once

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <QWidget>

#include "app/scan_all.h"
#include "core/context.h"
#include "core/dev_pane.h"
#include "screens/registry.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace tw::app {

class OverviewCard;

// The first view: the start-up volume's use, one card per list screen with the size it
// last found (from the scan cache) and when, the junk those screens found in all, "Scan
// All", and the way to Smart Clean.
class OverviewView : public QWidget {
  Q_OBJECT

 public:
  OverviewView(const Context& context, const std::map<Pane, std::shared_ptr<DevPane>>& panes,
               QWidget* parent = nullptr);
  ~OverviewView() override;

 signals:
  // A card, or the Smart Clean button, asks for that screen.
  void openPane(tw::Pane pane);

 private:
  QWidget* makeVolume();
  QWidget* makeActions();
  QWidget* makeCards();
  void showVolume();
  void showSizes();
  void showSize(Pane pane);
  void showJunkTotal();

  Context context_;
  std::map<Pane, std::shared_ptr<DevPane>> panes_;
  ScanAll scanAll_;
  std::map<Pane, OverviewCard*> cards_;
  QLabel* volumeName_ = nullptr;
  QProgressBar* volumeBar_ = nullptr;
  QLabel* volumeShare_ = nullptr;
  QLabel* volumeNumbers_ = nullptr;
  QLabel* junk_ = nullptr;
  QPushButton* scanButton_ = nullptr;
  std::vector<std::pair<std::shared_ptr<DevPane>, int>> paneTokens_;
  int cacheToken_ = 0;
};

}  // namespace tw::app
