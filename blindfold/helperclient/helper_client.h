#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "blindfold/config/deployment_settings.h"
#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/helperclient/request.h"
#include "blindfold/helperclient/task.h"
#include "blindfold/model/hold.h"
#include "blindfold/platform/platform.h"

namespace blindfold {

/// The long-lived connection that `beginPresence:` keeps open, for clients that announce
/// themselves. A client sets it up as it stands here; none of its requests uses it.
struct PresenceState {
  std::mutex presenceLock;
  std::shared_ptr<HelperConnection> presenceConnection;
  std::optional<const HelperConnection*> presenceConnectionID;
  bool presenceStarted = false;
  bool presenceStopped = false;
  double presenceReconnectDelay = 1.0;
};

/// The client of the privileged helper. Every operation is one request: is the helper installed,
/// may this program ask it (unless that check is skipped), one fresh connection, one message, one
/// outcome under a time limit. Nothing is retried, and nothing is kept between requests.
///
/// Operations are awaited (see `Task`) and go on from the platform's main loop; several may be
/// under way at once. The client outlives them. They throw `HelperClientError`; a reply that cannot
/// be decoded is its `transport`, in the decoder's words.
class HelperClient {
 public:
  /// The time limit, in seconds, of requests that only read the helper's state.
  const double statusRequestTimeout = 5.0;
  /// The time limit, in seconds, of requests that change it.
  const double controlRequestTimeout = 12.0;
  /// Whether requests go out without asking first if this program is an authorized client.
  const bool skipClientAuthorizationPrecheck;

  /// A client over the platform and the settings of this process. Contacts nothing. `skipPrecheck`
  /// is what `skipClientAuthorizationPrecheck` becomes.
  explicit HelperClient(bool skipPrecheck);

  /// A client over a platform and settings that outlive it. Contacts nothing.
  HelperClient(bool skipPrecheck, const Platform& platform, const DeploymentSettings& settings);

  HelperClient(const HelperClient&) = delete;
  HelperClient& operator=(const HelperClient&) = delete;
  ~HelperClient() = default;

  /// `detectTargets:`. The reply's bytes, as they came: the caller decodes a `DetectionResult`.
  Task<Bytes> detectTargets(double timeout);

  /// `currentState:`.
  Task<HoldState> currentState();

  /// `hold:withReply:`. Throws the `EncodingError` itself when the request cannot be encoded; no
  /// connection is made then.
  Task<OperationResult> hold(HoldRequest request);

  /// `renew:withReply:`. The lease identifier is passed on unchanged.
  Task<OperationResult> renew(std::string leaseID);

  /// `release:withReply:`, of one lease, or of whatever is held when `leaseID` is absent.
  Task<OperationResult> release(std::optional<std::string> leaseID);

  /// `restoreAll:`.
  Task<OperationResult> restoreAll();

  /// `muteMic:`.
  Task<OperationResult> muteMicrophones();

  /// `unmuteMic:`.
  Task<OperationResult> unmuteMicrophones();

 private:
  /// One request with a body that sends one message; `timeout` in seconds.
  Task<Bytes> withConnection(double timeout, MessageBody body);

  /// One request that sends `message` and decodes its reply.
  template <class Reply>
  Task<Reply> request(double timeout, HelperMessage message);

  std::shared_ptr<HelperConnection> makeConnection() const;

  const Platform& platform_;
  const FileManager& fileManager_;
  const DeploymentSettings& settings_;
  PresenceState presence_;
};

}  // namespace blindfold
