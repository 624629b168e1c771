#include "app/overview_card.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>

#include "app/icons.h"

namespace tw::app {

OverviewCard::OverviewCard(const DevScreen& screen, QWidget* parent) : QFrame(parent) {
  const QString title = QString::fromStdString(screen.title);
  setObjectName(QStringLiteral("card-") + QString::fromUtf8(rawValue(screen.pane).data()));
  setAccessibleName(title);
  setFrameShape(QFrame::StyledPanel);
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Base);

  auto* icon = new QLabel(this);
  icon->setPixmap(symbolIcon(screen.icon).pixmap(22, 22));
  auto* name = new QLabel(title, this);
  QFont bold = name->font();
  bold.setBold(true);
  name->setFont(bold);
  size_ = new QLabel(this);
  size_->setObjectName(QStringLiteral("size"));
  QFont big = size_->font();
  big.setPointSizeF(big.pointSizeF() * 1.3);
  size_->setFont(big);
  when_ = new QLabel(this);
  when_->setObjectName(QStringLiteral("when"));
  when_->setForegroundRole(QPalette::PlaceholderText);

  auto* layout = new QGridLayout(this);
  layout->setContentsMargins(10, 8, 10, 8);
  layout->setHorizontalSpacing(8);
  layout->addWidget(icon, 0, 0, 2, 1, Qt::AlignTop);
  layout->addWidget(name, 0, 1);
  layout->addWidget(size_, 1, 1);
  layout->addWidget(when_, 2, 1);
  layout->setColumnStretch(1, 1);
  showUnknown();
}

void OverviewCard::showUnknown() {
  size_->setText(QStringLiteral("—"));
  when_->setText(tr("Not scanned yet"));
}

void OverviewCard::showScanning() { when_->setText(tr("Scanning…")); }

void OverviewCard::showMeasured(const QString& size, const QString& when) {
  size_->setText(size);
  when_->setText(tr("Measured %1").arg(when));
}

void OverviewCard::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) emit clicked();
  QFrame::mouseReleaseEvent(event);
}

void OverviewCard::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space) {
    emit clicked();
    return;
  }
  QFrame::keyPressEvent(event);
}

}  // namespace tw::app
