#include "core/scan_cache.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "core/settings.h"

namespace tw {
namespace {

// 1 January 2001 00:00:00 UTC in seconds since 1970.
constexpr std::int64_t referenceDate = 978'307'200;

std::optional<ScanCache::Entry> decodeEntry(const nlohmann::json& value) {
  if (!value.is_object()) return std::nullopt;
  const auto bytes = value.find("bytes");
  const auto items = value.find("items");
  const auto date = value.find("date");
  if (bytes == value.end() || !bytes->is_number_integer() || items == value.end() || !items->is_number_integer() ||
      date == value.end() || !date->is_number() || !std::isfinite(date->get<double>())) {
    return std::nullopt;
  }
  return ScanCache::Entry{bytes->get<std::int64_t>(), items->get<std::int64_t>(),
                          dateFromSecondsSince2001(date->get<double>())};
}

// The whole map, or nothing when any part of it cannot be read.
std::optional<ScanCache::Entries> decode(const nlohmann::json& value) {
  if (!value.is_object()) return std::nullopt;
  ScanCache::Entries entries;
  for (const auto& [key, entry] : value.items()) {
    auto decoded = decodeEntry(entry);
    if (!decoded) return std::nullopt;
    entries.emplace(key, *decoded);
  }
  return entries;
}

nlohmann::json encode(const ScanCache::Entries& entries) {
  nlohmann::json value = nlohmann::json::object();
  for (const auto& [key, entry] : entries) {
    value[key] = {{"bytes", entry.bytes}, {"items", entry.items}, {"date", secondsSince2001(entry.date)}};
  }
  return value;
}

}  // namespace

double secondsSince2001(Date date) {
  const auto sinceEpoch = std::chrono::duration<double>(date.time_since_epoch()).count();
  return sinceEpoch - static_cast<double>(referenceDate);
}

Date dateFromSecondsSince2001(double seconds) {
  const auto sinceEpoch = std::chrono::duration<double>(seconds + static_cast<double>(referenceDate));
  return Date(std::chrono::duration_cast<Date::duration>(sinceEpoch));
}

ScanCache::Entries ScanCache::all(const Context& context) {
  if (!context.settings) return {};
  const auto stored = context.settings->value(settingsKey);
  if (!stored) return {};
  return decode(*stored).value_or(Entries{});
}

void ScanCache::save(const Context& context, const std::string& key, std::int64_t bytes, std::int64_t items, Date now) {
  if (!context.settings) return;
  Entries entries = all(context);
  entries[key] = Entry{bytes, items, now};
  context.settings->set(settingsKey, encode(entries));
}

int ScanCache::observe(const Context& context, Observer observer) {
  if (!context.settings) return 0;
  return context.settings->observe([observer = std::move(observer)](const Settings::Change& change) {
    if (change.keys.contains(settingsKey)) observer();
  });
}

void ScanCache::unobserve(const Context& context, int token) {
  if (context.settings) context.settings->unobserve(token);
}

}  // namespace tw
