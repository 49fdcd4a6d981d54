#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/config/deployment_values.h"
#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/helperclient/run_task.h"
#include "blindfold/helperclient/task.h"
#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"

namespace blindfold {

class HelperClientState;

/// The client of the privileged helper. Every operation is one request: it checks that the helper
/// is installed and, unless the check is skipped, that this program is an authorized client; then
/// it makes one fresh connection, sends one message and takes one outcome under a time limit.
/// Nothing is retried, cached or logged.
///
/// An operation starts when its task runs (see run_task.h), on the thread that runs the task: there
/// the checks are made and the reply is decoded. Only waiting takes place elsewhere. Several
/// operations may be under way at once, from several threads. A task may outlive its client;
/// destroying it gives the request up.
///
/// Operations throw `HelperClientError` and nothing else, `hold` excepted. A reply that cannot be
/// decoded is its `transport`, in the decoder's words.
class HelperClient {
 public:
  /// The time limit of requests that only read the helper's state, in seconds.
  const double statusRequestTimeout = 5.0;
  /// The time limit of requests that change it, in seconds.
  const double controlRequestTimeout = 12.0;

  /// A client with the settings of this process. Contacts nothing.
  /// `skipClientAuthorizationPrecheck`: whether requests go out without asking first whether this
  /// program is an authorized client.
  explicit HelperClient(bool skipClientAuthorizationPrecheck);

  /// A client with `values` in place of settings of this process. Contacts nothing.
  HelperClient(bool skipClientAuthorizationPrecheck, const DeploymentValues& values);

  /// A client of this library's own making.
  explicit HelperClient(std::shared_ptr<const HelperClientState> state);

  HelperClient(const HelperClient&) = delete;
  HelperClient& operator=(const HelperClient&) = delete;
  ~HelperClient();

  /// `detectTargets:`. Yields the reply's bytes as they came; `decodeDetectionResult` reads them.
  /// `timeout` is in seconds; one that is negative or not a number is none at all.
  Task<std::string> detectTargets(double timeout);

  /// `currentState:`.
  Task<HoldState> currentState();

  /// `hold:withReply:`. Throws `EncodingError` when the request cannot be encoded, which is so for
  /// a `durationHint` that is not finite; no connection is made then.
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
  const std::shared_ptr<const HelperClientState> state_;
};

/// The detection in the bytes that `HelperClient::detectTargets` yields. Throws `HelperClientError`
/// `transport` carrying the decoder's error when they hold none.
DetectionResult decodeDetectionResult(std::string_view reply);

}  // namespace blindfold
