#pragma once

#include <QAbstractTableModel>

#include "lens/disk_scanner.h"

namespace tw::app {

// The children of the folder being explored, as the tree keeps them (largest first), with
// its folded small entries as a last row that cannot be chosen.
class LensChildrenModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { nameColumn, sizeColumn, realColumn, itemsColumn, columns };

  explicit LensChildrenModel(QObject* parent = nullptr);

  // Shows this folder's children (again, after the tree changed).
  void setFolder(const FSNode* folder);
  [[nodiscard]] const FSNode* nodeAt(int row) const;
  [[nodiscard]] int rowOf(const FSNode* node) const;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  [[nodiscard]] bool hasFoldedRow() const { return folder_ && folder_->smallCount > 0; }
  [[nodiscard]] QVariant foldedData(int column, int role) const;

  const FSNode* folder_ = nullptr;
};

}  // namespace tw::app
