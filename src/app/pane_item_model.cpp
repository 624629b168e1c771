#include "app/pane_item_model.h"

#include <set>

#include <QFont>

#include "app/icons.h"
#include "core/format.h"

namespace tw::app {
namespace {

QString qstring(const std::string& text) { return QString::fromStdString(text); }

QString sizeText(std::optional<std::int64_t> bytes) {
  return bytes ? qstring(byteFormatter(*bytes)) : QStringLiteral("—");
}

QString itemToolTip(const DevItem& item) {
  QStringList lines;
  if (!item.detail.empty()) lines << qstring(item.detail);
  if (item.warning) lines << qstring(*item.warning);
  if (item.restoreHint) lines << qstring(*item.restoreHint);
  return lines.join(QLatin1Char('\n'));
}

QVariant badgeList(const std::vector<Badge>& badges) {
  QVariantList list;
  for (const auto& badge : badges) {
    list << QVariantMap{{QStringLiteral("text"), qstring(badge.text)},
                        {QStringLiteral("tone"), static_cast<int>(badge.tone)}};
  }
  return list;
}

// The pills for the painter, and their words for screen readers.
QVariant badgeCell(const std::vector<Badge>& badges, int role) {
  if (role == PaneItemModel::badgesRole) return badgeList(badges);
  if (role != Qt::AccessibleTextRole || badges.empty()) return {};
  QStringList words;
  for (const auto& badge : badges) words << qstring(badge.text);
  return words.join(QStringLiteral(", "));
}

QVariant sizeCell(const QString& text, int role) {
  if (role == Qt::DisplayRole) return text;
  if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignRight | Qt::AlignVCenter);
  return {};
}

}  // namespace

PaneItemModel::PaneItemModel(std::shared_ptr<DevPane> pane, QObject* parent)
    : QAbstractItemModel(parent), pane_(std::move(pane)) {
  paneToken_ = pane_->observe([this](const DevPane::Notice& notice) {
    // The stale filter decides which groups show: turning it changes the rows.
    if (notice.field == DevPaneField::groups || notice.field == DevPaneField::staleOnly) takeGroups();
  });
  takeGroups();
}

PaneItemModel::~PaneItemModel() {
  forgetGroups();
  pane_->unobserve(paneToken_);
}

void PaneItemModel::takeGroups() {
  beginResetModel();
  forgetGroups();
  for (const auto& group : pane_->visibleGroups()) groups_.emplace_back(group, 0);
  observeGroups();
  endResetModel();
}

void PaneItemModel::observeGroups() {
  for (std::size_t row = 0; row < groups_.size(); ++row) {
    groups_[row].second = groups_[row].first->observe([this, row](const DevGroup::Notice& notice) {
      if (notice.field == DevGroupField::selection) selectionChangedIn(row, notice.rows);
      if (notice.field == DevGroupField::items) itemsChangedIn(row);
      if (notice.field == DevGroupField::badges) {
        const QModelIndex badges = index(static_cast<int>(row), badgesColumn);
        emit dataChanged(badges, badges, {badgesRole});
      }
    });
  }
}

void PaneItemModel::forgetGroups() {
  for (auto& [group, token] : groups_) group->unobserve(token);
  groups_.clear();
}

void PaneItemModel::selectionChangedIn(std::size_t group, const std::vector<std::size_t>& rows) {
  const QModelIndex groupIndex = index(static_cast<int>(group), nameColumn);
  emit dataChanged(groupIndex, groupIndex, {Qt::CheckStateRole});
  for (const std::size_t row : rows) {
    const QModelIndex item = index(static_cast<int>(row), nameColumn, groupIndex);
    emit dataChanged(item, item, {Qt::CheckStateRole});
  }
}

// The group's item list was replaced: its rows go and the new ones come.
void PaneItemModel::itemsChangedIn(std::size_t group) {
  const QModelIndex groupIndex = index(static_cast<int>(group), nameColumn);
  const int shown = rowCount(groupIndex);
  if (shown > 0) {
    beginRemoveRows(groupIndex, 0, shown - 1);
    endRemoveRows();
  }
  const int now = static_cast<int>(groups_[group].first->items().size());
  if (now > 0) {
    beginInsertRows(groupIndex, 0, now - 1);
    endInsertRows();
  }
  emit dataChanged(groupIndex, index(static_cast<int>(group), apparentColumn));
}

QModelIndex PaneItemModel::index(int row, int column, const QModelIndex& parent) const {
  if (!hasIndex(row, column, parent)) return {};
  if (!parent.isValid()) return createIndex(row, column, quintptr{0});
  return createIndex(row, column, static_cast<quintptr>(parent.row() + 1));
}

