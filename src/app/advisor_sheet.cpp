#include "app/advisor_sheet.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/qt_dispatcher.h"
#include "core/format.h"
#include "fs/path.h"
#include "screens/package_advisor.h"

namespace tw::app {
namespace {

QString qstring(const std::string& text) { return QString::fromStdString(text); }
QString size(std::int64_t bytes) { return qstring(byteFormatter(bytes)); }

QTreeWidget* makeTable(const QString& name, const QStringList& headers, QWidget* parent) {
  auto* table = new QTreeWidget(parent);
  table->setObjectName(name);
  table->setRootIsDecorated(false);
  table->setUniformRowHeights(true);
  table->setHeaderLabels(headers);
  table->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  table->header()->setStretchLastSection(false);
  for (int column = 1; column < headers.size(); ++column) {
    table->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
  }
  return table;
}

void fill(QTreeWidget* projects, QTreeWidget* stores, QLabel* advice, const PackageAdvisor::Report& report,
          const std::string& home) {
  for (const auto& project : report.projects) {
    auto* row = new QTreeWidgetItem(projects, {qstring(tildePath(project.path, home)), qstring(project.manager),
                                               qstring(project.lockFile), size(project.size), size(project.freeable)});
    row->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
    row->setTextAlignment(4, Qt::AlignRight | Qt::AlignVCenter);
  }
  for (const auto& store : report.stores) {
    auto* row = new QTreeWidgetItem(stores, {qstring(store.name), qstring(store.detail), size(store.size.value_or(0))});
    row->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
  }
  QStringList lines;
  for (const auto& item : report.advice) lines << qstring(item.text);
  advice->setText(lines.join(QLatin1Char('\n')));
  advice->setVisible(!lines.isEmpty());
}

}  // namespace

AdvisorSheet::AdvisorSheet(Context context, QWidget* parent) : QDialog(parent), runner_(qtDispatcher()) {
  setObjectName(QStringLiteral("advisorSheet"));
  setWindowTitle(tr("Package Manager Advisor"));
  status_ = new QLabel(tr("Looking at your projects…"), this);
  status_->setObjectName(QStringLiteral("advisorStatus"));
  advice_ = new QLabel(this);
  advice_->setObjectName(QStringLiteral("advice"));
  advice_->setWordWrap(true);
  advice_->hide();
  projects_ = makeTable(QStringLiteral("advisorProjects"),
                        {tr("Project"), tr("Manager"), tr("Lock file"), tr("Dependencies"), tr("Freeable")}, this);
  stores_ = makeTable(QStringLiteral("advisorStores"), {tr("Shared store"), tr("Where"), tr("Size")}, this);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(status_);
  layout->addWidget(advice_);
  layout->addWidget(projects_, 2);
  layout->addWidget(stores_, 1);
  layout->addWidget(buttons);
  resize(760, 520);

  runner_.start([this, context = std::move(context)](std::stop_token stop) -> TaskRunner::Result {
    auto report = std::make_shared<PackageAdvisor::Report>(PackageAdvisor::load(context.withStop(stop)));
    return [this, report, home = context.home] {
      const auto count = report->projects.size();
      status_->setText(report->note ? qstring(*report->note)
                       : count == 1 ? tr("1 project has dependencies of its own.")
                                    : tr("%1 projects have dependencies of their own.").arg(count));
      fill(projects_, stores_, advice_, *report, home);
    };
  });
}

}  // namespace tw::app
