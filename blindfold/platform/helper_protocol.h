#pragma once

#include <algorithm>
#include <optional>
#include <string_view>

#include "blindfold/text/enumeration_table.h"

namespace blindfold {

/// What a method of the helper's protocol takes beside its reply block.
enum class ArgumentKind { none, data, text };

/// The methods of `BlindfoldXPCProtocol`, in the protocol's order.
enum class HelperMethod {
  beginPresence,
  installStatus,
  detectTargets,
  hold,
  renew,
  release,
  restoreAll,
  muteMic,
  unmuteMic,
  currentState,
};

/// One method of the protocol. Every method also takes, last, a block that receives the reply: one
/// byte buffer that holds a JSON document.
struct HelperMethodDescription {
  HelperMethod method;
  std::string_view selector;
  ArgumentKind argument;
};

/// `BlindfoldXPCProtocol`, the protocol that the helper implements. It stands here, below both ends
/// of the connection, because the client, the platforms and the development helper all speak it.
inline constexpr EnumerationTable helperProtocol(
    &HelperMethodDescription::method,
    {{HelperMethod::beginPresence, "beginPresence:", ArgumentKind::none},
     {HelperMethod::installStatus, "installStatus:", ArgumentKind::none},
     {HelperMethod::detectTargets, "detectTargets:", ArgumentKind::none},
     {HelperMethod::hold, "hold:withReply:", ArgumentKind::data},
     {HelperMethod::renew, "renew:withReply:", ArgumentKind::text},
     {HelperMethod::release, "release:withReply:", ArgumentKind::text},
     {HelperMethod::restoreAll, "restoreAll:", ArgumentKind::none},
     {HelperMethod::muteMic, "muteMic:", ArgumentKind::none},
     {HelperMethod::unmuteMic, "unmuteMic:", ArgumentKind::none},
     {HelperMethod::currentState, "currentState:", ArgumentKind::none}});

/// The row of `method`.
constexpr const HelperMethodDescription& describe(HelperMethod method) {
  return helperProtocol[method];
}

/// The method with this selector, compared exactly, or nothing.
constexpr std::optional<HelperMethod> helperMethodWithSelector(std::string_view selector) {
  const auto row = std::find_if(helperProtocol.begin(), helperProtocol.end(),
                                [&](const auto& each) { return each.selector == selector; });
  if (row == helperProtocol.end()) return std::nullopt;
  return row->method;
}

}  // namespace blindfold
