#include "app/main_window.h"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/history_view.h"
#include "app/lens_view.h"
#include "app/overview_view.h"
#include "app/pane_view.h"
#include "app/qt_dispatcher.h"
#include "app/settings_window.h"
#include "app/sidebar.h"
#include "app/trash_view.h"
#include "app/update_banner.h"
#include "core/version.h"

namespace tw::app {
MainWindow::MainWindow(Context context, Dispatcher dispatcher, QWidget* parent)
    : QMainWindow(parent), context_(std::move(context)), panes_(Screens::makePanes(dispatcher, context_)) {
  setWindowTitle(QStringLiteral("Tidewarden"));
  setObjectName(QStringLiteral("mainWindow"));
  sidebar_ = new Sidebar(context_, panes_, this);
  stack_ = new QStackedWidget(this);
  addViews(dispatcher);

  auto* splitter = new QSplitter(this);
  splitter->addWidget(sideColumn());
  splitter->addWidget(stack_);
  splitter->setStretchFactor(1, 1);
  splitter->setSizes({230, 770});
  splitter->setChildrenCollapsible(false);
  updates_ = new UpdateBanner(context_, this);
  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(updates_);
  layout->addWidget(splitter, 1);
  setCentralWidget(central);
  resize(1000, 680);

  connect(sidebar_, &Sidebar::chosen, this, [this](Pane pane) { showPane(pane); });
  sidebar_->choose(Pane::overview);
  addShortcuts();
}

// Ctrl+1 to Ctrl+9 open the first nine destinations in sidebar order; Ctrl+R rescans the
// list on screen; Ctrl+, opens the settings; Ctrl+Q quits.
void MainWindow::addShortcuts() {
  std::vector<Pane> order;
  for (const auto& section : sidebarSections()) {
    for (const auto& destination : section.destinations) order.push_back(destination.pane);
  }
  for (std::size_t index = 0; index < 9 && index < order.size(); ++index) {
    auto* open = new QAction(this);
    open->setShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(index))));
    connect(open, &QAction::triggered, this, [this, pane = order[index]] { showPane(pane); });
    addAction(open);
  }
  auto* rescan = new QAction(tr("Rescan"), this);
  rescan->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
  connect(rescan, &QAction::triggered, this, [this] {
    if (auto* list = qobject_cast<PaneView*>(stack_->currentWidget())) list->rescan();
  });
  addAction(rescan);
  auto* settings = new QAction(tr("Settings…"), this);
  settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
  connect(settings, &QAction::triggered, this, &MainWindow::openSettings);
  addAction(settings);
  auto* quit = new QAction(tr("Quit"), this);
  quit->setShortcut(QKeySequence::Quit);
  connect(quit, &QAction::triggered, qApp, &QApplication::quit);
  addAction(quit);
}

// The sidebar with the way to the settings below it.
QWidget* MainWindow::sideColumn() {
  auto* column = new QWidget(this);
  auto* open = new QPushButton(tr("Settings…"), column);
  open->setObjectName(QStringLiteral("openSettings"));
  open->setToolTip(tr("Settings (Ctrl+,)"));
  open->setFlat(true);
  connect(open, &QPushButton::clicked, this, &MainWindow::openSettings);
  auto* about = new QPushButton(tr("About"), column);
  about->setObjectName(QStringLiteral("openAbout"));
  about->setFlat(true);
  connect(about, &QPushButton::clicked, this, &MainWindow::showAbout);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(open);
  buttons->addWidget(about);
  buttons->addStretch(1);
  auto* layout = new QVBoxLayout(column);
  layout->setContentsMargins(0, 0, 0, 6);
  layout->setSpacing(6);
  layout->addWidget(sidebar_, 1);
  layout->addLayout(buttons);
  return column;
}

void MainWindow::showAbout() {
  auto* about = new QMessageBox(this);
  about->setObjectName(QStringLiteral("about"));
  about->setAttribute(Qt::WA_DeleteOnClose);
  about->setWindowTitle(tr("About Tidewarden"));
  about->setIconPixmap(windowIcon().pixmap(64));
  about->setTextFormat(Qt::RichText);
  const QString site = QString::fromUtf8(homepage.data(), static_cast<int>(homepage.size()));
  about->setText(tr("<b>Tidewarden %1</b>").arg(QString::fromUtf8(version.data(), static_cast<int>(version.size()))));
  about->setInformativeText(
      tr("Finds the space that development work leaves behind and gives it back, logging every removal.") +
      (site.isEmpty() ? QString() : QStringLiteral("<br><a href=\"%1\">%1</a>").arg(site.toHtmlEscaped())));
  about->open();
}

void MainWindow::checkForUpdates(const HttpsFetchOptions& options) { updates_->check(options); }

void MainWindow::openSettings() {
  if (!settings_) settings_ = new SettingsWindow(context_, this);
  settings_->show();
  settings_->raise();
  settings_->activateWindow();
}

// The views go before the panes they observe; the panes then cancel and join their work.
MainWindow::~MainWindow() { delete takeCentralWidget(); }

void MainWindow::addViews(const Dispatcher& dispatcher) {
  const auto add = [this](Pane pane, QWidget* view) {
    stack_->addWidget(view);
    views_[pane] = view;
  };
  auto* overview = new OverviewView(context_, panes_, stack_);
  connect(overview, &OverviewView::openPane, this, [this](Pane pane) { showPane(pane); });
  add(Pane::overview, overview);
  add(Pane::lens, new LensView(context_, dispatcher, stack_));
  add(Pane::trash, new TrashView(context_, std::make_shared<TrashModel>(dispatcher, context_), stack_));
  add(Pane::history, new HistoryView(context_, stack_));
  for (const auto& screen : Screens::all()) add(screen.pane, new PaneView(screen, panes_.at(screen.pane), stack_));
}

void MainWindow::showPane(Pane pane) {
  QWidget* view = views_.at(pane);
  stack_->setCurrentWidget(view);
  sidebar_->choose(pane);
  if (auto* list = qobject_cast<PaneView*>(view)) list->showFirstTime();
}

}  // namespace tw::app
