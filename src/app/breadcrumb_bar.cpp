#include "app/breadcrumb_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

#include "fs/path.h"

namespace tw::app {

BreadcrumbBar::BreadcrumbBar(std::string home, QWidget* parent) : QWidget(parent), home_(std::move(home)) {
  setObjectName(QStringLiteral("breadcrumbs"));
  setAccessibleName(tr("Folders from the scanned one to this one"));
  layout_ = new QHBoxLayout(this);
  layout_->setContentsMargins(0, 0, 0, 0);
  layout_->setSpacing(2);
  layout_->addStretch(1);
}

void BreadcrumbBar::clear() {
  while (layout_->count() > 1) {
    QLayoutItem* item = layout_->takeAt(0);
    // The button pressed may be the one going: it goes once its click is over.
    if (QWidget* widget = item->widget()) {
      widget->hide();
      widget->deleteLater();
    }
    delete item;
  }
}

void BreadcrumbBar::setFolder(const FSNode* folder) {
  clear();
  if (folder == nullptr) return;
  const auto ancestors = folder->ancestors();
  int position = 0;
  for (const FSNode* step : ancestors) {
    if (position > 0) {
      auto* separator = new QLabel(QStringLiteral("›"), this);
      layout_->insertWidget(position++, separator);
      separator->show();
    }
    const bool top = step->parent == nullptr;
    auto* crumb = new QToolButton(this);
    crumb->setObjectName(QStringLiteral("crumb"));
    crumb->setAutoRaise(true);
    crumb->setText(QString::fromStdString(top ? tildePath(step->name, home_) : step->name));
    if (step == folder) {
      QFont font = crumb->font();
      font.setBold(true);
      crumb->setFont(font);
    }
    connect(crumb, &QToolButton::clicked, this, [this, step] { emit chosen(step); });
    layout_->insertWidget(position++, crumb);
    crumb->show();
  }
}

}  // namespace tw::app
