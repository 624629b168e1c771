#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QTreeWidget>

#include "core/context.h"
#include "core/dev_pane.h"
#include "screens/registry.h"

namespace tw::app {

// One row of the sidebar: a destination with its title and icon.
struct Destination {
  Pane pane;
  std::string title;
  std::string icon;
};

// The sidebar's sections in order; an empty heading means the rows stand alone.
struct SidebarSection {
  std::string heading;
  std::vector<Destination> destinations;
};
[[nodiscard]] std::vector<SidebarSection> sidebarSections();

// The list of destinations down the window's side: icon, title and the last known size
// from the scan cache, which changes to "Scanning…" while that pane loads.
class Sidebar : public QTreeWidget {
  Q_OBJECT

 public:
  Sidebar(const Context& context, const std::map<Pane, std::shared_ptr<DevPane>>& panes, QWidget* parent = nullptr);
  ~Sidebar() override;

  void choose(Pane pane);

 signals:
  void chosen(tw::Pane pane);

 private:
  void addSection(const SidebarSection& section);
  void showSizes();
  void showSize(Pane pane);

  Context context_;
  std::map<Pane, std::shared_ptr<DevPane>> panes_;
  std::map<Pane, QTreeWidgetItem*> rows_;
  std::vector<std::pair<std::shared_ptr<DevPane>, int>> paneTokens_;
  int cacheToken_ = 0;
};

}  // namespace tw::app
