#include "app/roots_bar.h"

#include <algorithm>

#include <QCheckBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>

#include "app/advisor_sheet.h"
#include "app/qt_dispatcher.h"
#include "core/settings.h"
#include "fs/path.h"

namespace tw::app {
namespace {

QString qstring(const std::string& text) { return QString::fromStdString(text); }

// One root: its folder (the home folder written as ~) and a button that removes it.
QWidget* makeChip(const std::string& folder, const std::string& home, RootsBar* bar) {
  auto* chip = new QFrame(bar);
  chip->setObjectName(QStringLiteral("rootChip"));
  chip->setFrameShape(QFrame::StyledPanel);
  chip->setToolTip(qstring(folder));
  auto* label = new QLabel(qstring(tildePath(folder, home)), chip);
  auto* remove = new QToolButton(chip);
  remove->setObjectName(QStringLiteral("removeRoot"));
  remove->setText(QStringLiteral("×"));
  remove->setAutoRaise(true);
  remove->setAccessibleName(RootsBar::tr("Remove %1 from the project folders").arg(qstring(folder)));
  remove->setToolTip(remove->accessibleName());
  QObject::connect(remove, &QToolButton::clicked, bar, [bar, folder] { bar->removeRoot(folder); });
  auto* layout = new QHBoxLayout(chip);
  layout->setContentsMargins(6, 0, 0, 0);
  layout->setSpacing(2);
  layout->addWidget(label);
  layout->addWidget(remove);
  return chip;
}

}  // namespace

RootsBar::RootsBar(DevScreen::Bar bar, std::shared_ptr<DevPane> pane, QWidget* parent)
    : QWidget(parent), pane_(std::move(pane)) {
  setObjectName(QStringLiteral("rootsBar"));
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(4, 0, 4, 4);
  layout->addWidget(new QLabel(tr("Project folders:"), this));
  chips_ = new QHBoxLayout;
  chips_->setSpacing(4);
  layout->addLayout(chips_);
  auto* add = new QPushButton(tr("Add Folder…"), this);
  add->setObjectName(QStringLiteral("addRoot"));
  connect(add, &QPushButton::clicked, this, &RootsBar::chooseFolder);
  layout->addWidget(add);
  layout->addStretch(1);
  if (bar == DevScreen::Bar::roots || bar == DevScreen::Bar::rootsAdvisor) {
    staleOnly_ = new QCheckBox(tr("Only projects untouched 30+ days"), this);
    staleOnly_->setObjectName(QStringLiteral("staleOnly"));
    staleOnly_->setChecked(pane_->staleOnly());
    connect(staleOnly_, &QCheckBox::toggled, this, [this](bool on) { pane_->setStaleOnly(on); });
    layout->addWidget(staleOnly_);
  }
  if (bar == DevScreen::Bar::rootsAdvisor) {
    auto* advisor = new QPushButton(tr("Package manager advisor"), this);
    advisor->setObjectName(QStringLiteral("advisor"));
    connect(advisor, &QPushButton::clicked, this, [this] {
      auto* sheet = new AdvisorSheet(pane_->context(), this);
      sheet->setAttribute(Qt::WA_DeleteOnClose);
      sheet->open();
    });
    layout->addWidget(advisor);
  }
  showRoots();
  // The command line or the settings window may change the roots while this bar shows.
  QPointer<RootsBar> self(this);
  const Dispatcher post = qtDispatcher();
  settingsToken_ = pane_->context().settings->observe([self, post](const Settings::Change& change) {
    if (!change.keys.contains(DevSettings::projectRootsKey)) return;
    post([self] {
      if (self) self->showRoots();
    });
  });
}

RootsBar::~RootsBar() { pane_->context().settings->unobserve(settingsToken_); }

void RootsBar::showRoots() {
  while (QLayoutItem* item = chips_->takeAt(0)) {
    delete item->widget();
    delete item;
  }
  const auto& context = pane_->context();
  for (const auto& folder : DevSettings::projectRoots(context)) chips_->addWidget(makeChip(folder, context.home, this));
}

void RootsBar::chooseFolder() {
  const QString folder =
      QFileDialog::getExistingDirectory(this, tr("Add a Project Folder"), qstring(pane_->context().home));
  if (!folder.isEmpty()) addRoot(folder.toStdString());
}

void RootsBar::addRoot(const std::string& folder) {
  auto roots = DevSettings::configuredProjectRoots(*pane_->context().settings);
  if (std::find(roots.begin(), roots.end(), folder) != roots.end()) return;
  roots.push_back(folder);
  saveRoots(roots);
}

void RootsBar::removeRoot(const std::string& folder) {
  auto roots = DevSettings::projectRoots(pane_->context());
  std::erase(roots, folder);
  saveRoots(roots);
}

// No roots left means the home folder again, as when none was ever chosen.
void RootsBar::saveRoots(const std::vector<std::string>& roots) {
  auto& settings = *pane_->context().settings;
  if (roots.empty()) {
    settings.remove(DevSettings::projectRootsKey);
  } else {
    settings.set(DevSettings::projectRootsKey, roots);
  }
  showRoots();
  if (pane_->busy()) return;  // its own load follows the run
  // A load already running read the old roots: another one follows it.
  const bool running = pane_->loading();
  pane_->load([weak = std::weak_ptr<DevPane>(pane_), running] {
    if (auto pane = weak.lock(); pane && running) pane->load();
  });
}

}  // namespace tw::app
