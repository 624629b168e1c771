#include "app/lens_changes.h"

#include <algorithm>

#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "core/date.h"
#include "core/format.h"
#include "fs/path.h"

namespace tw::app {
namespace {

constexpr int pathRole = Qt::UserRole;
constexpr int shownRows = 5;

QString qstring(const std::string& text) { return QString::fromStdString(text); }

QString changeText(const ScanChange& change) {
  const std::int64_t delta = change.after - change.before;
  return (delta >= 0 ? QStringLiteral("+") : QStringLiteral("−")) + qstring(byteFormatter(delta >= 0 ? delta : -delta));
}

}  // namespace

LensChanges::LensChanges(std::string home, QWidget* parent) : QWidget(parent), home_(std::move(home)) {
  setObjectName(QStringLiteral("changes"));
  since_ = new QLabel(this);
  since_->setObjectName(QStringLiteral("since"));
  QFont bold = since_->font();
  bold.setBold(true);
  since_->setFont(bold);
  list_ = new QTreeWidget(this);
  list_->setObjectName(QStringLiteral("changedFolders"));
  list_->setAccessibleName(tr("Folders that changed"));
  list_->setColumnCount(3);
  list_->setHeaderLabels({tr("Folder"), tr("Change"), tr("Now")});
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->header()->setStretchLastSection(false);
  list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  list_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  connect(list_, &QTreeWidget::itemActivated, this,
          [this](QTreeWidgetItem* item) { emit openRequested(item->data(0, pathRole).toByteArray().toStdString()); });
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 4, 0, 0);
  layout->addWidget(since_);
  layout->addWidget(list_);
  setVisible(false);
}

void LensChanges::showComparison(const std::optional<Snapshots::Comparison>& comparison) {
  list_->clear();
  setVisible(true);
  if (!comparison) {
    since_->setText(tr("First scan of this folder: the next one will show what grew or shrank."));
    list_->setVisible(false);
    return;
  }
  const QString date = qstring(localDateTime(comparison->since));
  if (comparison->changes.empty()) {
    since_->setText(tr("Since %1, no folder grew or shrank by 100 MB or more.").arg(date));
    list_->setVisible(false);
    return;
  }
  since_->setText(tr("Since %1").arg(date));
  for (const auto& change : comparison->changes) {
    auto* row = new QTreeWidgetItem(
        list_, {qstring(tildePath(change.path, home_)), changeText(change), qstring(byteFormatter(change.after))});
    // The bytes themselves, so that a name that is not UTF-8 still opens.
    row->setData(0, pathRole, QByteArray::fromStdString(change.path));
    row->setToolTip(0, tr("Open %1 in the map").arg(qstring(change.path)));
    row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    row->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
  }
  // As tall as its rows, up to five, so the map keeps the room.
  const int rows = std::min(list_->topLevelItemCount(), shownRows);
  list_->setFixedHeight(list_->header()->sizeHint().height() + rows * list_->sizeHintForRow(0) +
                        2 * list_->frameWidth());
  list_->setVisible(true);
}

}  // namespace tw::app
