#include "app/pane_view.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/pane_item_model.h"
#include "core/format.h"

namespace tw::app {

PaneView::PaneView(const DevScreen& screen, std::shared_ptr<DevPane> pane, QWidget* parent)
    : QWidget(parent), pane_(std::move(pane)) {
  setObjectName(QString::fromUtf8(rawValue(screen.pane).data(), static_cast<int>(rawValue(screen.pane).size())));
  model_ = new PaneItemModel(pane_, this);

  tree_ = new QTreeView(this);
  tree_->setObjectName(QStringLiteral("items"));
  tree_->setAccessibleName(tr("Items"));
  tree_->setModel(model_);
  tree_->setUniformRowHeights(true);
  tree_->setStyleSheet(QStringLiteral("QTreeView#items::item { padding: 3px 0; }"));
  tree_->header()->setStretchLastSection(false);
  tree_->header()->setSectionResizeMode(PaneItemModel::nameColumn, QHeaderView::Stretch);
  tree_->header()->setSectionResizeMode(PaneItemModel::sizeColumn, QHeaderView::ResizeToContents);

  note_ = new QLabel(this);
  note_->setObjectName(QStringLiteral("note"));
  note_->setAlignment(Qt::AlignCenter);
  note_->setWordWrap(true);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(makeHeader(screen));
  layout->addWidget(tree_, 1);
  layout->addWidget(note_, 1);
  layout->addWidget(makeFooter(screen));

  token_ = pane_->observe([this](const DevPane::Notice& notice) {
    if (notice.field == DevPaneField::selection) showSelection();
    if (notice.field == DevPaneField::groups || notice.field == DevPaneField::loading ||
        notice.field == DevPaneField::note) {
      showState();
    }
    if (notice.field == DevPaneField::groups) tree_->expandAll();
  });
  tree_->expandAll();
  showState();
  showSelection();
}

PaneView::~PaneView() { pane_->unobserve(token_); }

QWidget* PaneView::makeHeader(const DevScreen& screen) {
  auto* header = new QWidget(this);
  auto* title = new QLabel(QString::fromStdString(screen.title), header);
  QFont font = title->font();
  font.setPointSizeF(font.pointSizeF() * 1.6);
  font.setBold(true);
  title->setFont(font);
  auto* blurb = new QLabel(QString::fromStdString(screen.blurb), header);
  blurb->setWordWrap(true);
  blurb->setForegroundRole(QPalette::PlaceholderText);
  auto* layout = new QVBoxLayout(header);
  layout->setContentsMargins(4, 4, 4, 8);
  layout->addWidget(title);
  layout->addWidget(blurb);
  return header;
}

QWidget* PaneView::makeFooter(const DevScreen& screen) {
  auto* footer = new QWidget(this);
  selected_ = new QLabel(footer);
  selected_->setObjectName(QStringLiteral("selectedTotal"));
  rescan_ = new QPushButton(tr("Rescan"), footer);
  rescan_->setObjectName(QStringLiteral("rescan"));
  connect(rescan_, &QPushButton::clicked, this, &PaneView::rescan);
  action_ = new QPushButton(QString::fromStdString(screen.action), footer);
  action_->setObjectName(QStringLiteral("action"));
  action_->setDefault(true);
  auto* layout = new QHBoxLayout(footer);
  layout->setContentsMargins(4, 8, 4, 4);
  layout->addWidget(selected_, 1);
  layout->addWidget(rescan_);
  layout->addWidget(action_);
  return footer;
}

void PaneView::showFirstTime() {
  if (!pane_->loaded() && !pane_->loading()) pane_->load();
}

void PaneView::rescan() {
  if (!pane_->loading()) pane_->load();
}

void PaneView::showSelection() {
  const auto count = static_cast<int>(pane_->selectedItems().size());
  const QString total = QString::fromStdString(byteFormatter(pane_->selectedTotal()));
  if (count == 0) {
    selected_->setText(tr("Nothing selected"));
  } else if (count == 1) {
    selected_->setText(tr("1 item selected, %1").arg(total));
  } else {
    selected_->setText(tr("%1 items selected, %2").arg(count).arg(total));
  }
  // Removing goes through a confirmation that lists each item; until that dialog is here,
  // the button stays off so that nothing can be removed unconfirmed.
  action_->setEnabled(false);
}

void PaneView::showState() {
  const bool empty = pane_->groups().empty();
  tree_->setVisible(!empty);
  note_->setVisible(empty);
  if (pane_->loading()) {
    note_->setText(tr("Scanning…"));
  } else if (empty) {
    note_->setText(pane_->note() ? QString::fromStdString(*pane_->note()) : tr("Nothing found."));
  }
  rescan_->setEnabled(!pane_->loading());
}

}  // namespace tw::app
