#include "app/lens_view.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/breadcrumb_bar.h"
#include "app/confirm_removal.h"
#include "app/labels.h"
#include "app/lens_changes.h"
#include "app/lens_children_model.h"
#include "app/reveal.h"
#include "app/treemap_widget.h"
#include "core/action_description.h"
#include "core/format.h"
#include "fs/path.h"

namespace tw::app {
namespace {

QString qstring(const std::string& text) { return QString::fromStdString(text); }

DevItem confirmationItem(const FSNode& node) {
  DevItem item;
  item.name = node.name;
  item.size = node.size;
  item.freeable = node.freeable;
  item.action = DevAction::trash({node.path()});
  return item;
}

}  // namespace

LensView::LensView(const Context& context, Dispatcher dispatcher, QWidget* parent)
    : QWidget(parent), home_(context.home), model_(context, std::move(dispatcher)), folder_(context.home) {
  setObjectName(QStringLiteral("lens"));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(makeHeader());
  explorer_ = makeExplorer();
  layout->addWidget(explorer_, 1);
  empty_ = new QLabel(this);
  empty_->setObjectName(QStringLiteral("lensEmpty"));
  empty_->setAlignment(Qt::AlignCenter);
  empty_->setWordWrap(true);
  empty_->setForegroundRole(QPalette::PlaceholderText);
  layout->addWidget(empty_, 1);
  changes_ = new LensChanges(home_, this);
  layout->addWidget(changes_);
  layout->addWidget(makeFooter());

  progress_ = new QTimer(this);
  progress_->setInterval(100);
  connect(progress_, &QTimer::timeout, this, &LensView::showProgress);
  connect(&model_, &LensModel::scanningChanged, this, &LensView::showScanning);
  connect(&model_, &LensModel::messageChanged, this, &LensView::showScanning);
  connect(&model_, &LensModel::currentChanged, this, &LensView::showFolder);
  connect(&model_, &LensModel::treeChanged, this, [this] {
    if (!model_.scanning() && model_.root()) changes_->showComparison(model_.comparison());
    showFolder();
  });
  connect(&model_, &LensModel::movingChanged, this, &LensView::showSelection);
  connect(crumbs_, &BreadcrumbBar::chosen, &model_, &LensModel::open);
  connect(map_, &TreemapWidget::openRequested, &model_, &LensModel::open);
  connect(map_, &TreemapWidget::picked, this, [this](const FSNode* node, bool adding) {
    std::set<const FSNode*> nodes = adding ? selected_ : std::set<const FSNode*>{};
    if (adding && nodes.contains(node)) {
      nodes.erase(node);
    } else {
      nodes.insert(node);
    }
    select(nodes);
  });
  map_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(map_, &TreemapWidget::customContextMenuRequested, this, [this](const QPoint& position) {
    const LensTile* tile = map_->tileAt(position);
    if (tile && tile->node) showMenu(tile->node, map_->mapToGlobal(position));
  });
  connect(changes_, &LensChanges::openRequested, this, [this](const std::string& path) { model_.openPath(path); });
  addKeys();
  setFolder(folder_);
  showScanning();
  showFolder();
}

// The tree goes with the model, before the child widgets that show it: they let go of it first.
LensView::~LensView() {
  progress_->stop();
  map_->setFolder(nullptr);
  children_->setFolder(nullptr);
  crumbs_->setFolder(nullptr);
}

QWidget* LensView::makeHeader() {
  auto* header = new QWidget(this);
  path_ = new QLineEdit(header);
  path_->setObjectName(QStringLiteral("lensFolder"));
  path_->setAccessibleName(tr("Folder to scan"));
  path_->setReadOnly(true);
  choose_ = new QPushButton(tr("Choose Folder…"), header);
  choose_->setObjectName(QStringLiteral("chooseFolder"));
  connect(choose_, &QPushButton::clicked, this, &LensView::chooseFolder);
  scan_ = new QPushButton(tr("Scan"), header);
  scan_->setObjectName(QStringLiteral("scan"));
  scan_->setDefault(true);
  connect(scan_, &QPushButton::clicked, this, &LensView::scan);
  cancel_ = new QPushButton(tr("Cancel"), header);
  cancel_->setObjectName(QStringLiteral("cancelScan"));
  connect(cancel_, &QPushButton::clicked, &model_, &LensModel::cancel);
  status_ = new QLabel(header);
  status_->setObjectName(QStringLiteral("lensStatus"));
  status_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  auto* controls = new QHBoxLayout;
  controls->addWidget(path_, 1);
  controls->addWidget(choose_);
  controls->addWidget(scan_);
  controls->addWidget(cancel_);
  auto* layout = new QVBoxLayout(header);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(titleLabel(tr("Space Lens"), header));
  layout->addWidget(quietLabel(tr("What fills a folder, as a map of its biggest parts. Click a folder to open it; "
                                  "Backspace goes back up."),
                               header));
  layout->addLayout(controls);
  layout->addWidget(status_);
  return header;
}

QWidget* LensView::makeExplorer() {
  auto* explorer = new QWidget(this);
  crumbs_ = new BreadcrumbBar(home_, explorer);
  map_ = new TreemapWidget(explorer);
  children_ = new LensChildrenModel(this);
  list_ = new QTreeView(explorer);
  list_->setObjectName(QStringLiteral("lensChildren"));
  list_->setAccessibleName(tr("What the folder holds"));
  list_->setModel(children_);
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->header()->setStretchLastSection(false);
  list_->header()->setSectionResizeMode(LensChildrenModel::nameColumn, QHeaderView::Stretch);
  for (const int column :
       {LensChildrenModel::sizeColumn, LensChildrenModel::realColumn, LensChildrenModel::itemsColumn}) {
    list_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
  }
  connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &LensView::selectFromList);
  connect(list_, &QTreeView::activated, this, &LensView::openFromList);
  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(list_, &QTreeView::customContextMenuRequested, this, [this](const QPoint& position) {
    if (const FSNode* node = children_->nodeAt(list_->indexAt(position).row())) {
      showMenu(node, list_->viewport()->mapToGlobal(position));
    }
  });

