#include "app/settings_window.h"

#include <algorithm>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/labels.h"
#include "automation/login_item.h"
#include "automation/prefs.h"
#include "core/platform_words.h"
#include "core/settings.h"
#include "fs/path.h"
#include "updates/updates.h"

namespace tw::app {
namespace {

constexpr int pathRole = Qt::UserRole;

QString text(const std::string& value) { return QString::fromStdString(value); }

// A control with the words around it on one line: "Warn below [20] GB".
QWidget* inLine(const QString& before, QWidget* control, QWidget* parent) {
  auto* line = new QWidget(parent);
  auto* layout = new QHBoxLayout(line);
  layout->setContentsMargins(0, 0, 0, 0);
  if (!before.isEmpty()) layout->addWidget(new QLabel(before, line));
  layout->addWidget(control);
  layout->addStretch(1);
  return line;
}

}  // namespace

SettingsWindow::SettingsWindow(Context context, QWidget* parent) : QDialog(parent), context_(std::move(context)) {
  setObjectName(QStringLiteral("settings"));
  setWindowTitle(tr("Tidewarden Settings"));
  // The keys' defaults come from the one place that registers them for every part.
  Prefs::registerDefaults(*context_.settings);
  context_.settings->registerDefaults(Updates::defaults());

  damage_ = new QLabel(this);
  damage_->setObjectName(QStringLiteral("damage"));
  damage_->setWordWrap(true);
  damage_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  damage_->setAutoFillBackground(true);
  damage_->setMargin(8);
  QPalette warning = damage_->palette();
  warning.setColor(QPalette::Window, QColor(0xc6, 0x28, 0x28));
  warning.setColor(QPalette::WindowText, Qt::white);
  damage_->setPalette(warning);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(damage_);
  layout->addWidget(makeStatusIconSection());
  layout->addWidget(makeLowSpaceSection());
  layout->addWidget(makeRulesSection());
  layout->addWidget(makeRootsSection(), 1);
  layout->addWidget(makeLoginSection());
  layout->addWidget(buttons);
  reload();
  // Tall enough for every section, the damage notice included, without squeezing a row.
  resize(560, std::max(720, minimumSizeHint().height() + 60));
}

QCheckBox* SettingsWindow::addSwitch(const char* key, const QString& label) {
  auto* box = new QCheckBox(label, this);
  box->setObjectName(QLatin1String(key));
  connect(box, &QCheckBox::toggled, this, [this, key](bool on) {
    context_.settings->set(key, on);
    showDependencies();
  });
  switches_.emplace_back(box, key);
  editors_.push_back(box);
  return box;
}

QSpinBox* SettingsWindow::addNumber(const char* key, int minimum, int maximum, const QString& suffix) {
  auto* number = new QSpinBox(this);
  number->setObjectName(QLatin1String(key));
  number->setRange(minimum, maximum);
  number->setSuffix(suffix);
  number->setAccessibleName(QLatin1String(key));
  connect(number, &QSpinBox::valueChanged, this, [this, key](int value) { context_.settings->set(key, value); });
  numbers_.emplace_back(number, key);
  editors_.push_back(number);
  return number;
}

QWidget* SettingsWindow::makeStatusIconSection() {
  auto* section = new QGroupBox(tr("Status icon"), this);
  auto* layout = new QVBoxLayout(section);
  const QString place = text(platformWords().statusArea);
  layout->addWidget(addSwitch(Prefs::menuBarEnabled, tr("Show Tidewarden in %1").arg(place)));
  layout->addWidget(addSwitch(Prefs::menuBarShowsFree, tr("Show the free space next to its icon")));
  return section;
}

QWidget* SettingsWindow::makeLowSpaceSection() {
  auto* section = new QGroupBox(tr("Low space"), this);
  auto* layout = new QVBoxLayout(section);
  layout->addWidget(addSwitch(Prefs::lowSpaceAlert, tr("Warn me when the start-up disk runs low")));
  layout->addWidget(inLine(tr("Warn below"), addNumber(Prefs::lowSpaceGB, 1, 100'000, tr(" GB")), section));
  return section;
}

QWidget* SettingsWindow::makeRulesSection() {
  auto* section = new QGroupBox(tr("Automatic cleanup"), this);
  auto* layout = new QVBoxLayout(section);
  layout->addWidget(
      quietLabel(tr("While Tidewarden runs, it removes these on its own and lists them in the History."), section));
  layout->addWidget(addSwitch(Prefs::ruleSmartClean, tr("Empty the safe Smart Clean categories")));
  layout->addWidget(addSwitch(Prefs::ruleDerivedData, tr("Remove Xcode's DerivedData")));
  auto* leftovers = addSwitch(Prefs::ruleProjectLeftovers, tr("Remove build artifacts of projects untouched for"));
  auto* leftoverDays = addNumber(Prefs::ruleProjectLeftoverDays, 1, 3650, tr(" days"));
  auto* leftoverLine = new QWidget(section);
  auto* leftoverLayout = new QHBoxLayout(leftoverLine);
  leftoverLayout->setContentsMargins(0, 0, 0, 0);
  leftoverLayout->addWidget(leftovers);
  leftoverLayout->addWidget(leftoverDays);
  leftoverLayout->addStretch(1);
  layout->addWidget(leftoverLine);
  layout->addWidget(addSwitch(Prefs::ruleMergedWorktrees, tr("Remove git worktrees whose branch is merged")));
  layout->addWidget(inLine(tr("Run them every"), addNumber(Prefs::ruleIntervalDays, 1, 365, tr(" days")), section));
  return section;
}

QWidget* SettingsWindow::makeRootsSection() {
  auto* section = new QGroupBox(tr("Project roots"), this);
  roots_ = new QListWidget(section);
  roots_->setObjectName(QStringLiteral("projectRoots"));
  roots_->setAccessibleName(tr("Project roots"));
  roots_->setMinimumHeight(90);
  roots_->setStyleSheet(QStringLiteral("QListWidget#projectRoots::item { padding: 3px 2px; }"));
  auto* add = new QPushButton(tr("Add Folder…"), section);
  add->setObjectName(QStringLiteral("addProjectRoot"));
  removeRoot_ = new QPushButton(tr("Remove"), section);
  removeRoot_->setObjectName(QStringLiteral("removeProjectRoot"));
  connect(add, &QPushButton::clicked, this, &SettingsWindow::chooseProjectRoot);
  connect(removeRoot_, &QPushButton::clicked, this, &SettingsWindow::removeProjectRoot);
  connect(roots_, &QListWidget::currentRowChanged, this, &SettingsWindow::showDependencies);
  editors_.push_back(roots_);
  editors_.push_back(add);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(add);
  buttons->addWidget(removeRoot_);
  buttons->addStretch(1);
  auto* layout = new QVBoxLayout(section);
  layout->addWidget(quietLabel(
      tr("The folders where the developer screens look for projects. With none chosen, your home folder."), section));
  layout->addWidget(roots_, 1);
  layout->addLayout(buttons);
  return section;
}

QWidget* SettingsWindow::makeLoginSection() {
  auto* section = new QGroupBox(tr("Start-up"), this);
  login_ = new QCheckBox(tr("Open Tidewarden at login"), section);
  login_->setObjectName(QStringLiteral("openAtLogin"));
  loginProblem_ = new QLabel(section);
  loginProblem_->setObjectName(QStringLiteral("loginProblem"));
  loginProblem_->setWordWrap(true);
  loginProblem_->hide();
  connect(login_, &QCheckBox::toggled, this, &SettingsWindow::setOpenAtLogin);
  // Off until chosen: the check asks the release feed once a day and sends nothing else.
  auto* updates = addSwitch(Updates::enabledKey, tr("Check once a day whether a newer Tidewarden exists"));
  auto* layout = new QVBoxLayout(section);
  layout->addWidget(login_);
  layout->addWidget(loginProblem_);
  layout->addWidget(updates);
  return section;
}

void SettingsWindow::showEvent(QShowEvent* event) {
  reload();
  QDialog::showEvent(event);
}

void SettingsWindow::reload() {
  Settings& settings = *context_.settings;
  for (const auto& [box, key] : switches_) {
    const QSignalBlocker quiet(box);
    box->setChecked(settings.boolean(key));
  }
  for (const auto& [number, key] : numbers_) {
    const QSignalBlocker quiet(number);
    number->setValue(
        static_cast<int>(std::clamp<std::int64_t>(settings.integer(key), number->minimum(), number->maximum())));
  }
  roots_->clear();
  for (const auto& root : DevSettings::configuredProjectRoots(settings)) {
    auto* row = new QListWidgetItem(text(tildePath(root, context_.home)), roots_);
    row->setData(pathRole, text(root));
    row->setToolTip(text(root));
  }
  {
    const QSignalBlocker quiet(login_);
    login_->setChecked(LoginItem::isOn(context_));
  }

  const auto damage = settings.damage();
  damage_->setVisible(damage.has_value());
  if (damage) {
    damage_->setText(tr("Your settings file can't be used (%1), so Tidewarden runs with the defaults and leaves the "
                        "file as it is. Nothing here can be changed until you repair or delete it:\n%2")
                         .arg(text(*damage), text(settings.path())));
  }
  for (QWidget* editor : editors_) editor->setEnabled(!damage);
  showDependencies();
}

// Controls that only mean something while the switch above them is on are shown dimmed.
void SettingsWindow::showDependencies() {
  if (context_.settings->damage()) {
    removeRoot_->setEnabled(false);
    return;
  }
  const auto on = [this](const char* key) { return findChild<QCheckBox*>(QLatin1String(key))->isChecked(); };
  findChild<QCheckBox*>(QLatin1String(Prefs::menuBarShowsFree))->setEnabled(on(Prefs::menuBarEnabled));
  findChild<QSpinBox*>(QLatin1String(Prefs::lowSpaceGB))->setEnabled(on(Prefs::lowSpaceAlert));
  findChild<QSpinBox*>(QLatin1String(Prefs::ruleProjectLeftoverDays))->setEnabled(on(Prefs::ruleProjectLeftovers));
  findChild<QSpinBox*>(QLatin1String(Prefs::ruleIntervalDays))
      ->setEnabled(on(Prefs::ruleSmartClean) || on(Prefs::ruleDerivedData) || on(Prefs::ruleProjectLeftovers) ||
                   on(Prefs::ruleMergedWorktrees));
  removeRoot_->setEnabled(roots_->currentRow() >= 0);
}

void SettingsWindow::chooseProjectRoot() {
  const QString folder = QFileDialog::getExistingDirectory(this, tr("Add a Project Root"), text(context_.home));
  if (!folder.isEmpty()) addProjectRoot(folder);
}

void SettingsWindow::addProjectRoot(const QString& folder) {
  const QString path = QDir::cleanPath(QDir(folder).absolutePath());
  for (int row = 0; row < roots_->count(); ++row) {
    if (roots_->item(row)->data(pathRole).toString() == path) return;
  }
  auto* row = new QListWidgetItem(text(tildePath(path.toStdString(), context_.home)), roots_);
  row->setData(pathRole, path);
  row->setToolTip(path);
  saveProjectRoots();
}

void SettingsWindow::removeProjectRoot() {
  delete roots_->takeItem(roots_->currentRow());
  saveProjectRoots();
}

void SettingsWindow::saveProjectRoots() {
  nlohmann::json roots = nlohmann::json::array();
  for (int row = 0; row < roots_->count(); ++row)
    roots.push_back(roots_->item(row)->data(pathRole).toString().toStdString());
  // No roots at all means the home folder again, which only an absent key says.
  if (roots.empty()) {
    context_.settings->remove(DevSettings::projectRootsKey);
  } else {
    context_.settings->set(DevSettings::projectRootsKey, std::move(roots));
  }
  showDependencies();
}

void SettingsWindow::setOpenAtLogin(bool on) {
  const auto problem = LoginItem::set(context_, on);
  loginProblem_->setVisible(problem.has_value());
  if (!problem) return;
  loginProblem_->setText(text(*problem));
  const QSignalBlocker quiet(login_);
  login_->setChecked(LoginItem::isOn(context_));
}

}  // namespace tw::app
