#include "app/onboarding.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/code_folders.h"
#include "app/labels.h"
#include "core/settings.h"
#include "fs/path.h"

namespace tw::app {
namespace {

constexpr int pathRole = Qt::UserRole;

QString text(const std::string& value) { return QString::fromStdString(value); }

}  // namespace

bool Onboarding::needed(const Context& context) {
  if (context.env.contains("TIDEWARDEN_ONBOARDING")) return true;
  if (context.sampleData || !context.settings) return false;
  // A damaged file may well hold roots; what it holds is the user's to repair.
  return !context.settings->damage() && !context.settings->value(DevSettings::projectRootsKey);
}

Onboarding::Onboarding(Context context, QWidget* parent) : QDialog(parent), context_(std::move(context)) {
  setObjectName(QStringLiteral("onboarding"));
  setWindowTitle(tr("Welcome to Tidewarden"));

  auto* title = titleLabel(tr("Welcome to Tidewarden"), this);
  auto* about = new QLabel(
      tr("Tidewarden finds the space that development work leaves behind: build output and dependencies in your "
         "projects, caches, logs, toolchains, Docker data and more. Nothing is removed until you have seen it listed "
         "and confirmed it, and every removal goes into the History with how to get it back. Tick the folders where "
         "you keep your code, so the project screens know where to look."),
      this);
  about->setObjectName(QStringLiteral("about"));
  about->setWordWrap(true);

  status_ = quietLabel(tr("Looking for folders with code under your home folder…"), this);
  status_->setObjectName(QStringLiteral("status"));
  folders_ = new QListWidget(this);
  folders_->setObjectName(QStringLiteral("codeFolders"));
  folders_->setAccessibleName(tr("Folders with code"));
  folders_->setStyleSheet(QStringLiteral("QListWidget#codeFolders::item { padding: 4px 2px; }"));
  auto* add = new QPushButton(tr("Add Folder…"), this);
  add->setObjectName(QStringLiteral("addFolder"));
  connect(add, &QPushButton::clicked, this, &Onboarding::addFolder);

  auto* buttons = new QDialogButtonBox(this);
  continue_ = buttons->addButton(tr("Continue"), QDialogButtonBox::AcceptRole);
  continue_->setObjectName(QStringLiteral("continue"));
  continue_->setDefault(true);
  connect(continue_, &QPushButton::clicked, this, &Onboarding::saveAndContinue);

  auto* bottom = new QHBoxLayout;
  bottom->addWidget(add);
  bottom->addStretch(1);
  bottom->addWidget(buttons);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(20, 20, 20, 16);
  layout->addWidget(title);
  layout->addWidget(about);
  layout->addSpacing(8);
  layout->addWidget(status_);
  layout->addWidget(folders_, 1);
  layout->addLayout(bottom);
  resize(600, 480);

  // Walking a large home takes a while: the window stays live, and leaving stops the walk.
  search_ = std::jthread([this, home = context_.home](std::stop_token stop) {
    auto found = codeFoldersUnder(home, stop);
    if (stop.stop_requested()) return;
    QMetaObject::invokeMethod(
        this, [this, found = std::move(found)] { showFolders(found); }, Qt::QueuedConnection);
  });
}

Onboarding::~Onboarding() = default;

void Onboarding::showFolders(const std::vector<CodeFolder>& folders) {
  for (const auto& folder : folders) {
    addRow(text(folder.path), folder.projects == 1 ? tr("1 project") : tr("%1 projects").arg(folder.projects));
  }
  status_->setText(folders.empty() ? tr("No folder with code was found under your home folder. Add one, or "
                                        "continue and Tidewarden looks through the whole home folder.")
                                   : tr("These folders under your home folder hold code projects:"));
}

void Onboarding::addRow(const QString& path, const QString& detail) {
  for (int row = 0; row < folders_->count(); ++row) {
    if (folders_->item(row)->data(pathRole).toString() == path) return;
  }
  QString label = text(tildePath(path.toStdString(), context_.home));
  if (!detail.isEmpty()) label += QStringLiteral("  ·  ") + detail;
  auto* row = new QListWidgetItem(label, folders_);
  row->setData(pathRole, path);
  row->setFlags(row->flags() | Qt::ItemIsUserCheckable);
  row->setCheckState(Qt::Checked);
  row->setToolTip(path);
}

void Onboarding::addFolder() {
  const QString folder = QFileDialog::getExistingDirectory(this, tr("Add a Project Root"), text(context_.home));
  if (!folder.isEmpty()) addRow(QDir::cleanPath(QDir(folder).absolutePath()), QString());
}

void Onboarding::saveAndContinue() {
  nlohmann::json roots = nlohmann::json::array();
  for (int row = 0; row < folders_->count(); ++row) {
    const QListWidgetItem* item = folders_->item(row);
    if (item->checkState() == Qt::Checked) roots.push_back(item->data(pathRole).toString().toStdString());
  }
  // Saying "none" still answers the question, so it is not asked again.
  if (roots.empty()) roots.push_back(context_.home);
  context_.settings->set(DevSettings::projectRootsKey, std::move(roots));
  accept();
}

}  // namespace tw::app
