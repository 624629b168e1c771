#include "app/lens_children_model.h"

#include <QApplication>
#include <QLocale>
#include <QStyle>

#include "core/format.h"

namespace tw::app {
namespace {

QString sizeText(std::int64_t bytes) { return QString::fromStdString(byteFormatter(bytes)); }

}  // namespace

LensChildrenModel::LensChildrenModel(QObject* parent) : QAbstractTableModel(parent) {}

void LensChildrenModel::setFolder(const FSNode* folder) {
  beginResetModel();
  folder_ = folder;
  endResetModel();
}

const FSNode* LensChildrenModel::nodeAt(int row) const {
  if (folder_ == nullptr || row < 0 || static_cast<std::size_t>(row) >= folder_->children.size()) return nullptr;
  return folder_->children[static_cast<std::size_t>(row)].get();
}

int LensChildrenModel::rowOf(const FSNode* node) const {
  if (folder_ == nullptr) return -1;
  for (std::size_t row = 0; row < folder_->children.size(); ++row) {
    if (folder_->children[row].get() == node) return static_cast<int>(row);
  }
  return -1;
}

int LensChildrenModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid() || folder_ == nullptr) return 0;
  return static_cast<int>(folder_->children.size()) + (hasFoldedRow() ? 1 : 0);
}

int LensChildrenModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columns; }

QVariant LensChildrenModel::data(const QModelIndex& index, int role) const {
  const FSNode* node = nodeAt(index.row());
  if (node == nullptr) return foldedData(index.column(), role);
  if (role == Qt::DisplayRole) {
    switch (index.column()) {
      case nameColumn:
        return QString::fromStdString(node->name);
      case sizeColumn:
        return sizeText(node->size);
      case realColumn:
        return sizeText(node->freeable);
      case itemsColumn:
        return node->isDir ? QLocale().toString(static_cast<qlonglong>(node->itemCount)) : QString();
      default:
        return {};
    }
  }
  if (role == Qt::DecorationRole && index.column() == nameColumn) {
    return QApplication::style()->standardIcon(node->isDir ? QStyle::SP_DirIcon : QStyle::SP_FileIcon);
  }
  if (role == Qt::ToolTipRole) return QString::fromStdString(node->path());
  if (role == Qt::TextAlignmentRole && index.column() != nameColumn) {
    return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
  }
  return {};
}

QVariant LensChildrenModel::foldedData(int column, int role) const {
  if (role == Qt::DisplayRole) {
    if (column == nameColumn) return tr("%n small items", nullptr, static_cast<int>(folder_->smallCount));
    if (column == sizeColumn) return sizeText(folder_->smallBytes);
    return {};
  }
  if (role == Qt::ToolTipRole) return tr("Entries under 1 MB, counted together");
  if (role == Qt::TextAlignmentRole && column != nameColumn) {
    return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
  }
  return {};
}

QVariant LensChildrenModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case nameColumn:
      return tr("Name");
    case sizeColumn:
      return tr("Size");
    case realColumn:
      return tr("Real");
    case itemsColumn:
      return tr("Items");
    default:
      return {};
  }
}

Qt::ItemFlags LensChildrenModel::flags(const QModelIndex& index) const {
  if (nodeAt(index.row()) == nullptr) return Qt::ItemIsEnabled;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

}  // namespace tw::app
