#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "blindfold/config/deployment_settings.h"
#include "blindfold/config/deployment_values.h"
#include "blindfold/helperclient/task.h"
#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/platform.h"

namespace blindfold {

/// The long-lived connection that `beginPresence:` keeps open, for clients that announce
/// themselves. Set up as it stands here; no request uses it.
struct PresenceState {
  std::mutex presenceLock;
  std::shared_ptr<HelperConnection> presenceConnection;
  std::optional<const HelperConnection*> presenceConnectionID;
  bool presenceStarted = false;
  bool presenceStopped = false;
  double presenceReconnectDelay = 1.0;
};

/// The state of a client, shared with its requests so that each may outlive the client.
class HelperClientState {
 public:
  /// A client over a platform and settings that outlive it and its requests.
  HelperClientState(bool skipPrecheck, const Platform& usedPlatform,
                    const DeploymentSettings& usedSettings)
      : platform(usedPlatform),
        fileManager(usedPlatform.fileManager),
        settings(usedSettings),
        skipClientAuthorizationPrecheck(skipPrecheck) {}
  HelperClientState(bool, const Platform&, const DeploymentSettings&&) = delete;
  HelperClientState(bool, const Platform&&, const DeploymentSettings&) = delete;

  /// A client over a platform that outlives it and its requests, with `values` in place of settings
  /// of the main bundle.
  HelperClientState(bool skipPrecheck, const Platform& usedPlatform, const DeploymentValues& values)
      : platform(usedPlatform),
        fileManager(usedPlatform.fileManager),
        bundleWithValues_(std::in_place, usedPlatform.bundles.mainBundle(), values),
        settingsWithValues_(std::in_place, *bundleWithValues_, fileManager),
        settings(*settingsWithValues_),
        skipClientAuthorizationPrecheck(skipPrecheck) {}
  HelperClientState(bool, const Platform&&, const DeploymentValues&) = delete;

  const Platform& platform;
  const FileManager& fileManager;

 private:
  const std::optional<BundleWithValues> bundleWithValues_;
  const std::optional<DeploymentSettings> settingsWithValues_;

 public:
  const DeploymentSettings& settings;
  const bool skipClientAuthorizationPrecheck;
  PresenceState presence;
};

/// Sends one message on the proxy, with the given reply handler. Called once, while the request is
/// being set up; a `PlatformError` that it throws ends the request.
using MessageBody = std::function<void(HelperProxy&, ReplyHandler)>;

/// One request: checks that the helper is installed and, unless the client skips it, that this
/// program is authorized, makes a fresh connection, sends one message by `body` and yields the
/// reply's bytes. Throws `HelperClientError`. `timeout` is in seconds from the moment at which the
/// connection is started; one that is negative or not a number is none at all.
Task<Bytes> withConnection(std::shared_ptr<const HelperClientState> client, double timeout,
                           MessageBody body);

}  // namespace blindfold
