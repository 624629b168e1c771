#include "app/trash_item_model.h"

#include <algorithm>
#include <unordered_map>

#include <QApplication>
#include <QPalette>
#include <QStyle>

#include "core/date.h"
#include "core/format.h"
#include "fs/path.h"

namespace tw::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

}  // namespace

TrashItemModel::TrashItemModel(std::shared_ptr<TrashModel> trash, std::string home, QObject* parent)
    : QAbstractTableModel(parent),
      trash_(std::move(trash)),
      home_(std::move(home)),
      folderIcon_(QApplication::style()->standardIcon(QStyle::SP_DirIcon)),
      fileIcon_(QApplication::style()->standardIcon(QStyle::SP_FileIcon)) {
  rebuildRows();
  token_ = trash_->observe([this](const TrashModel::Notice& notice) {
    switch (notice.field) {
      case TrashField::items:
        if (notice.rows.empty()) {
          rebuildRows();
        } else {
          sizesChanged(notice.rows);
        }
        break;
      case TrashField::selection:
        ticksChanged(notice.rows);
        break;
      case TrashField::search:
      case TrashField::olderOnly:
        rebuildRows();
        break;
      case TrashField::sort:
        reorderRows();
        break;
      case TrashField::sizing:
        if (!trash_->sizing() && trash_->sort() == TrashModel::Sort::size) reorderRows();
        break;
      default:
        break;
    }
  });
}

TrashItemModel::~TrashItemModel() { trash_->unobserve(token_); }

void TrashItemModel::rebuildRows() {
  beginResetModel();
  mapRows();
  endResetModel();
}

// The same items in a new order: the view keeps its current and highlighted rows.
void TrashItemModel::reorderRows() {
  emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  const std::vector<std::size_t> before = rows_;
  mapRows();
  const QModelIndexList from = persistentIndexList();
  QModelIndexList to;
  for (const QModelIndex& index : from) {
    const std::size_t item = before.at(static_cast<std::size_t>(index.row()));
    const int row = item < rowOfItem_.size() ? rowOfItem_[item] : -1;
    to << (row < 0 ? QModelIndex() : this->index(row, index.column()));
  }
  changePersistentIndexList(from, to);
  emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void TrashItemModel::mapRows() {
  const auto& items = trash_->items();
  std::unordered_map<std::string_view, std::size_t> indexOf;
  indexOf.reserve(items.size());
  for (std::size_t index = 0; index < items.size(); ++index) indexOf.emplace(items[index].path, index);
  rows_.clear();
  rowOfItem_.assign(items.size(), -1);
  for (const auto& item : trash_->visible()) {
    const auto found = indexOf.find(item.path);
    if (found == indexOf.end()) continue;
    rowOfItem_[found->second] = static_cast<int>(rows_.size());
    rows_.push_back(found->second);
  }
}

// One notice per batch of measured folders: one dataChanged over the span of rows it touched.
void TrashItemModel::sizesChanged(const std::vector<std::size_t>& items) {
  announceRows(items, sizeColumn, sizeColumn, {Qt::DisplayRole, Qt::ToolTipRole});
}

void TrashItemModel::ticksChanged(const std::vector<std::size_t>& items) {
  if (items.empty()) {
    if (!rows_.empty()) emit dataChanged(index(0, nameColumn), index(rowCount() - 1, nameColumn), {Qt::CheckStateRole});
    return;
  }
  announceRows(items, nameColumn, nameColumn, {Qt::CheckStateRole});
}

void TrashItemModel::announceRows(const std::vector<std::size_t>& items, int firstColumn, int lastColumn,
                                  const QList<int>& roles) {
  int first = -1;
  int last = -1;
  for (const std::size_t item : items) {
    if (item >= rowOfItem_.size() || rowOfItem_[item] < 0) continue;
    const int row = rowOfItem_[item];
    first = first < 0 ? row : std::min(first, row);
    last = std::max(last, row);
  }
  if (first >= 0) emit dataChanged(index(first, firstColumn), index(last, lastColumn), roles);
}

int TrashItemModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int TrashItemModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columnCount_; }

const TrashItem* TrashItemModel::itemAt(int row) const {
  if (row < 0 || row >= rowCount()) return nullptr;
  const std::size_t item = rows_[static_cast<std::size_t>(row)];
  return item < trash_->items().size() ? &trash_->items()[item] : nullptr;
}

QVariant TrashItemModel::display(const TrashItem& item, int column) const {
  switch (column) {
    case nameColumn:
      return text(item.name);
    case originColumn:
      return item.origin ? text(tildePath(*item.origin, home_)) : tr("Unknown");
    case sizeColumn:
      return item.size ? text(byteFormatter(*item.size)) : tr("Measuring…");
    case dateColumn:
      return item.trashed ? text(localDateTime(*item.trashed)) : QString();
    default:
      return {};
  }
}

QVariant TrashItemModel::data(const QModelIndex& index, int role) const {
  const TrashItem* item = itemAt(index.row());
  if (!item) return {};
  switch (role) {
    case Qt::DisplayRole:
      return display(*item, index.column());
    case Qt::ToolTipRole:
      if (index.column() == sizeColumn && item->freeable)
        return tr("Frees %1").arg(text(byteFormatter(*item->freeable)));
      if (index.column() == originColumn && item->origin) return text(*item->origin);
      if (index.column() == nameColumn) return text(item->path);
      return {};
    case Qt::CheckStateRole:
      if (index.column() != nameColumn) return {};
      return trash_->selection().contains(item->path) ? Qt::Checked : Qt::Unchecked;
    case Qt::DecorationRole:
      if (index.column() != nameColumn) return {};
      return item->isDir ? folderIcon_ : fileIcon_;
    case Qt::TextAlignmentRole:
      if (index.column() == sizeColumn) return int(Qt::AlignRight | Qt::AlignVCenter);
      return {};
    case Qt::ForegroundRole:
      if (index.column() == originColumn && !item->origin) return QPalette().color(QPalette::PlaceholderText);
      return {};
    default:
      return {};
  }
}

QVariant TrashItemModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::TextAlignmentRole && section == sizeColumn) return int(Qt::AlignRight | Qt::AlignVCenter);
  if (role != Qt::DisplayRole) return {};
  switch (section) {
    case nameColumn:
      return tr("Name");
    case originColumn:
      return tr("Original Location");
    case sizeColumn:
      return tr("Size");
    case dateColumn:
      return tr("Date Deleted");
    default:
      return {};
  }
}

Qt::ItemFlags TrashItemModel::flags(const QModelIndex& index) const {
  Qt::ItemFlags flags = QAbstractTableModel::flags(index);
  if (index.isValid() && index.column() == nameColumn) flags |= Qt::ItemIsUserCheckable;
  return flags;
}

bool TrashItemModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const TrashItem* item = itemAt(index.row());
  if (!item || role != Qt::CheckStateRole || index.column() != nameColumn) return false;
  const std::string path = item->path;  // the notice below may rebuild what `item` points into
  trash_->setSelected(path, value.toInt() == Qt::Checked);
  return true;
}

}  // namespace tw::app
