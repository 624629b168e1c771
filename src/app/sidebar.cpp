#include "app/sidebar.h"

#include <QHeaderView>
#include <QPointer>

#include "app/icons.h"
#include "app/qt_dispatcher.h"
#include "core/format.h"
#include "core/scan_cache.h"

namespace tw::app {
namespace {

constexpr int paneRole = Qt::UserRole;

std::vector<Destination> destinationsOf(const std::vector<DevScreen>& screens) {
  std::vector<Destination> destinations;
  for (const auto& screen : screens) destinations.push_back({screen.pane, screen.title, screen.icon});
  return destinations;
}

}  // namespace

std::vector<SidebarSection> sidebarSections() {
  return {
      {"", {{Pane::overview, "Overview", "square.grid.2x2"}}},
      {"Cleanup", destinationsOf(Screens::cleanup())},
      {"Disk", {{Pane::lens, "Space Lens", "chart.pie"}, {Pane::trash, "Trash", "trash"}}},
      {"Developer", destinationsOf(Screens::developer())},
      {"", {{Pane::history, "History", "clock.arrow.circlepath"}}},
  };
}

Sidebar::Sidebar(const Context& context, const std::map<Pane, std::shared_ptr<DevPane>>& panes, QWidget* parent)
    : QTreeWidget(parent), context_(context), panes_(panes) {
  setObjectName(QStringLiteral("sidebar"));
  setAccessibleName(tr("Screens"));
  setColumnCount(2);
  header()->hide();
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(0, QHeaderView::Stretch);
  header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  setRootIsDecorated(false);
  setIndentation(0);
  setUniformRowHeights(true);
  setIconSize(QSize(18, 18));
  setFrameShape(QFrame::NoFrame);
  setStyleSheet(QStringLiteral("QTreeWidget#sidebar::item { padding: 4px 6px; }"));
  // A quiet selection across the whole row, a tint of the highlight on the window's colour,
  // so that the icon and the text of the chosen row stay as readable as the others.
  setAllColumnsShowFocus(true);
  QPalette quiet = palette();
  const QColor window = quiet.color(QPalette::Window);
  const QColor highlight = quiet.color(QPalette::Highlight);
  const auto tint = [](int from, int to) { return from + (to - from) * 3 / 10; };
  quiet.setColor(QPalette::Highlight,
                 QColor(tint(window.red(), highlight.red()), tint(window.green(), highlight.green()),
                        tint(window.blue(), highlight.blue())));
  quiet.setColor(QPalette::HighlightedText, quiet.color(QPalette::Text));
  setPalette(quiet);
  for (const auto& section : sidebarSections()) addSection(section);
  showSizes();

  connect(this, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* current) {
    if (current && current->data(0, paneRole).isValid())
      emit chosen(static_cast<Pane>(current->data(0, paneRole).toInt()));
  });
  // Another process's save is noticed on a thread of the settings store's own.
  QPointer<Sidebar> self(this);
  const Dispatcher post = qtDispatcher();
  cacheToken_ = ScanCache::observe(context_, [self, post] {
    post([self] {
      if (self) self->showSizes();
    });
  });
  for (const auto& [pane, model] : panes_) {
    const Pane shown = pane;
    const int token = model->observe([this, shown](const DevPane::Notice& notice) {
      if (notice.field == DevPaneField::loading) showSize(shown);
    });
    paneTokens_.emplace_back(model, token);
  }
}

Sidebar::~Sidebar() {
  ScanCache::unobserve(context_, cacheToken_);
  for (auto& [model, token] : paneTokens_) model->unobserve(token);
}

void Sidebar::addSection(const SidebarSection& section) {
  if (!section.heading.empty()) {
    auto* heading = new QTreeWidgetItem(this, {QString::fromStdString(section.heading)});
    heading->setFlags(Qt::ItemIsEnabled);
    QFont font = heading->font(0);
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 0.85);
    heading->setFont(0, font);
  }
  for (const auto& destination : section.destinations) {
    auto* row = new QTreeWidgetItem(this, {QString::fromStdString(destination.title)});
    row->setIcon(0, symbolIcon(destination.icon));
    row->setData(0, paneRole, static_cast<int>(destination.pane));
    row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    rows_[destination.pane] = row;
  }
}

void Sidebar::showSizes() {
  for (const auto& [pane, row] : rows_) showSize(pane);
}

void Sidebar::showSize(Pane pane) {
  QTreeWidgetItem* row = rows_.at(pane);
  if (const auto model = panes_.find(pane); model != panes_.end() && model->second->loading()) {
    row->setText(1, tr("Scanning…"));
    return;
  }
  const auto entries = ScanCache::all(context_);
  const auto entry = entries.find(std::string(rawValue(pane)));
  row->setText(1, entry == entries.end() ? QString() : QString::fromStdString(byteFormatter(entry->second.bytes)));
}

void Sidebar::choose(Pane pane) { setCurrentItem(rows_.at(pane)); }

}  // namespace tw::app
