#include "app/history_view.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTableView>
#include <QVBoxLayout>

#include "app/labels.h"
#include "core/format.h"
#include "core/history.h"
#include "core/sizes.h"

namespace tw::app {
namespace {

// What the search field matches: the row's category, name and restore hint.
constexpr int searchRole = Qt::UserRole + 1;
// The freed bytes of a row, for the total of what is shown.
constexpr int bytesRole = Qt::UserRole + 2;

QString text(const std::string& value) { return QString::fromStdString(value); }

QList<QStandardItem*> rowFor(const HistoryEntry& entry) {
  const QString restore = entry.restore ? text(*entry.restore) : QString();
  QList<QStandardItem*> row;
  for (const QString& cell : {text(localDateTime(entry.date)), text(entry.category), text(entry.name),
                              text(byteFormatter(entry.bytes)), restore}) {
    auto* item = new QStandardItem(cell);
    item->setEditable(false);
    item->setToolTip(cell);
    row << item;
  }
  row[HistoryView::sizeColumn]->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
  row[HistoryView::dateColumn]->setData(row[HistoryView::categoryColumn]->text() + QLatin1Char('\n') +
                                            row[HistoryView::nameColumn]->text() + QLatin1Char('\n') + restore,
                                        searchRole);
  row[HistoryView::dateColumn]->setData(QVariant::fromValue<qint64>(entry.bytes), bytesRole);
  return row;
}

}  // namespace

HistoryView::HistoryView(Context context, QWidget* parent) : QWidget(parent), context_(std::move(context)) {
  setObjectName(QStringLiteral("history"));
  entries_ = new QStandardItemModel(0, columnCount, this);
  entries_->setHorizontalHeaderLabels({tr("Date"), tr("Category"), tr("Name"), tr("Size"), tr("How to get it back")});
  entries_->setHeaderData(sizeColumn, Qt::Horizontal, int(Qt::AlignRight | Qt::AlignVCenter), Qt::TextAlignmentRole);
  filter_ = new QSortFilterProxyModel(this);
  filter_->setSourceModel(entries_);
  filter_->setFilterKeyColumn(dateColumn);
  filter_->setFilterRole(searchRole);
  filter_->setFilterCaseSensitivity(Qt::CaseInsensitive);

  table_ = new QTableView(this);
  table_->setObjectName(QStringLiteral("entries"));
  table_->setAccessibleName(tr("Removals"));
  table_->setModel(filter_);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setAlternatingRowColors(true);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setHighlightSections(false);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
  table_->horizontalHeader()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
  table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);

  empty_ = quietLabel(QString(), this);
  empty_->setObjectName(QStringLiteral("note"));
  empty_->setAlignment(Qt::AlignCenter);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(makeHeader());
  layout->addWidget(table_, 1);
  layout->addWidget(empty_, 1);
  layout->addWidget(makeFooter());

  connect(search_, &QLineEdit::textChanged, this, [this](const QString& words) {
    filter_->setFilterFixedString(words.trimmed());
    showCounts();
  });
  // Only while this view is on screen: a hidden widget's shortcut does not fire.
  auto* find = new QShortcut(QKeySequence::Find, this);
  find->setContext(Qt::WindowShortcut);
  connect(find, &QShortcut::activated, this, &HistoryView::focusSearch);
  showCounts();  // the log itself is read when the view is shown
}

QWidget* HistoryView::makeHeader() {
  auto* header = new QWidget(this);
  auto* title = titleLabel(tr("History"), header);
  auto* blurb = quietLabel(tr("Everything Tidewarden removed, newest first, and how to get it back."), header);
  search_ = new QLineEdit(header);
  search_->setObjectName(QStringLiteral("search"));
  search_->setAccessibleName(tr("Search the history"));
  search_->setPlaceholderText(tr("Search by name, category or hint"));
  search_->setClearButtonEnabled(true);
  search_->setMinimumWidth(280);

  auto* words = new QVBoxLayout;
  words->addWidget(title);
  words->addWidget(blurb);
  auto* layout = new QHBoxLayout(header);
  layout->setContentsMargins(4, 4, 4, 8);
  layout->addLayout(words, 1);
  layout->addWidget(search_, 0, Qt::AlignBottom);
  return header;
}

QWidget* HistoryView::makeFooter() {
  auto* footer = new QWidget(this);
  counts_ = new QLabel(footer);
  counts_->setObjectName(QStringLiteral("counts"));
  clear_ = new QPushButton(tr("Clear History…"), footer);
  clear_->setObjectName(QStringLiteral("clearHistory"));
  connect(clear_, &QPushButton::clicked, this, &HistoryView::confirmClear);
  auto* layout = new QHBoxLayout(footer);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(counts_, 1);
  layout->addWidget(clear_);
  return footer;
}

void HistoryView::showEvent(QShowEvent* event) {
  reload();
  QWidget::showEvent(event);
}

void HistoryView::reload() {
  entries_->removeRows(0, entries_->rowCount());
  const std::vector<HistoryEntry> oldestFirst = context_.history->entries();
  for (auto entry = oldestFirst.rbegin(); entry != oldestFirst.rend(); ++entry) entries_->appendRow(rowFor(*entry));
  showCounts();
}

void HistoryView::showCounts() {
  const int shown = filter_->rowCount();
  std::int64_t freed = 0;
  for (int row = 0; row < shown; ++row) {
    freed = saturatingAdd(freed, filter_->index(row, dateColumn).data(bytesRole).toLongLong());
  }
  const bool searching = !search_->text().trimmed().isEmpty();
  const QString removals = shown == 1 ? tr("1 removal") : tr("%1 removals").arg(shown);
  counts_->setText(shown == 0 ? QString() : tr("%1, %2 freed").arg(removals, text(byteFormatter(freed))));
  empty_->setText(searching ? tr("No removal matches “%1”.").arg(search_->text().trimmed())
                            : tr("Nothing has been removed yet. What you clean will be listed here."));
  table_->setVisible(shown > 0);
  empty_->setVisible(shown == 0);
  // Sample data writes nothing of the user's, and clearing is a write.
  clear_->setEnabled(entries_->rowCount() > 0 && !context_.sampleData);
}

void HistoryView::focusSearch() {
  search_->setFocus(Qt::ShortcutFocusReason);
  search_->selectAll();
}

void HistoryView::confirmClear() {
  QMessageBox question(QMessageBox::Warning, tr("Clear History"), tr("Clear the whole history of removals?"),
                       QMessageBox::NoButton, this);
  question.setObjectName(QStringLiteral("clearConfirmation"));
  question.setInformativeText(
      tr("The list of what was removed and how to get it back is forgotten. "
         "Nothing on disk changes."));
  auto* confirm = question.addButton(tr("Clear History"), QMessageBox::DestructiveRole);
  confirm->setObjectName(QStringLiteral("confirm"));
  auto* cancel = question.addButton(QMessageBox::Cancel);
  question.setDefaultButton(cancel);
  question.setEscapeButton(cancel);
  question.exec();
  if (question.clickedButton() != confirm) return;
  context_.history->clear();
  reload();
}

}  // namespace tw::app
