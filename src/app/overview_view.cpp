#include "app/overview_view.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QTimer>
#include <QVBoxLayout>

#include "app/overview_card.h"
#include "app/qt_dispatcher.h"
#include "core/format.h"
#include "core/scan_cache.h"
#include "core/sizes.h"
#include "lens/volume_info.h"

namespace tw::app {
namespace {

constexpr int cardColumns = 3;
constexpr int barSteps = 1000;
// "Measured 5 minutes ago" goes stale while the window stays open.
constexpr int agesRefreshMs = 60'000;

QString sizeText(std::int64_t bytes) { return QString::fromStdString(byteFormatter(bytes)); }

std::vector<std::shared_ptr<DevPane>> listPanes(const std::map<Pane, std::shared_ptr<DevPane>>& panes) {
  std::vector<std::shared_ptr<DevPane>> ordered;
  for (const auto& screen : Screens::all()) ordered.push_back(panes.at(screen.pane));
  return ordered;
}

QLabel* heading(const QString& text, double scale, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  QFont font = label->font();
  font.setPointSizeF(font.pointSizeF() * scale);
  font.setBold(true);
  label->setFont(font);
  return label;
}

}  // namespace

OverviewView::OverviewView(const Context& context, const std::map<Pane, std::shared_ptr<DevPane>>& panes,
                           QWidget* parent)
    : QWidget(parent),
      context_(context),
      panes_(panes),
      scanAll_(listPanes(panes), [this] { scanButton_->setEnabled(true); }) {
  setObjectName(QStringLiteral("overview"));
  auto* content = new QWidget;
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(heading(tr("Overview"), 1.6, content));
  layout->addWidget(makeVolume());
  layout->addWidget(makeActions());
  layout->addWidget(makeCards());
  layout->addStretch(1);

  auto* scroll = new QScrollArea(this);
  scroll->setWidget(content);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(scroll);

  showVolume();
  showSizes();

  // Saves from another process are noticed on a thread of the settings store's own.
  QPointer<OverviewView> self(this);
  const Dispatcher post = qtDispatcher();
  cacheToken_ = ScanCache::observe(context_, [self, post] {
    post([self] {
      if (!self) return;
      self->showSizes();
      self->showVolume();
    });
  });
  for (const auto& [pane, model] : panes_) {
    if (!cards_.contains(pane)) continue;
    const Pane shown = pane;
    const int token = model->observe([this, shown](const DevPane::Notice& notice) {
      if (notice.field == DevPaneField::loading) showSize(shown);
    });
    paneTokens_.emplace_back(model, token);
  }
  auto* ages = new QTimer(this);
  connect(ages, &QTimer::timeout, this, &OverviewView::showSizes);
  ages->start(agesRefreshMs);
}

OverviewView::~OverviewView() {
  ScanCache::unobserve(context_, cacheToken_);
  for (auto& [model, token] : paneTokens_) model->unobserve(token);
}

QWidget* OverviewView::makeVolume() {
  auto* box = new QWidget(this);
  volumeName_ = new QLabel(box);
  volumeName_->setObjectName(QStringLiteral("volumeName"));
  QFont bold = volumeName_->font();
  bold.setBold(true);
  volumeName_->setFont(bold);
  volumeBar_ = new QProgressBar(box);
  volumeBar_->setObjectName(QStringLiteral("volumeBar"));
  volumeBar_->setAccessibleName(tr("Disk use"));
  volumeBar_->setRange(0, barSteps);
  volumeBar_->setTextVisible(false);
  volumeBar_->setFixedHeight(14);
  volumeShare_ = new QLabel(box);
  volumeShare_->setObjectName(QStringLiteral("volumeShare"));
  volumeNumbers_ = new QLabel(box);
  volumeNumbers_->setObjectName(QStringLiteral("volumeNumbers"));
  auto* title = new QHBoxLayout;
  title->addWidget(volumeName_, 1);
  title->addWidget(volumeShare_);
  auto* layout = new QVBoxLayout(box);
  layout->setContentsMargins(0, 8, 0, 8);
  layout->addLayout(title);
  layout->addWidget(volumeBar_);
  layout->addWidget(volumeNumbers_);
  return box;
}

QWidget* OverviewView::makeActions() {
  auto* box = new QWidget(this);
  junk_ = new QLabel(box);
  junk_->setObjectName(QStringLiteral("junkTotal"));
  junk_->setWordWrap(true);
  QFont bold = junk_->font();
  bold.setBold(true);
  junk_->setFont(bold);
  scanButton_ = new QPushButton(tr("Scan All"), box);
  scanButton_->setObjectName(QStringLiteral("scanAll"));
  connect(scanButton_, &QPushButton::clicked, this, [this] {
    scanButton_->setEnabled(false);
    scanAll_.start();
    if (!scanAll_.running()) scanButton_->setEnabled(true);
  });
  auto* clean = new QPushButton(tr("Smart Clean…"), box);
  clean->setObjectName(QStringLiteral("smartClean"));
  clean->setDefault(true);
  connect(clean, &QPushButton::clicked, this, [this] { emit openPane(Pane::clean); });
  auto* layout = new QHBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 8);
  layout->addWidget(junk_, 1);
  layout->addWidget(scanButton_);
  layout->addWidget(clean);
  return box;
}