QModelIndex PaneItemModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || isGroup(child)) return {};
  return createIndex(static_cast<int>(child.internalId() - 1), nameColumn, quintptr{0});
}

int PaneItemModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(groups_.size());
  if (parent.column() != nameColumn || !isGroup(parent)) return 0;
  return static_cast<int>(groupAt(parent).items().size());
}

int PaneItemModel::columnCount(const QModelIndex&) const { return columnCount_; }

const DevGroup& PaneItemModel::groupAt(const QModelIndex& index) const {
  return *groups_.at(static_cast<std::size_t>(index.row())).first;
}

const DevItem* PaneItemModel::itemAt(const QModelIndex& index) const {
  if (!index.isValid() || isGroup(index)) return nullptr;
  return &itemOf(index);
}

const DevItem& PaneItemModel::itemOf(const QModelIndex& index) const {
  const auto& group = *groups_.at(static_cast<std::size_t>(index.internalId() - 1)).first;
  return group.items().at(static_cast<std::size_t>(index.row()));
}

Qt::CheckState PaneItemModel::groupCheckState(const DevGroup& group) const {
  std::size_t ticked = 0;
  for (const auto& item : group.items()) ticked += pane_->isSelected(item.id) ? 1 : 0;
  if (ticked == 0) return Qt::Unchecked;
  return ticked == group.items().size() ? Qt::Checked : Qt::PartiallyChecked;
}

QVariant PaneItemModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  return isGroup(index) ? groupData(index, role) : itemData(index, role);
}

QVariant PaneItemModel::groupData(const QModelIndex& index, int role) const {
  const DevGroup& group = groupAt(index);
  if (index.column() == sizeColumn) return sizeCell(qstring(byteFormatter(group.total())), role);
  if (index.column() == apparentColumn) return {};
  if (index.column() == badgesColumn) return badgeCell(group.badges(), role);
  switch (role) {
    case Qt::DisplayRole:
      return group.subtitle.empty() ? qstring(group.title) : qstring(group.title + "  ·  " + group.subtitle);
    case Qt::CheckStateRole:
      return groupCheckState(group);
    case Qt::DecorationRole:
      return symbolIcon(group.icon);
    case Qt::FontRole: {
      QFont font;
      font.setBold(true);
      return font;
    }
    case Qt::ToolTipRole:
      return group.note() ? qstring(*group.note()) : QVariant();
    default:
      return {};
  }
}

QVariant PaneItemModel::itemData(const QModelIndex& index, int role) const {
  const DevItem& item = itemOf(index);
  if (index.column() == sizeColumn) return sizeCell(sizeText(item.freeable ? item.freeable : item.size), role);
  if (index.column() == apparentColumn) return sizeCell(sizeText(item.size), role);
  if (index.column() == badgesColumn) return badgeCell(item.badges, role);
  switch (role) {
    case Qt::DisplayRole:
      return item.detail.empty() ? qstring(item.name) : qstring(item.name + "  ·  " + item.detail);
    case Qt::CheckStateRole:
      return pane_->isSelected(item.id) ? Qt::Checked : Qt::Unchecked;
    case Qt::DecorationRole:
      return item.warning ? symbolIcon("exclamationmark.triangle") : QVariant();
    case Qt::ToolTipRole:
      return itemToolTip(item);
    default:
      return {};
  }
}

QVariant PaneItemModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case nameColumn:
      return tr("Name");
    case badgesColumn:
      return QString();
    case sizeColumn:
      return tr("Freeable");
    default:
      return tr("Size");
  }
}

Qt::ItemFlags PaneItemModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  // A group's box shows its items' state; clicking it ticks or clears them all.
  if (index.column() == nameColumn) flags |= Qt::ItemIsUserCheckable;
  return flags;
}

bool PaneItemModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid() || role != Qt::CheckStateRole || index.column() != nameColumn) return false;
  const bool checked = value.toInt() != Qt::Unchecked;
  if (isGroup(index)) {
    setGroupChecked(groupAt(index), checked);
  } else {
    pane_->setSelected(itemOf(index).id, checked);
  }
  return true;
}

void PaneItemModel::setGroupChecked(const DevGroup& group, bool checked) {
  std::set<std::string> ids = pane_->selection().ids();
  for (const auto& item : group.items()) {
    if (checked) {
      ids.insert(item.id);
    } else {
      ids.erase(item.id);
    }
  }
  pane_->setSelection(std::move(ids));
}

}  // namespace tw::app
