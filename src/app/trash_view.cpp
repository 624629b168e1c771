#include "app/trash_view.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/labels.h"
#include "app/trash_item_model.h"
#include "core/format.h"
#include "core/scan_cache.h"
#include "screens/registry.h"

namespace tw::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

QString itemCount(std::size_t count) { return count == 1 ? QObject::tr("1 item") : QObject::tr("%1 items").arg(count); }

std::int64_t sizeOf(const std::vector<TrashItem>& items) {
  std::int64_t sum = 0;
  for (const auto& item : items) sum += item.size.value_or(0);
  return sum;
}

}  // namespace

TrashView::TrashView(Context context, std::shared_ptr<TrashModel> trash, QWidget* parent)
    : QWidget(parent), context_(std::move(context)), trash_(std::move(trash)) {
  setObjectName(QStringLiteral("trash"));
  model_ = new TrashItemModel(trash_, context_.home, this);
  list_ = new QTreeView(this);
  list_->setObjectName(QStringLiteral("trashItems"));
  list_->setAccessibleName(tr("Items in the Trash"));
  list_->setModel(model_);
  list_->setRootIsDecorated(false);
  list_->setTextElideMode(Qt::ElideMiddle);  // long names and paths keep both ends
  list_->setUniformRowHeights(true);
  list_->setAlternatingRowColors(true);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->setStyleSheet(QStringLiteral("QTreeView#trashItems::item { padding: 3px 4px; }"));
  // Fixed widths: sizing columns to their contents would read every one of many rows.
  auto* header = list_->header();
  header->setStretchLastSection(false);
  header->setSectionResizeMode(TrashItemModel::nameColumn, QHeaderView::Interactive);
  header->setSectionResizeMode(TrashItemModel::originColumn, QHeaderView::Stretch);
  header->setSectionResizeMode(TrashItemModel::sizeColumn, QHeaderView::Fixed);
  header->setSectionResizeMode(TrashItemModel::dateColumn, QHeaderView::Fixed);
  header->resizeSection(TrashItemModel::nameColumn, 240);
  header->resizeSection(TrashItemModel::sizeColumn, 100);
  header->resizeSection(TrashItemModel::dateColumn, 160);

  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(list_, &QWidget::customContextMenuRequested, this, &TrashView::showRowMenu);

  progress_ = new QTimer(this);
  progress_->setInterval(100);
  connect(progress_, &QTimer::timeout, this, &TrashView::showProgress);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(20, 16, 20, 12);
  layout->addWidget(makeHeader());
  layout->addWidget(makeFilters());
  layout->addWidget(list_, 1);
  layout->addWidget(makeFooter());

  token_ = trash_->observe([this](const TrashModel::Notice& notice) { showState(notice.field); });
  showSummary();
  showFooter();
  // Listed at once, so that the sidebar shows the Trash's total before the screen is opened.
  reload();
}

TrashView::~TrashView() { trash_->unobserve(token_); }

QWidget* TrashView::makeHeader() {
  auto* header = new QWidget(this);
  summary_ = quietLabel(QString(), header);
  summary_->setObjectName(QStringLiteral("summary"));
  note_ = quietLabel(QString(), header);
  note_->setObjectName(QStringLiteral("note"));
  note_->hide();
  auto* layout = new QVBoxLayout(header);
  layout->setContentsMargins(0, 0, 0, 4);
  layout->addWidget(titleLabel(tr("Trash"), header));
  layout->addWidget(summary_);
  layout->addWidget(note_);
  return header;
}

QWidget* TrashView::makeFilters() {
  auto* bar = new QWidget(this);
  search_ = new QLineEdit(bar);
  search_->setObjectName(QStringLiteral("trashSearch"));
  search_->setPlaceholderText(tr("Search names and original locations"));
  search_->setClearButtonEnabled(true);
  connect(search_, &QLineEdit::textChanged, this,
          [this](const QString& words) { trash_->setSearch(words.toStdString()); });
  olderOnly_ = new QCheckBox(tr("Older than 30 days"), bar);
  olderOnly_->setObjectName(QStringLiteral("olderOnly"));
  // Only while this view is on screen: a hidden widget's shortcut does not fire.
  auto* find = new QShortcut(QKeySequence::Find, this);
  find->setContext(Qt::WindowShortcut);
  connect(find, &QShortcut::activated, this, [this] {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
  });
  connect(olderOnly_, &QCheckBox::toggled, this, [this](bool on) { trash_->setOlderOnly(on); });
  sort_ = new QComboBox(bar);
  sort_->setObjectName(QStringLiteral("sort"));
  sort_->setAccessibleName(tr("Sort by"));
  for (const auto sort : TrashModel::allSorts()) {
    sort_->addItem(text(std::string(TrashModel::title(sort))), static_cast<int>(sort));
  }
  connect(sort_, &QComboBox::currentIndexChanged, this,
          [this](int index) { trash_->setSort(static_cast<TrashModel::Sort>(sort_->itemData(index).toInt())); });
  auto* layout = new QHBoxLayout(bar);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(search_, 1);
  layout->addWidget(olderOnly_);
  layout->addSpacing(12);
  layout->addWidget(new QLabel(tr("Sort by"), bar));
  layout->addWidget(sort_);
  return bar;
}

