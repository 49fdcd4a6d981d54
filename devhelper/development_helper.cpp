#include "devhelper/development_helper.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"

namespace blindfold {
namespace {
const std::optional<std::string>& leaseID(const MessageArgument& argument) {
  return std::get<TextArgument>(argument).text;
}

OperationResult hold(SimulatedMac& mac, const Bytes& request) {
  try {
    return mac.hold(JSONDecoder{}.decode<HoldRequest>(request));
  } catch (const DecodingError& error) {
    return {false, std::string("That is not a hold request: ") + error.what()};
  }
}

template <class Record>
Bytes json(const Record& record) {
  return makeJSONEncoder().encode(record);
}

Bytes beginPresence(SimulatedMac& /*mac*/, const MessageArgument& /*none*/) {
  return json(OperationResult{true, "Presence begun."});
}

Bytes installStatus(SimulatedMac& /*mac*/, const MessageArgument& /*none*/) {
  return R"({"installed":true,"version":"development"})";
}

struct MethodDescription {
  HelperMethod method;
  Bytes (*reply)(SimulatedMac& mac, const MessageArgument& argument);
};

/// The replies to the methods, in the protocol's order.
constexpr std::array<MethodDescription, helperProtocol.size()> methodTable{{
    {HelperMethod::beginPresence, beginPresence},
    {HelperMethod::installStatus, installStatus},
    {HelperMethod::detectTargets, [](auto& mac, const auto&) { return json(mac.detectTargets()); }},
    {HelperMethod::hold,
     [](auto& mac, const auto& argument) {
       return json(hold(mac, std::get<DataArgument>(argument).bytes));
     }},
    {HelperMethod::renew,
     [](auto& mac, const auto& argument) { return json(mac.renew(leaseID(argument))); }},
    {HelperMethod::release,
     [](auto& mac, const auto& argument) { return json(mac.release(leaseID(argument))); }},
    {HelperMethod::restoreAll, [](auto& mac, const auto&) { return json(mac.restoreAll()); }},
    {HelperMethod::muteMic, [](auto& mac, const auto&) { return json(mac.muteMic()); }},
    {HelperMethod::unmuteMic, [](auto& mac, const auto&) { return json(mac.unmuteMic()); }},
    {HelperMethod::currentState, [](auto& mac, const auto&) { return json(mac.currentState()); }},
}};
}  // namespace

Bytes simulatedReply(SimulatedMac& mac, const HelperMessage& message) {
  const auto& row = methodTable[static_cast<std::size_t>(message.method)];
  assert(row.method == message.method);
  return row.reply(mac, message.argument);
}

DevelopmentHelper::DevelopmentHelper(const Options& options, Script script)
    : script_(std::move(script)),
      mac_(SimulatedMacOptions{.kind = options.kind, .cameraInUse = options.cameraInUse}) {
  if (options.recordPath) recorder_.emplace(*options.recordPath);
}

Answer DevelopmentHelper::answer(const HelperMessage& message) {
  if (recorder_) recorder_->append(message);
  if (auto scripted = script_.next(message.method)) return std::move(*scripted);
  return {.ending = Answer::Ending::reply, .bytes = simulatedReply(mac_, message)};
}

}  // namespace blindfold