  auto* splitter = new QSplitter(explorer);
  splitter->addWidget(map_);
  splitter->addWidget(list_);
  splitter->setStretchFactor(0, 3);
  splitter->setStretchFactor(1, 2);
  splitter->setChildrenCollapsible(false);
  auto* measure = new QComboBox(explorer);
  measure->setObjectName(QStringLiteral("mapMeasure"));
  measure->setAccessibleName(tr("Map by"));
  measure->addItem(tr("Map by size"), static_cast<int>(LensMeasure::size));
  measure->addItem(tr("Map by real size"), static_cast<int>(LensMeasure::real));
  measure->setToolTip(tr("Real size is what deleting would give back: shared blocks and hard links excluded."));
  connect(measure, &QComboBox::currentIndexChanged, this,
          [this, measure] { map_->setMeasure(static_cast<LensMeasure>(measure->currentData().toInt())); });
  auto* bar = new QHBoxLayout;
  bar->addWidget(crumbs_, 1);
  bar->addWidget(measure);
  auto* layout = new QVBoxLayout(explorer);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addLayout(bar);
  layout->addWidget(splitter, 1);
  return explorer;
}

QWidget* LensView::makeFooter() {
  auto* footer = new QWidget(this);
  chosen_ = new QLabel(footer);
  chosen_->setObjectName(QStringLiteral("lensSelection"));
  reveal_ = new QPushButton(tr("Reveal in File Manager"), footer);
  reveal_->setObjectName(QStringLiteral("reveal"));
  connect(reveal_, &QPushButton::clicked, this, [this] {
    const auto nodes = selection();
    if (!nodes.empty()) revealInFileManager(qstring(nodes.front()->path()));
  });
  copy_ = new QPushButton(tr("Copy Path"), footer);
  copy_->setObjectName(QStringLiteral("copyPath"));
  connect(copy_, &QPushButton::clicked, this, [this] { copyPaths(selection()); });
  trash_ = new QPushButton(tr("Move to Trash"), footer);
  trash_->setObjectName(QStringLiteral("moveToTrash"));
  connect(trash_, &QPushButton::clicked, this, &LensView::moveSelectedToTrash);
  auto* layout = new QHBoxLayout(footer);
  layout->setContentsMargins(4, 8, 4, 4);
  layout->addWidget(chosen_, 1);
  layout->addWidget(reveal_);
  layout->addWidget(copy_);
  layout->addWidget(trash_);
  return footer;
}

