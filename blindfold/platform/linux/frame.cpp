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

Bytes encodeFrame(const Frame& frame) {
  Bytes bytes = encodeFrameHeader(frame.kind, frame.payload.size());
  bytes.reserve(frameHeaderSize + frame.payload.size());
  return bytes += frame.payload;
}

Bytes encodeMessage(const HelperMessage& message) {
  const HelperMethodDescription& method = describe(message.method);
  const ArgumentForm form = formOf(message.argument);
  assert(argumentForms[form].kind == method.argument);
  Bytes payload;
  payload += static_cast<char>(method.selector.size());
  payload += method.selector;
  payload += static_cast<char>(form);
  payload += bytesOf(message.argument);
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
  // At least as many bytes are dropped as are moved, so the whole takes linear time.
  if (taken_ >= arrived_.size() - taken_) {
    arrived_.erase(0, taken_);
    taken_ = 0;
  }
  arrived_ += bytes;
}

std::optional<Frame> FrameReader::next() {
  if (!header_ && arrived_.size() - taken_ >= frameHeaderSize) {
    header_ = decodeHeader(std::string_view(arrived_).substr(taken_, frameHeaderSize));
    taken_ += frameHeaderSize;
  }
  if (!header_) return std::nullopt;
  const std::size_t part = std::min(header_->length - payload_.size(), arrived_.size() - taken_);
  payload_.append(arrived_, taken_, part);
  taken_ += part;
  if (payload_.size() < header_->length) return std::nullopt;
  Frame frame{header_->kind, std::exchange(payload_, {})};
  header_.reset();
  return frame;
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
