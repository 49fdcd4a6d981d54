#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "blindfold/model/json/json_decoder.h"
#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/platform_error.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/utf8.h"
#include "devhelper/development_helper.h"
#include "devhelper/recorder.h"
#include "tests/fuzz/require.h"

// Any payload of a request is refused with one line, or is the payload of the
// message read from it, which the development helper records as one line and answers by one line of
// JSON.

namespace blindfold {
namespace {
void answer(DevelopmentHelper& helper, std::string_view payload) {
  try {
    const HelperMessage message = decodeMessage(payload);
    require(encodeMessage(message) == payload, "a message is the payload that it was read from");
    require(recordLine(message).find('\n') == recordLine(message).size() - 1, "a record is a line");
    const std::string reply(helper.answer(message).bytes.view());
    require(isValidUTF8(reply), "a reply is UTF-8");
    require(reply.starts_with('{') && reply.ends_with('}'), "a reply is an object");
    require(reply.find('\n') == std::string::npos, "a reply is one line");
  } catch (const PlatformError& error) {
    require(error.what() == oneLine(error.what()), "an error is one line");
  }
}
}  // namespace
}  // namespace blindfold

/// The input is payloads, each behind its length of two bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  blindfold::DevelopmentHelper helper({}, {});
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  while (rest.size() >= 2) {
    const std::size_t length =
        data[size - rest.size()] * std::size_t{256} + data[size - rest.size() + 1];
    rest.remove_prefix(2);
    const auto payload = rest.substr(0, length);
    blindfold::answer(helper, payload);
    rest.remove_prefix(payload.size());
  }
  return 0;
}
