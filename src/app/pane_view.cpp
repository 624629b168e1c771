#include "app/pane_view.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/badge_delegate.h"
#include "app/confirm_removal.h"
#include "app/labels.h"
#include "app/pane_item_model.h"
#include "app/reveal.h"
#include "app/roots_bar.h"
#include "core/action_description.h"
#include "core/format.h"

namespace tw::app {
namespace {

QString qstring(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

PaneView::PaneView(const DevScreen& screen, std::shared_ptr<DevPane> pane, QWidget* parent)
    : QWidget(parent), pane_(std::move(pane)), actionLabel_(qstring(screen.action)) {
  setObjectName(QString::fromUtf8(rawValue(screen.pane).data(), static_cast<int>(rawValue(screen.pane).size())));
  model_ = new PaneItemModel(pane_, this);

  tree_ = new QTreeView(this);
  tree_->setObjectName(QStringLiteral("items"));
  tree_->setAccessibleName(tr("Items"));
  tree_->setModel(model_);
  tree_->setItemDelegateForColumn(PaneItemModel::badgesColumn, new BadgeDelegate(tree_));
  tree_->setUniformRowHeights(true);
  tree_->setStyleSheet(QStringLiteral("QTreeView#items::item { padding: 3px 0; }"));
  tree_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(tree_, &QTreeView::customContextMenuRequested, this, &PaneView::showMenu);
  sizeColumns();

  note_ = new QLabel(this);
  note_->setObjectName(QStringLiteral("note"));
  note_->setAlignment(Qt::AlignCenter);
  note_->setWordWrap(true);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(makeHeader(screen));
  if (screen.bar != DevScreen::Bar::none) layout->addWidget(new RootsBar(screen.bar, pane_, this));
  layout->addWidget(tree_, 1);
  layout->addWidget(note_, 1);
  layout->addWidget(makeFooter(screen));

  progress_ = new QTimer(this);
  progress_->setInterval(100);
  connect(progress_, &QTimer::timeout, this, &PaneView::showProgress);

  auto* remove = new QAction(actionLabel_, this);
  remove->setShortcut(QKeySequence::Delete);
  remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
  connect(remove, &QAction::triggered, this, &PaneView::removeSelected);
  addAction(remove);

  token_ = pane_->observe([this](const DevPane::Notice& notice) {
    switch (notice.field) {
      case DevPaneField::selection:
        showSelectionSoon();
        break;
      case DevPaneField::groups:
      case DevPaneField::staleOnly:
        tree_->expandToDepth(0);
        tree_->resizeColumnToContents(PaneItemModel::badgesColumn);
        showState();
        break;
      case DevPaneField::loading:
      case DevPaneField::note:
      case DevPaneField::busy:
      case DevPaneField::message:
        showState();
        break;
      default:
        break;
    }
  });
  tree_->expandToDepth(0);
  showState();
}

PaneView::~PaneView() { pane_->unobserve(token_); }

QWidget* PaneView::makeHeader(const DevScreen& screen) {
  auto* header = new QWidget(this);
  auto* layout = new QVBoxLayout(header);
  layout->setContentsMargins(4, 4, 4, 8);
  layout->addWidget(titleLabel(qstring(screen.title), header));
  layout->addWidget(quietLabel(qstring(screen.blurb), header));
  return header;
}

QWidget* PaneView::makeFooter(const DevScreen& screen) {
  auto* footer = new QWidget(this);
  selected_ = new QLabel(footer);
  selected_->setObjectName(QStringLiteral("selectedTotal"));
  message_ = new QLabel(footer);
  message_->setObjectName(QStringLiteral("message"));
  message_->setWordWrap(true);
  message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  rescan_ = new QPushButton(tr("Rescan"), footer);
  rescan_->setObjectName(QStringLiteral("rescan"));
  connect(rescan_, &QPushButton::clicked, this, &PaneView::rescan);
  action_ = new QPushButton(qstring(screen.action), footer);
  action_->setObjectName(QStringLiteral("action"));
  action_->setDefault(true);
  connect(action_, &QPushButton::clicked, this, &PaneView::removeSelected);
  auto* text = new QVBoxLayout;
  text->addWidget(selected_);
  text->addWidget(message_);
  auto* layout = new QHBoxLayout(footer);
  layout->setContentsMargins(4, 8, 4, 4);
  layout->addLayout(text, 1);
  layout->addWidget(rescan_);
  layout->addWidget(action_);
  return footer;
}

void PaneView::showFirstTime() {
  if (!pane_->loaded() && !pane_->loading()) pane_->load();
}

void PaneView::rescan() {
  if (!pane_->loading() && !pane_->busy()) pane_->load();
}

void PaneView::removeSelected() {
  if (!action_->isEnabled()) return;
  confirmAndPerform(actionLabel_, pane_->selectedItems(), std::nullopt);
}

void PaneView::confirmAndPerform(const QString& label, std::vector<DevItem> items, std::optional<DevAction> override) {
  if (items.empty()) return;
  std::vector<std::string> actions;
  for (const auto& item : items) actions.push_back(describe(override ? *override : item.action, pane_->context().home));
  ConfirmRemovalDialog dialog(label, items, actions, this);
  if (dialog.exec() != QDialog::Accepted) return;
  // The selection may have changed under a dialog that stayed open through a new load;
  // what was confirmed is what runs, and nothing else.
  if (pane_->busy() || pane_->loading()) return;
  pane_->perform(std::move(items), std::move(override), nullptr);
}

// Sizes never need more room than "999.9 MB", so their columns are measured once rather than
// from every row: a screen may hold a hundred thousand items.
void PaneView::sizeColumns() {
  QHeaderView* header = tree_->header();
  header->setStretchLastSection(false);
  header->setSectionResizeMode(PaneItemModel::nameColumn, QHeaderView::Stretch);
  header->setSectionResizeMode(PaneItemModel::badgesColumn, QHeaderView::Interactive);
  const int sizeWidth = tree_->fontMetrics().horizontalAdvance(QStringLiteral("999.9 MB")) + 24;
  for (const int column : {PaneItemModel::sizeColumn, PaneItemModel::apparentColumn}) {
    const QString title = model_->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    header->setSectionResizeMode(column, QHeaderView::Fixed);
    header->resizeSection(column, std::max(sizeWidth, header->fontMetrics().horizontalAdvance(title) + 24));
  }
}

// Ticking a group ticks many rows at once: the footer counts them once afterwards.
void PaneView::showSelectionSoon() {
  if (selectionPending_) return;
  selectionPending_ = true;
  QTimer::singleShot(0, this, [this] {
    selectionPending_ = false;
    showSelection();
  });
}

void PaneView::showSelection() {
  if (pane_->busy()) return;  // the progress owns the line while actions run
  const auto summary = pane_->selectionSummary();
  const auto count = static_cast<int>(summary.count);
  const QString total = qstring(byteFormatter(summary.freeable));
  if (count == 0) {
    selected_->setText(tr("Nothing selected"));
  } else if (count == 1) {
    selected_->setText(tr("1 item selected, %1").arg(total));
  } else {
    selected_->setText(tr("%1 items selected, %2").arg(count).arg(total));
  }
  action_->setEnabled(count > 0 && !pane_->loading());
}

void PaneView::showProgress() { selected_->setText(tr("Working… %1 done").arg(pane_->progress())); }

void PaneView::showState() {
  const bool busy = pane_->busy();
  const bool empty = model_->rowCount() == 0;
  tree_->setVisible(!empty);
  tree_->setEnabled(!busy);
  note_->setVisible(empty);
  if (pane_->loading()) {
    note_->setText(tr("Scanning…"));
  } else if (empty && !pane_->groups().empty()) {
    note_->setText(tr("Nothing here has been left untouched for 30 days."));
  } else if (empty) {
    note_->setText(pane_->note() ? qstring(*pane_->note()) : tr("Nothing found."));
  }
  message_->setVisible(pane_->message().has_value());
  if (pane_->message()) message_->setText(qstring(*pane_->message()));
  rescan_->setEnabled(!pane_->loading() && !busy);
  if (busy) {
    action_->setEnabled(false);
    if (!progress_->isActive()) progress_->start();
    showProgress();
  } else {
    progress_->stop();
    showSelection();
  }
}

// Reveal and Copy Path for an item with a place on disk, then the item's own extra actions.
void PaneView::showMenu(const QPoint& position) {
  const DevItem* item = model_->itemAt(tree_->indexAt(position));
  if (item == nullptr || pane_->busy()) return;
  QMenu menu(this);
  if (item->revealPath) {
    const QString path = qstring(*item->revealPath);
    menu.addAction(tr("Reveal in File Manager"), this, [path] { revealInFileManager(path); });
    menu.addAction(tr("Copy Path"), this, [path] { QApplication::clipboard()->setText(path); });
  }
  for (const auto& extra : item->extra) {
    menu.addAction(qstring(extra.label), this,
                   [this, copy = *item, extra] { confirmAndPerform(qstring(extra.label), {copy}, extra.action); });
  }
  if (!menu.isEmpty()) menu.exec(tree_->viewport()->mapToGlobal(position));
}

}  // namespace tw::app
