#include "app/update_banner.h"

#include <chrono>

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QUrl>

#include "app/qt_dispatcher.h"
#include "automation/notify.h"
#include "updates/updates.h"

namespace tw::app {

UpdateBanner::UpdateBanner(Context context, QWidget* parent)
    : QFrame(parent), context_(std::move(context)), runner_(qtDispatcher()) {
  setObjectName(QStringLiteral("updateBanner"));
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::AlternateBase);
  text_ = new QLabel(this);
  text_->setObjectName(QStringLiteral("updateText"));
  auto* notes = new QPushButton(tr("Release Notes"), this);
  notes->setObjectName(QStringLiteral("updateNotes"));
  connect(notes, &QPushButton::clicked, this, [this] { QDesktopServices::openUrl(QUrl(notesUrl_)); });
  auto* close = new QToolButton(this);
  close->setText(QStringLiteral("×"));
  close->setAutoRaise(true);
  close->setAccessibleName(tr("Hide the update notice"));
  connect(close, &QToolButton::clicked, this, &QWidget::hide);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(10, 4, 4, 4);
  layout->addWidget(text_, 1);
  layout->addWidget(notes);
  layout->addWidget(close);
  hide();
}

void UpdateBanner::check(const HttpsFetchOptions& options) {
  if (context_.sampleData) return;  // pictures of sample data ask no one
  runner_.start([this, options, context = context_](std::stop_token stop) -> TaskRunner::Result {
    const auto notice = Updates::run(context.withStop(stop), std::chrono::system_clock::now(), options);
    // Announced once per version, as the desktop's notification; the banner shows each start.
    if (notice && notice->notify) (void)Notify::send(context, notice->title, notice->notesUrl);
    return [this, notice] {
      if (notice) show(*notice);
    };
  });
}

void UpdateBanner::show(const UpdateNotice& notice) {
  text_->setText(QString::fromStdString(notice.title));
  notesUrl_ = QString::fromStdString(notice.notesUrl);
  QFrame::show();
}

}  // namespace tw::app