// The folder itself, or the folder a file is in.
void LensView::copyPaths(const std::vector<const FSNode*>& nodes) {
  QStringList paths;
  for (const FSNode* node : nodes) paths << qstring(node->path());
  QApplication::clipboard()->setText(paths.join(QLatin1Char('\n')));
}

// Right-clicking an entry chooses it (unless it is already among the chosen) and offers
// what the footer offers, with Open for a folder. The menu works on what is chosen when an
// item is picked, as a scan may end while it is open.
void LensView::showMenu(const FSNode* node, const QPoint& globalPosition) {
  if (!selected_.contains(node)) select({node});
  QMenu menu(this);
  const std::string path = node->path();
  if (node->isDir) menu.addAction(tr("Open"), this, [this, path] { model_.openPath(path); });
  menu.addAction(tr("Reveal in File Manager"), reveal_, &QPushButton::click);
  menu.addAction(tr("Copy Path"), copy_, &QPushButton::click);
  menu.addSeparator();
  menu.addAction(tr("Move to Trash…"), trash_, &QPushButton::click)->setEnabled(trash_->isEnabled());
  menu.exec(globalPosition);
}

void LensView::addKeys() {
  auto* up = new QAction(tr("Up"), this);
  up->setShortcut(QKeySequence(Qt::Key_Backspace));
  up->setShortcutContext(Qt::WidgetWithChildrenShortcut);
  connect(up, &QAction::triggered, &model_, &LensModel::up);
  addAction(up);
  auto* trash = new QAction(tr("Move to Trash"), this);
  trash->setShortcut(QKeySequence::Delete);
  trash->setShortcutContext(Qt::WidgetWithChildrenShortcut);
  connect(trash, &QAction::triggered, this, &LensView::moveSelectedToTrash);
  addAction(trash);
}

void LensView::setFolder(const std::string& path) {
  folder_ = path;
  path_->setText(qstring(tildePath(path, home_)));
  path_->setToolTip(qstring(path));
}

void LensView::chooseFolder() {
  const QString chosen = QFileDialog::getExistingDirectory(this, tr("Choose a Folder to Scan"), qstring(folder_));
  if (!chosen.isEmpty()) setFolder(chosen.toStdString());
}

void LensView::scan() { model_.scan(folder_); }

void LensView::showScanning() {
  const bool scanning = model_.scanning();
  scan_->setEnabled(!scanning && !model_.moving());
  choose_->setEnabled(!scanning);
  cancel_->setVisible(scanning);
  cancel_->setEnabled(scanning && !model_.cancelling());
  if (scanning) {
    if (!progress_->isActive()) progress_->start();
    showProgress();
  } else {
    progress_->stop();
    status_->setText(qstring(model_.message()));
  }
  showSelection();
}

// Read from the scanner's counters on the timer: items, the folder it is in, the time so far.
void LensView::showProgress() {
  if (!model_.scanning()) return;
  const auto progress = model_.progress();
  const QString where = qstring(tildePath(progress.current.empty() ? model_.scanningPath() : progress.current, home_));
  const QString items = QLocale().toString(static_cast<qlonglong>(progress.items));
  if (model_.cancelling()) {
    status_->setText(tr("Cancelling…"));
  } else {
    status_->setText(tr("Scanning… %1 items · %2 · %3 · %4 s")
                         .arg(items, qstring(byteFormatter(progress.bytes)), where)
                         .arg(progress.seconds, 0, 'f', 1));
  }
  if (!model_.root()) empty_->setText(tr("Scanning %1…").arg(qstring(tildePath(model_.scanningPath(), home_))));
}

