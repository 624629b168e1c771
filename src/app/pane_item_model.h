#pragma once

#include <memory>
#include <vector>

#include <QAbstractItemModel>

#include "core/dev_pane.h"

namespace tw::app {

// A DevPane as a Qt tree: groups are parent rows with a tri-state box, items are checkable
// child rows. Ticks go to the pane's selection; the pane's row-level notices become
// dataChanged for exactly those rows, and a new load replaces the rows.
class PaneItemModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  enum Column { nameColumn, badgesColumn, sizeColumn, apparentColumn, columnCount_ };
  // A row's badges as a list of {text, tone} maps, for the badge painter.
  static constexpr int badgesRole = Qt::UserRole + 1;

  explicit PaneItemModel(std::shared_ptr<DevPane> pane, QObject* parent = nullptr);
  ~PaneItemModel() override;

  [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  // The item a row shows, or null for a group row or no row.
  [[nodiscard]] const DevItem* itemAt(const QModelIndex& index) const;

 private:
  // A group row's internal id is 0; an item row's is its group's row + 1.
  [[nodiscard]] static bool isGroup(const QModelIndex& index) { return index.internalId() == 0; }
  [[nodiscard]] const DevGroup& groupAt(const QModelIndex& index) const;
  [[nodiscard]] const DevItem& itemOf(const QModelIndex& index) const;
  [[nodiscard]] Qt::CheckState groupCheckState(const DevGroup& group) const;
  [[nodiscard]] QVariant groupData(const QModelIndex& index, int role) const;
  [[nodiscard]] QVariant itemData(const QModelIndex& index, int role) const;
  void setGroupChecked(const DevGroup& group, bool checked);

  void takeGroups();
  void observeGroups();
  void forgetGroups();
  void selectionChangedIn(std::size_t group, const std::vector<std::size_t>& rows);
  void itemsChangedIn(std::size_t group);

  std::shared_ptr<DevPane> pane_;
  int paneToken_ = 0;
  // The groups the rows show, with the token of each one's observer.
  std::vector<std::pair<DevGroupPtr, int>> groups_;
};

}  // namespace tw::app
