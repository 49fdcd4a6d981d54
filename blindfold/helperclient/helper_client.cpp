#include "blindfold/helperclient/helper_client.h"

#include <exception>
#include <utility>

#include "blindfold/authorization/client_authorization.h"
#include "blindfold/helperclient/decode_reply.h"
#include "blindfold/model/json/json_encoder.h"

namespace blindfold {
namespace {

using Case = HelperClientError::Case;

MessageBody sending(HelperMessage message) {
  return [message = std::move(message)](HelperProxy& proxy, ReplyHandler reply) {
    proxy.send(message, std::move(reply));
  };
}

}  // namespace

HelperClient::HelperClient(bool skipPrecheck, const Platform& platform,
                           const DeploymentSettings& settings)
    : skipClientAuthorizationPrecheck(skipPrecheck),
      platform_(platform),
      fileManager_(platform.fileManager),
      settings_(settings) {}

Task<Bytes> HelperClient::detectTargets(double timeout) {
  return withConnection(timeout, sending({HelperMethod::detectTargets, NoArgument{}}));
}

Task<HoldState> HelperClient::currentState() {
  return request<HoldState>(statusRequestTimeout, {HelperMethod::currentState, NoArgument{}});
}

Task<OperationResult> HelperClient::hold(HoldRequest holdRequest) {
  // A local: g++ 12 destroys an aggregate that is a temporary of an awaiting expression twice.
  HelperMessage message{HelperMethod::hold, DataArgument{makeJSONEncoder().encode(holdRequest)}};
  co_return co_await request<OperationResult>(controlRequestTimeout, std::move(message));
}

Task<OperationResult> HelperClient::renew(std::string leaseID) {
  return request<OperationResult>(controlRequestTimeout,
                                  {HelperMethod::renew, TextArgument{std::move(leaseID)}});
}

Task<OperationResult> HelperClient::release(std::optional<std::string> leaseID) {
  return request<OperationResult>(controlRequestTimeout,
                                  {HelperMethod::release, TextArgument{std::move(leaseID)}});
}

Task<OperationResult> HelperClient::restoreAll() {
  return request<OperationResult>(controlRequestTimeout, {HelperMethod::restoreAll, NoArgument{}});
}

Task<OperationResult> HelperClient::muteMicrophones() {
  return request<OperationResult>(controlRequestTimeout, {HelperMethod::muteMic, NoArgument{}});
}

Task<OperationResult> HelperClient::unmuteMicrophones() {
  return request<OperationResult>(controlRequestTimeout, {HelperMethod::unmuteMic, NoArgument{}});
}

Task<Bytes> HelperClient::withConnection(double timeout, MessageBody body) {
  if (!fileManager_.isExecutableFile(settings_.helperInstallURL().path())) {
    throw HelperClientError(Case::helperNotInstalled);
  }
  if (!skipClientAuthorizationPrecheck &&
      !clientAuthorizationAssessment(platform_, settings_).mode) {
    throw HelperClientError(Case::unauthorizedClient);
  }
  Request request(platform_, makeConnection(), timeout, std::move(body));
  co_return co_await request;
}

template <class Reply>
Task<Reply> HelperClient::request(double timeout, HelperMessage message) {
  const Bytes reply = co_await withConnection(timeout, sending(std::move(message)));
  co_return decodeReply<Reply>(reply);
}

std::shared_ptr<HelperConnection> HelperClient::makeConnection() const {
  try {
    return platform_.helperConnections.makePrivilegedConnection(settings_.helperMachServiceName());
  } catch (const PlatformError&) {
    throw HelperClientError::transport(std::current_exception());
  }
}

}  // namespace blindfold