void LensView::showFolder() {
  const FSNode* folder = model_.current();
  explorer_->setVisible(folder != nullptr);
  empty_->setVisible(folder == nullptr);
  if (folder == nullptr && !model_.scanning()) {
    empty_->setText(tr("Scan to see what fills %1.").arg(qstring(tildePath(folder_, home_))));
  }
  selected_.clear();
  crumbs_->setFolder(folder);
  map_->setFolder(folder);
  syncing_ = true;
  children_->setFolder(folder);
  syncing_ = false;
  const std::string path = folder ? folder->path() : std::string();
  select(cameFrom(folder, shownPath_));
  shownPath_ = path;
}

// Going up chooses the folder the user came out of, so Enter goes straight back in.
std::set<const FSNode*> LensView::cameFrom(const FSNode* folder, const std::string& before) {
  if (folder == nullptr) return {};
  const std::string prefix = folder->path() == "/" ? "/" : folder->path() + "/";
  if (!before.starts_with(prefix)) return {};
  const std::string rest = before.substr(prefix.size());
  const std::string name = rest.substr(0, rest.find('/'));
  for (const auto& child : folder->children) {
    if (child->name == name) return {child.get()};
  }
  return {};
}

void LensView::select(const std::set<const FSNode*>& nodes) {
  selected_ = nodes;
  map_->setSelection(selected_);
  syncing_ = true;
  QItemSelection rows;
  for (const FSNode* node : selected_) {
    const int row = children_->rowOf(node);
    if (row >= 0) rows.select(children_->index(row, 0), children_->index(row, LensChildrenModel::columns - 1));
  }
  list_->selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
  if (selected_.size() == 1) {
    const int row = children_->rowOf(*selected_.begin());
    list_->selectionModel()->setCurrentIndex(children_->index(row, 0), QItemSelectionModel::NoUpdate);
    list_->scrollTo(children_->index(row, 0));
  }
  syncing_ = false;
  showSelection();
}

void LensView::selectFromList() {
  if (syncing_) return;
  std::set<const FSNode*> nodes;
  for (const QModelIndex& index : list_->selectionModel()->selectedRows()) {
    if (const FSNode* node = children_->nodeAt(index.row())) nodes.insert(node);
  }
  selected_ = nodes;
  map_->setSelection(selected_);
  showSelection();
}

void LensView::openFromList(const QModelIndex& index) {
  const FSNode* node = children_->nodeAt(index.row());
  if (node && node->isDir) model_.open(node);
}

std::vector<const FSNode*> LensView::selection() const {
  std::vector<const FSNode*> nodes;
  // In the list's order, largest first, as the confirmation shows them.
  for (int row = 0; row < children_->rowCount(); ++row) {
    const FSNode* node = children_->nodeAt(row);
    if (node && selected_.contains(node)) nodes.push_back(node);
  }
  return nodes;
}

void LensView::showSelection() {
  const auto nodes = selection();
  std::int64_t bytes = 0;
  for (const FSNode* node : nodes) bytes += node->size;
  if (model_.moving()) {
    chosen_->setText(tr("Moving to the Trash…"));
  } else if (nodes.empty()) {
    chosen_->setText(tr("Nothing selected"));
  } else {
    chosen_->setText(tr("%n selected, %1", nullptr, static_cast<int>(nodes.size())).arg(qstring(byteFormatter(bytes))));
  }
  const bool free = !nodes.empty() && !model_.moving() && !model_.scanning();
  trash_->setEnabled(free);
  reveal_->setEnabled(!nodes.empty());
  copy_->setEnabled(!nodes.empty());
}

void LensView::moveSelectedToTrash() {
  const auto nodes = selection();
  if (nodes.empty() || model_.moving() || model_.scanning()) return;
  std::vector<DevItem> items;
  std::vector<std::string> actions;
  for (const FSNode* node : nodes) {
    items.push_back(confirmationItem(*node));
    actions.push_back(describe(items.back().action, home_));
  }
  ConfirmRemovalDialog dialog(tr("Move to Trash"), items, actions, this);
  if (dialog.exec() != QDialog::Accepted) return;
  // A scan that ended while the dialog was open replaced the tree these entries were in.
  if (selection() != nodes) return;
  model_.moveToTrash(nodes);
}

}  // namespace tw::app
