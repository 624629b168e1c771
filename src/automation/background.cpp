#include "automation/background.h"

#include "automation/automation_platform.h"
#include "automation/notify.h"
#include "automation/prefs.h"
#include "automation/rules.h"
#include "core/format.h"
#include "core/removal_service.h"
#include "core/settings.h"
#include "core/sizes.h"
#include "lens/volume_info.h"

namespace tw {
namespace {

// One rule's switch, the label its removals are recorded under, and what it finds.
struct RuleStep {
  const char* key;
  const char* label;
  std::function<std::vector<DevItem>(const Context&)> find;
};

std::vector<RuleStep> enabledRules(Settings& settings) {
  const std::int64_t leftoverDays = settings.integer(Prefs::ruleProjectLeftoverDays);
  const std::vector<RuleStep> all{
      {Prefs::ruleSmartClean, Rules::smartCleanLabel, [](const Context& c) { return Rules::smartClean(c); }},
      {Prefs::ruleDerivedData, Rules::derivedDataLabel, [](const Context& c) { return Rules::derivedData(c); }},
      {Prefs::ruleProjectLeftovers, Rules::projectsLabel,
       [leftoverDays](const Context& c) { return Rules::projectLeftovers(c, leftoverDays); }},
      {Prefs::ruleMergedWorktrees, Rules::worktreesLabel, [](const Context& c) { return Rules::mergedWorktrees(c); }},
  };
  std::vector<RuleStep> enabled;
  for (const auto& rule : all) {
    if (settings.boolean(rule.key)) enabled.push_back(rule);
  }
  return enabled;
}

struct RunTotals {
  std::int64_t freed = 0;
  std::size_t removed = 0;
};

// Each rule finds its items and removes them before the next one looks, so a later rule
// never counts what an earlier one already took.
RunTotals runEnabledRules(const Context& context) {
  RunTotals totals;
  for (const auto& rule : enabledRules(*context.settings)) {
    if (context.stopRequested()) break;
    std::vector<RemovalItem> removals;
    for (const auto& item : rule.find(context)) removals.push_back(RemovalItem::of(item));
    RemovalOptions options;
    options.category = rule.label;
    const RemovalReport report = runRemovals(context, removals, options);
    totals.freed = saturatingAdd(totals.freed, report.freed);
    totals.removed += report.count(ActionOutcome::Status::done);
  }
  return totals;
}

}  // namespace

Background::Services Background::Services::system(const Context& context, std::shared_ptr<Timers> timers) {
  Services services;
  services.timers = std::move(timers);
  services.freeSpace = [home = context.home]() -> std::optional<std::int64_t> {
    const VolumeInfo volume = startupVolume(home);
    if (volume.total <= 0) return std::nullopt;  // unreadable: never warn on a guess
    return volume.available;
  };
  services.notify = [context](const std::string& title, const std::string& body) {
    (void)Notify::send(context, title, body);
  };
  return services;
}

Background::Background(Context context, Services services, Dispatcher owner)
    : context_(std::move(context)), services_(std::move(services)), runner_(std::move(owner)) {
  // Also here, so that a runner asked to tick or run before it starts reads the defaults.
  Prefs::registerDefaults(*context_.settings);
}

Background::~Background() {
  // The timers first, so nothing fires while the worker is joined.
  repeating_.reset();
  first_.reset();
}

void Background::start() {
  Prefs::registerDefaults(*context_.settings);
  repeating_.reset();
  first_.reset();
  const std::weak_ptr<Background*> self = self_;
  const auto tickIfAlive = [self] {
    if (const auto alive = self.lock()) (*alive)->tick();
  };
  repeating_ = services_.timers->every(tickInterval, tickIfAlive);
  first_ = services_.timers->after(firstTickDelay, tickIfAlive);
}

void Background::tick() {
  Settings& settings = *context_.settings;
  const auto interval = std::chrono::seconds(Prefs::ruleInterval(settings) * 86'400);
  const Date now = services_.timers->now();
  if (Prefs::anyRuleOn(settings) && now - Prefs::moment(settings, Prefs::lastRuleRun) >= interval) {
    runRules(/*notify=*/true);
  }
  checkLowSpace();
}

void Background::checkLowSpace() {
  Settings& settings = *context_.settings;
  if (!settings.boolean(Prefs::lowSpaceAlert)) return;
  const auto free = services_.freeSpace ? services_.freeSpace() : std::nullopt;
  if (!free || *free >= Prefs::lowSpaceThreshold(settings)) return;
  const Date now = services_.timers->now();
  if (now - Prefs::moment(settings, Prefs::lastLowSpaceAlert) <= lowSpaceSpacing) return;
  settings.setDate(Prefs::lastLowSpaceAlert, now);
  notifyOffThread(lowSpaceTitle(), lowSpaceBody(*free));
}

void Background::notifyOffThread(std::string title, std::string body) {
  if (!services_.notify) return;
  runner_.start([notify = services_.notify, title = std::move(title), body = std::move(body)](std::stop_token) {
    notify(title, body);
    return TaskRunner::Result{};
  });
}

void Background::runRules(bool notify, std::function<void(const std::string&)> completion) {
  if (completion) completions_.push_back(std::move(completion));
  if (ruleRunUnderWay_) return;
  ruleRunUnderWay_ = true;
  runner_.start([this, notify](std::stop_token stop) -> TaskRunner::Result {
    const Context context = context_.withStop(stop);
    const RunTotals totals = runEnabledRules(context);
    std::string text = summary(totals.freed, totals.removed);
    // A run cut short by the runner going away is not a run: the next start does it again.
    if (!stop.stop_requested()) {
      context.settings->setDate(Prefs::lastRuleRun, services_.timers->now());
      if (notify && services_.notify) services_.notify(autoCleanTitle, text);
    }
    return [this, text] {
      ruleRunUnderWay_ = false;
      auto waiting = std::move(completions_);
      completions_.clear();
      for (auto& completion : waiting) completion(text);
    };
  });
}

std::string Background::summary(std::int64_t freed, std::size_t removed) {
  if (removed == 0) return "Auto-clean found nothing to remove.";
  return "Auto-clean freed " + byteFormatter(freed) + " (" + std::to_string(removed) + " items).";
}

std::string Background::lowSpaceBody(std::int64_t freeBytes) {
  return "Only " + byteFormatter(freeBytes) + " left. Open Tidewarden to see what can go.";
}

}  // namespace tw
