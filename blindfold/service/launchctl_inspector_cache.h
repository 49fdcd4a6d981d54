#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "blindfold/model/record.h"
#include "blindfold/service/capabilities.h"

namespace blindfold {

/// The helper's launchctl look-ups, each kept for a time to live. Storage only: the helper fills
/// it, reads it and decides what has expired, all of it on `queue`.
class LaunchctlInspectorCache {
 public:
  /// A value and the instant up to which it counts.
  template <class Value>
  struct TimedEntry {
    Value value;
    Instant expiresAt;

    bool operator==(const TimedEntry&) const = default;
  };

  /// An empty cache. The times to live are in seconds.
  LaunchctlInspectorCache(std::shared_ptr<DispatchQueue> cacheQueue, double timeOfConsoleUID,
                          double timeOfDiscoveredLabels, double timeOfPID)
      : queue(std::move(cacheQueue)),
        consoleUIDTTL(timeOfConsoleUID),
        discoveredLabelsTTL(timeOfDiscoveredLabels),
        pidTTL(timeOfPID) {}
  LaunchctlInspectorCache(const LaunchctlInspectorCache&) = delete;
  LaunchctlInspectorCache& operator=(const LaunchctlInspectorCache&) = delete;
  ~LaunchctlInspectorCache() = default;

  /// The queue on which the cache is used.
  const std::shared_ptr<DispatchQueue> queue;
  /// Seconds for which the console user counts.
  const double consoleUIDTTL;
  /// Seconds for which the system domain's labels count.
  const double discoveredLabelsTTL;
  /// Seconds for which a process id counts.
  const double pidTTL;

  /// The console user's id, itself absent when nobody is logged in; absent until looked up.
  std::optional<TimedEntry<std::optional<std::int64_t>>> consoleUIDEntry;
  /// The launchd labels found in the system domain; absent until looked up.
  std::optional<TimedEntry<std::vector<std::string>>> discoveredSystemLabelsEntry;
  /// Per target label its process id, itself absent when the target has no process.
  std::map<std::string, TimedEntry<std::optional<std::int64_t>>> pidEntriesByTarget;
};

}  // namespace blindfold
