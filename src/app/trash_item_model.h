#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <QAbstractTableModel>
#include <QIcon>

#include "trash/trash_model.h"

namespace tw::app {

// A TrashModel as a Qt table: one checkable row per visible item (filtered and sorted as
// the model says), ticks going to the model's selection. A batch of measured sizes becomes
// one dataChanged over the rows it touched; a new list, sort or filter rebuilds the rows.
// While sizes arrive, rows keep their places; a size sort is applied again once measuring
// ends, so the list does not shuffle under the pointer.
class TrashItemModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { nameColumn, originColumn, sizeColumn, dateColumn, columnCount_ };

  TrashItemModel(std::shared_ptr<TrashModel> trash, std::string home, QObject* parent = nullptr);
  ~TrashItemModel() override;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  // The item a row shows, or null for no row.
  [[nodiscard]] const TrashItem* itemAt(int row) const;

 private:
  void rebuildRows();
  void reorderRows();
  // Fills the row map from the model's visible list.
  void mapRows();
  void sizesChanged(const std::vector<std::size_t>& items);
  void ticksChanged(const std::vector<std::size_t>& items);
  void announceRows(const std::vector<std::size_t>& items, int firstColumn, int lastColumn, const QList<int>& roles);
  [[nodiscard]] QVariant display(const TrashItem& item, int column) const;

  std::shared_ptr<TrashModel> trash_;
  std::string home_;
  QIcon folderIcon_;
  QIcon fileIcon_;
  int token_ = 0;
  std::vector<std::size_t> rows_;  // row -> index into the model's items
  std::vector<int> rowOfItem_;     // index into the model's items -> row, or -1 when hidden
};

}  // namespace tw::app
