#include "blindfold/platform/linux/frame.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace blindfold {
namespace {
constexpr std::string_view frameMark = "BLFD";
constexpr char frameVersion = 1;
constexpr std::string_view reservedBytes{"\0\0", 2};

/// The offsets of the header's fields.
constexpr std::size_t versionOffset = 4;
constexpr std::size_t kindOffset = 5;
constexpr std::size_t reservedOffset = 6;
constexpr std::size_t lengthOffset = 8;

void appendLength(Bytes& bytes, std::size_t length) {
  for (const int shift : {24, 16, 8, 0}) {
    bytes += static_cast<char>(static_cast<unsigned char>(length >> shift));
  }
}

std::size_t readLength(std::string_view bytes) {
  std::size_t length = 0;
  for (const char byte : bytes) length = length << 8 | static_cast<unsigned char>(byte);
  return length;
}

std::optional<FrameKind> frameKind(char byte) {
  for (const auto kind : {FrameKind::request, FrameKind::reply, FrameKind::error}) {
    if (static_cast<char>(kind) == byte) return kind;
  }
  return std::nullopt;
}

/// The form that `byte` names; `std::nullopt` when it names none.
std::optional<ArgumentForm> argumentForm(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  if (value >= argumentForms.size()) return std::nullopt;
  return static_cast<ArgumentForm>(value);
}

MessageArgument decodeArgument(ArgumentForm form, std::string_view bytes) {
  if (form == ArgumentForm::data) return DataArgument{Bytes(bytes)};
  if (form == ArgumentForm::text) return TextArgument{std::string(bytes)};
  if (!bytes.empty()) throw platformError(FrameFault::bytesWithoutArgument);
  if (form == ArgumentForm::none) return NoArgument{};
  return TextArgument{};
}
}  // namespace

Bytes encodeFrameHeader(FrameKind kind, std::size_t payloadSize) {
  if (payloadSize > maximumFramePayload) throw platformError(FrameFault::payloadTooLarge);
  Bytes bytes;
  bytes += frameMark;
  bytes += frameVersion;
  bytes += static_cast<char>(kind);
  bytes += reservedBytes;
  appendLength(bytes, payloadSize);
  return bytes;
}

Bytes encodeFrame(Frame frame) {
  frame.payload.insert(0, encodeFrameHeader(frame.kind, frame.payload.size()));
  return std::move(frame.payload);
}

Bytes encodeMessage(const HelperMessage& message) {
  const HelperMethodDescription& method = describe(message.method);
  const ArgumentForm form = formOf(message.argument);
  assert(argumentForms[form].kind == method.argument);
  const std::string_view argument = bytesOf(message.argument);
  Bytes payload;
  // Room for a frame's header, so that a large message is not in memory twice.
  payload.reserve(frameHeaderSize + 1 + method.selector.size() + 1 + argument.size());
  payload += static_cast<char>(method.selector.size());
  payload += method.selector;
  payload += static_cast<char>(form);
  payload += argument;
  return payload;
}

HelperMessage decodeMessage(std::string_view payload) {
  if (payload.empty()) throw platformError(FrameFault::selectorCutShort);
  const std::size_t selectorSize = static_cast<unsigned char>(payload.front());
  payload.remove_prefix(1);
  if (payload.size() < selectorSize) throw platformError(FrameFault::selectorCutShort);
  const auto method = helperMethodWithSelector(payload.substr(0, selectorSize));
  if (!method) throw platformError(FrameFault::unknownSelector);
  payload.remove_prefix(selectorSize);
  if (payload.empty()) throw platformError(FrameFault::argumentKindMissing);
  const auto form = argumentForm(payload.front());
  if (!form) throw platformError(FrameFault::unknownArgumentKind);
  if (argumentForms[*form].kind != describe(*method).argument) {
    throw platformError(FrameFault::argumentDoesNotFit);
  }
  payload.remove_prefix(1);
  return {*method, decodeArgument(*form, payload)};
}

void FrameReader::append(std::string_view bytes) {
  if (header_) bytes.remove_prefix(appendToPayload(bytes, header_->length));
  // At least as many bytes are dropped as are moved, so the whole takes linear time.
  if (taken_ >= arrived_.size() - taken_) {
    arrived_.erase(0, taken_);
    taken_ = 0;
  }
  arrived_ += bytes;
}

std::optional<Frame> FrameReader::next() {
  if (!header_) {
    if (arrived_.size() - taken_ < frameHeaderSize) return std::nullopt;
    header_ = decodeHeader(std::string_view(arrived_).substr(taken_, frameHeaderSize));
    taken_ += frameHeaderSize;
    taken_ += appendToPayload(std::string_view(arrived_).substr(taken_), header_->length);
  }
  if (payload_.size() < header_->length) return std::nullopt;
  Frame frame{header_->kind, std::exchange(payload_, {})};
  header_.reset();
  return frame;
}

/// Appends to the payload, which is `length` long in the end, what `bytes` begin with of it, and
/// returns the size of that.
std::size_t FrameReader::appendToPayload(std::string_view bytes, std::size_t length) {
  // A payload that grew by doubling to its end would be in memory twice.
  constexpr std::size_t certainPart = 8;
  if (payload_.size() >= length / certainPart) payload_.reserve(length);
  const std::size_t size = std::min(length - payload_.size(), bytes.size());
  payload_.append(bytes.substr(0, size));
  return size;
}

FrameReader::Header FrameReader::decodeHeader(std::string_view bytes) {
  if (!bytes.starts_with(frameMark)) throw platformError(FrameFault::wrongMark);
  if (bytes[versionOffset] != frameVersion) throw platformError(FrameFault::unsupportedVersion);
  const auto kind = frameKind(bytes[kindOffset]);
  if (!kind) throw platformError(FrameFault::unknownKind);
  if (bytes.substr(reservedOffset, reservedBytes.size()) != reservedBytes) {
    throw platformError(FrameFault::reservedNotZero);
  }
  const std::size_t length = readLength(bytes.substr(lengthOffset));
  if (length > maximumFramePayload) throw platformError(FrameFault::payloadTooLarge);
  return {*kind, length};
}

}  // namespace blindfold
