#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "blindfold/text/enumeration_table.h"

namespace blindfold {

/// The argument of a method of the helper's protocol, beside its reply block.
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

/// `BlindfoldXPCProtocol`, the protocol that the helper implements and every end of a connection
/// speaks: the client, the platforms and the development helper.
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

/// The method with this selector, compared exactly; `std::nullopt` when there is none.
constexpr std::optional<HelperMethod> helperMethodWithSelector(std::string_view selector) {
  const auto row = std::find_if(helperProtocol.begin(), helperProtocol.end(),
                                [&](const auto& each) { return each.selector == selector; });
  if (row == helperProtocol.end()) return std::nullopt;
  return row->method;
}

/// Raw bytes, JSON documents mostly. Not text: they may hold anything that the other end sent.
using Bytes = std::string;

/// No argument beside the reply block.
struct NoArgument {
  bool operator==(const NoArgument&) const = default;
};

/// A byte buffer.
struct DataArgument {
  Bytes bytes;
  bool operator==(const DataArgument&) const = default;
};

/// A text (UTF-8); absent where the method's text is optional.
struct TextArgument {
  std::optional<std::string> text;
  bool operator==(const TextArgument&) const = default;
};

using MessageArgument = std::variant<NoArgument, DataArgument, TextArgument>;

/// One call of one method. Its argument is of the kind that the method takes.
struct HelperMessage {
  HelperMethod method;
  MessageArgument argument;

  bool operator==(const HelperMessage&) const = default;
};

/// The forms of an argument. An absent text has one of its own, so that it is not taken for an
/// empty one. The values are those of the transport.
enum class ArgumentForm : std::uint8_t { none, data, text, absent };

struct ArgumentFormDescription {
  ArgumentForm form;
  std::string_view name;
  ArgumentKind kind;
};

inline constexpr EnumerationTable argumentForms(&ArgumentFormDescription::form,
                                                {{ArgumentForm::none, "none", ArgumentKind::none},
                                                 {ArgumentForm::data, "data", ArgumentKind::data},
                                                 {ArgumentForm::text, "text", ArgumentKind::text},
                                                 {ArgumentForm::absent, "absent",
                                                  ArgumentKind::text}});

/// The form of `argument`.
inline ArgumentForm formOf(const MessageArgument& argument) {
  if (std::holds_alternative<DataArgument>(argument)) return ArgumentForm::data;
  const auto* const text = std::get_if<TextArgument>(&argument);
  if (text == nullptr) return ArgumentForm::none;
  return text->text ? ArgumentForm::text : ArgumentForm::absent;
}

/// The bytes of `argument`, empty where its form has none. Points into `argument`.
inline std::string_view bytesOf(const MessageArgument& argument) {
  if (const auto* const data = std::get_if<DataArgument>(&argument)) return data->bytes;
  const auto* const text = std::get_if<TextArgument>(&argument);
  if (text == nullptr || !text->text) return {};
  return *text->text;
}

}  // namespace blindfold