QWidget* TrashView::makeFooter() {
  auto* footer = new QWidget(this);
  status_ = new QLabel(footer);
  status_->setObjectName(QStringLiteral("status"));
  status_->setWordWrap(true);
  progressBar_ = new QProgressBar(footer);
  progressBar_->setObjectName(QStringLiteral("progress"));
  progressBar_->setMaximumWidth(160);
  progressBar_->setTextVisible(false);
  progressBar_->hide();
  putBack_ = new QPushButton(tr("Put Back"), footer);
  putBack_->setObjectName(QStringLiteral("putBack"));
  connect(putBack_, &QPushButton::clicked, this, &TrashView::putBackSelected);
  delete_ = new QPushButton(tr("Delete…"), footer);
  delete_->setObjectName(QStringLiteral("delete"));
  connect(delete_, &QPushButton::clicked, this, &TrashView::deleteSelected);
  empty_ = new QPushButton(tr("Empty Trash…"), footer);
  empty_->setObjectName(QStringLiteral("empty"));
  connect(empty_, &QPushButton::clicked, this, &TrashView::emptyTrash);
  auto* layout = new QHBoxLayout(footer);
  layout->setContentsMargins(0, 6, 0, 0);
  layout->addWidget(status_, 1);
  layout->addWidget(progressBar_);
  layout->addWidget(putBack_);
  layout->addWidget(delete_);
  layout->addWidget(empty_);
  return footer;
}

void TrashView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  reload();
}

void TrashView::reload() {
  if (!trash_->busy() && !trash_->loading()) trash_->load();
}

void TrashView::showState(TrashField field) {
  switch (field) {
    case TrashField::busy:
      if (trash_->busy()) {
        progress_->start();
      } else {
        progress_->stop();
      }
      showProgress();
      break;
    case TrashField::sizing:
      if (!trash_->sizing() && trash_->loaded()) saveTotal();
      break;
    case TrashField::loaded:
      if (!trash_->sizing()) saveTotal();
      break;
    default:
      break;
  }
  showSummary();
  showFooter();
}

void TrashView::showSummary() {
  const auto& items = trash_->items();
  if (!trash_->loaded()) {
    summary_->setText(tr("Looking in the Trash…"));
  } else if (items.empty()) {
    summary_->setText(tr("The Trash is empty."));
  } else {
    QString line = tr("%1, %2").arg(itemCount(items.size()), text(byteFormatter(trash_->total())));
    if (trash_->sizing()) line += tr(" · measuring folders…");
    summary_->setText(line);
  }
  note_->setVisible(trash_->denied());
  if (trash_->denied()) note_->setText(tr("Tidewarden can't read your Trash folder, so it may hold more than shown."));
}

void TrashView::showFooter() {
  const bool busy = trash_->busy();
  const auto selected = trash_->selectedItems();
  putBack_->setEnabled(!busy && !selected.empty());
  delete_->setEnabled(!busy && !selected.empty());
  empty_->setEnabled(!busy && !trash_->items().empty());
  list_->setEnabled(!busy);
  search_->setEnabled(!busy);
  progressBar_->setVisible(busy);
  if (busy) return;  // the progress owns the line while an operation runs
  if (!selected.empty()) {
    status_->setText(tr("%1 selected, %2").arg(itemCount(selected.size()), text(byteFormatter(sizeOf(selected)))));
  } else {
    status_->setText(trash_->message() ? text(*trash_->message()) : QString());
  }
}

void TrashView::showProgress() {
  if (!trash_->busy()) return;
  const auto total = trash_->progressTotal();
  progressBar_->setRange(0, static_cast<int>(std::max<std::int64_t>(total, 0)));
  progressBar_->setValue(static_cast<int>(std::min(trash_->progress(), total)));
  status_->setText(total > 0 ? tr("Working… %1 of %2 done").arg(trash_->progress()).arg(total) : tr("Working…"));
}