QWidget* OverviewView::makeCards() {
  auto* grid = new QWidget(this);
  auto* layout = new QGridLayout(grid);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  int index = 0;
  for (const auto& screen : Screens::all()) {
    auto* card = new OverviewCard(screen, grid);
    connect(card, &OverviewCard::clicked, this, [this, pane = screen.pane] { emit openPane(pane); });
    layout->addWidget(card, index / cardColumns, index % cardColumns);
    cards_[screen.pane] = card;
    ++index;
  }
  for (int column = 0; column < cardColumns; ++column) layout->setColumnStretch(column, 1);
  return grid;
}

void OverviewView::showVolume() {
  const VolumeInfo volume = reportedVolume(context_);
  const std::string title = volume.device.empty() ? volume.name : volume.name + " (" + volume.device + ")";
  volumeName_->setText(QString::fromStdString(title));
  volumeBar_->setValue(static_cast<int>(usedShare(volume) * barSteps));
  volumeShare_->setText(tr("%1% used").arg(QString::number(usedShare(volume) * 100, 'f', 0)));
  volumeNumbers_->setText(tr("%1 used · %2 free · %3 total")
                              .arg(sizeText(usedBytes(volume)), sizeText(volume.available), sizeText(volume.total)));
}

void OverviewView::showSizes() {
  for (const auto& [pane, card] : cards_) showSize(pane);
  showJunkTotal();
}

void OverviewView::showSize(Pane pane) {
  OverviewCard* card = cards_.at(pane);
  const auto entries = ScanCache::all(context_);
  const auto entry = entries.find(std::string(rawValue(pane)));
  if (entry == entries.end()) {
    card->showUnknown();
  } else {
    card->showMeasured(sizeText(entry->second.bytes), QString::fromStdString(ago(entry->second.date)));
  }
  if (panes_.at(pane)->loading()) card->showScanning();
}

void OverviewView::showJunkTotal() {
  const auto entries = ScanCache::all(context_);
  std::int64_t total = 0;
  int screens = 0;
  for (const auto& screen : Screens::all()) {
    const auto entry = entries.find(std::string(rawValue(screen.pane)));
    if (!screen.junk || entry == entries.end()) continue;
    total = saturatingAdd(total, entry->second.bytes);
    ++screens;
  }
  if (screens == 0) {
    junk_->setText(tr("Scan your screens to see how much junk they hold."));
  } else if (screens == 1) {
    junk_->setText(tr("%1 of junk found on 1 screen").arg(sizeText(total)));
  } else {
    junk_->setText(tr("%1 of junk found on %2 screens").arg(sizeText(total)).arg(screens));
  }
}

}  // namespace tw::app
