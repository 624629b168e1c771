#include "app/confirm_removal.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/icons.h"
#include "core/format.h"

namespace tw::app {
namespace {

QString qstring(const std::string& text) { return QString::fromStdString(text); }

QString sizeText(const DevItem& item) {
  const auto bytes = item.freeable ? item.freeable : item.size;
  return bytes ? qstring(byteFormatter(*bytes)) : QStringLiteral("—");
}

QString heading(const QString& actionLabel, std::size_t count, std::int64_t total) {
  const QString size = qstring(byteFormatter(total));
  if (count == 1) return ConfirmRemovalDialog::tr("%1 1 item, %2?").arg(actionLabel, size);
  return ConfirmRemovalDialog::tr("%1 %2 items, %3?").arg(actionLabel).arg(count).arg(size);
}

QTreeWidget* itemList(const std::vector<DevItem>& items, const std::vector<std::string>& actions, QWidget* parent) {
  auto* list = new QTreeWidget(parent);
  list->setObjectName(QStringLiteral("confirmItems"));
  list->setAccessibleName(ConfirmRemovalDialog::tr("Items to remove"));
  list->setColumnCount(3);
  list->setHeaderLabels(
      {ConfirmRemovalDialog::tr("Item"), ConfirmRemovalDialog::tr("What happens"), ConfirmRemovalDialog::tr("Size")});
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setSelectionMode(QAbstractItemView::NoSelection);
  list->setFocusPolicy(Qt::NoFocus);
  for (std::size_t index = 0; index < items.size(); ++index) {
    auto* row =
        new QTreeWidgetItem(list, {qstring(items[index].name), qstring(actions.at(index)), sizeText(items[index])});
    row->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    row->setToolTip(1, qstring(actions.at(index)));
    if (items[index].warning) row->setIcon(0, symbolIcon("exclamationmark.triangle"));
  }
  list->header()->setStretchLastSection(false);
  list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  list->header()->setSectionResizeMode(1, QHeaderView::Stretch);
  list->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  return list;
}

}  // namespace

ConfirmRemovalDialog::ConfirmRemovalDialog(const QString& actionLabel, const std::vector<DevItem>& items,
                                           const std::vector<std::string>& actions, QWidget* parent)
    : QDialog(parent) {
  setObjectName(QStringLiteral("confirmRemoval"));
  setWindowTitle(actionLabel);
  setModal(true);

  auto* title = new QLabel(heading(actionLabel, items.size(), freeableSum(items)), this);
  title->setObjectName(QStringLiteral("confirmHeading"));
  QFont font = title->font();
  font.setBold(true);
  font.setPointSizeF(font.pointSizeF() * 1.2);
  title->setFont(font);

  auto* buttons = new QDialogButtonBox(this);
  confirm_ = buttons->addButton(actionLabel, QDialogButtonBox::DestructiveRole);
  confirm_->setObjectName(QStringLiteral("confirm"));
  cancel_ = buttons->addButton(QDialogButtonBox::Cancel);
  cancel_->setObjectName(QStringLiteral("cancel"));
  connect(confirm_, &QPushButton::clicked, this, &QDialog::accept);
  connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
  confirm_->setAutoDefault(false);
  cancel_->setDefault(true);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(title);
  layout->addWidget(itemList(items, actions, this), 1);
  if (QWidget* warnings = makeWarnings(items)) layout->addWidget(warnings);
  layout->addWidget(buttons);
  resize(640, 420);
  cancel_->setFocus();
}

// Each warning on a line of its own under the list, so none hides in a tooltip.
QWidget* ConfirmRemovalDialog::makeWarnings(const std::vector<DevItem>& items) {
  QStringList lines;
  for (const auto& item : items) {
    if (item.warning)
      lines << QStringLiteral("<b>%1</b>: %2")
                   .arg(qstring(item.name).toHtmlEscaped(), qstring(*item.warning).toHtmlEscaped());
  }
  if (lines.isEmpty()) return nullptr;
  auto* warnings =
      new QLabel(tr("Before you go on:") + QStringLiteral("<br>") + lines.join(QStringLiteral("<br>")), this);
  warnings->setObjectName(QStringLiteral("confirmWarnings"));
  warnings->setTextFormat(Qt::RichText);
  warnings->setWordWrap(true);
  return warnings;
}

}  // namespace tw::app