// Only a change is written: opening the window over an empty Trash leaves the settings alone.
void TrashView::saveTotal() {
  const std::string key(rawValue(Pane::trash));
  const std::int64_t bytes = trash_->total();
  const auto items = static_cast<std::int64_t>(trash_->items().size());
  const auto cached = ScanCache::all(context_);
  const auto known = cached.find(key);
  const bool unchanged =
      known == cached.end() ? bytes == 0 && items == 0 : known->second.bytes == bytes && known->second.items == items;
  if (!unchanged) ScanCache::save(context_, key, bytes, items);
}

// The row under the pointer's own actions, whatever is ticked.
void TrashView::showRowMenu(const QPoint& position) {
  const TrashItem* row = model_->itemAt(list_->indexAt(position).row());
  if (!row || trash_->busy()) return;
  const TrashItem item = *row;  // the list may be rebuilt while the menu is open
  auto* menu = new QMenu(this);
  menu->setObjectName(QStringLiteral("rowMenu"));
  menu->setAttribute(Qt::WA_DeleteOnClose);
  QAction* putBack = menu->addAction(tr("Put Back"), this, [this, item] { trash_->putBack({item}); });
  putBack->setEnabled(item.origin.has_value());
  menu->addAction(tr("Delete…"), this, [this, item] {
    confirmAndDelete(tr("Delete “%1” for good?").arg(text(item.name)), tr("Delete"), {item});
  });
  menu->addSeparator();
  QAction* copy = menu->addAction(tr("Copy Original Location"), this, [item] {
    QGuiApplication::clipboard()->setText(text(item.origin.value_or(std::string())));
  });
  copy->setEnabled(item.origin.has_value());
  menu->popup(list_->viewport()->mapToGlobal(position));
}

void TrashView::putBackSelected() {
  auto items = trash_->selectedItems();
  if (items.empty() || trash_->busy()) return;
  trash_->putBack(std::move(items));
}

void TrashView::deleteSelected() {
  auto items = trash_->selectedItems();
  if (items.empty() || trash_->busy()) return;
  const QString what = items.size() == 1 ? tr("Delete “%1” for good?").arg(text(items.front().name))
                                         : tr("Delete %1 for good?").arg(itemCount(items.size()));
  confirmAndDelete(what, tr("Delete"), std::move(items));
}

void TrashView::emptyTrash() {
  auto items = trash_->items();
  if (items.empty() || trash_->busy()) return;
  confirmAndDelete(tr("Empty the Trash? %1 will be deleted for good.").arg(itemCount(items.size())), tr("Empty Trash"),
                   std::move(items));
}

void TrashView::confirmAndDelete(const QString& question, const QString& action, std::vector<TrashItem> items) {
  QMessageBox box(QMessageBox::Warning, tr("Delete for good"), question, QMessageBox::NoButton, this);
  box.setObjectName(QStringLiteral("confirmDelete"));
  box.setInformativeText(tr("%1 will be freed. This can't be undone.").arg(text(byteFormatter(sizeOf(items)))));
  QPushButton* confirm = box.addButton(action, QMessageBox::DestructiveRole);
  confirm->setObjectName(QStringLiteral("confirm"));
  QPushButton* cancel = box.addButton(QMessageBox::Cancel);
  cancel->setObjectName(QStringLiteral("cancel"));
  box.setDefaultButton(cancel);
  box.exec();
  if (box.clickedButton() != confirm) return;
  // Asked once the list is back, from the event loop rather than inside the model's notice.
  trash_->deleteItems(std::move(items), [this] { QTimer::singleShot(0, this, &TrashView::offerAdministratorRetry); });
}

void TrashView::offerAdministratorRetry() {
  const auto count = trash_->needsAdmin().size();
  if (count == 0) return;
  QMessageBox box(QMessageBox::Question, tr("Administrator rights needed"),
                  tr("%1 can only be deleted with administrator rights.").arg(itemCount(count)), QMessageBox::NoButton,
                  this);
  box.setObjectName(QStringLiteral("confirmAdmin"));
  box.setInformativeText(tr("You will be asked for your password once."));
  QPushButton* confirm = box.addButton(tr("Delete as Administrator"), QMessageBox::AcceptRole);
  confirm->setObjectName(QStringLiteral("confirm"));
  QPushButton* cancel = box.addButton(QMessageBox::Cancel);
  cancel->setObjectName(QStringLiteral("cancel"));
  box.setDefaultButton(cancel);
  box.exec();
  if (box.clickedButton() == confirm) trash_->deleteWithAdmin();
}

}  // namespace tw::app
