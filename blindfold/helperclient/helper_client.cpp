#include "blindfold/helperclient/helper_client.h"

#include <exception>
#include <string>
#include <utility>

#include "blindfold/config/deployment_settings.h"
#include "blindfold/helperclient/request.h"
#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/platform/platform.h"

namespace blindfold {
namespace {
using SharedState = std::shared_ptr<const HelperClientState>;

MessageBody sending(HelperMessage message) {
  return [message = std::move(message)](HelperProxy& proxy, ReplyHandler reply) mutable {
    proxy.send(std::move(message), std::move(reply));
  };
}

/// The record in a reply's bytes. Throws `transport` with a `DecodingError` that says that the
/// reply cannot be read.
template <class Record>
Record decodeReply(std::string_view reply) {
  try {
    return JSONDecoder{}.decode<Record>(reply);
  } catch (const DecodingError& error) {
    throw HelperClientError::transport(std::make_exception_ptr(
        DecodingError(error.kind(), std::string("The reply cannot be read: ") + error.what())));
  } catch (...) {
    throw HelperClientError::transport(std::current_exception());
  }
}

/// One request that sends `message` and decodes its reply.
template <class Record>
Task<Record> request(SharedState client, double timeout, HelperMessage message) {
  const Bytes reply = co_await withConnection(client, timeout, sending(std::move(message)));
  co_return decodeReply<Record>(reply);
}

Task<OperationResult> requestHold(SharedState client, double timeout, HoldRequest holdRequest) {
  // A local: g++ 12 destroys an aggregate that is a temporary of an awaiting expression twice.
  HelperMessage message{HelperMethod::hold, DataArgument{makeJSONEncoder().encode(holdRequest)}};
  co_return co_await request<OperationResult>(client, timeout, std::move(message));
}
}  // namespace

HelperClient::HelperClient(bool skipClientAuthorizationPrecheck)
    : HelperClient(std::make_shared<const HelperClientState>(
          skipClientAuthorizationPrecheck, currentPlatform(), deploymentSettings())) {}

HelperClient::HelperClient(bool skipClientAuthorizationPrecheck, const DeploymentValues& values)
    : HelperClient(std::make_shared<const HelperClientState>(skipClientAuthorizationPrecheck,
                                                             currentPlatform(), values)) {}

HelperClient::HelperClient(std::shared_ptr<const HelperClientState> state)
    : state_(std::move(state)) {}

HelperClient::~HelperClient() = default;

Task<std::string> HelperClient::detectTargets(double timeout) {
  return withConnection(state_, timeout, sending({HelperMethod::detectTargets, NoArgument{}}));
}

Task<HoldState> HelperClient::currentState() {
  return request<HoldState>(state_, statusRequestTimeout,
                            {HelperMethod::currentState, NoArgument{}});
}

Task<OperationResult> HelperClient::hold(HoldRequest request) {
  return requestHold(state_, controlRequestTimeout, std::move(request));
}

Task<OperationResult> HelperClient::renew(std::string leaseID) {
  return request<OperationResult>(state_, controlRequestTimeout,
                                  {HelperMethod::renew, TextArgument{std::move(leaseID)}});
}

Task<OperationResult> HelperClient::release(std::optional<std::string> leaseID) {
  return request<OperationResult>(state_, controlRequestTimeout,
                                  {HelperMethod::release, TextArgument{std::move(leaseID)}});
}

Task<OperationResult> HelperClient::restoreAll() {
  return request<OperationResult>(state_, controlRequestTimeout,
                                  {HelperMethod::restoreAll, NoArgument{}});
}

Task<OperationResult> HelperClient::muteMicrophones() {
  return request<OperationResult>(state_, controlRequestTimeout,
                                  {HelperMethod::muteMic, NoArgument{}});
}

Task<OperationResult> HelperClient::unmuteMicrophones() {
  return request<OperationResult>(state_, controlRequestTimeout,
                                  {HelperMethod::unmuteMic, NoArgument{}});
}

DetectionResult decodeDetectionResult(std::string_view reply) {
  return decodeReply<DetectionResult>(reply);
}

}  // namespace blindfold
