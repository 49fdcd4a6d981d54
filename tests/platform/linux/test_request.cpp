#include "tests/platform/linux/test_request.h"

#include <utility>

namespace blindfold {
namespace {
constexpr auto ampleTime = std::chrono::seconds(20);
}  // namespace

TestRequest::TestRequest(const std::string& serviceName)
    : connection_(provider_.makePrivilegedConnection(serviceName)) {
  connection_->setInvalidationHandler([this] { hear("invalidated"); });
  connection_->setInterruptionHandler([this] { hear("interrupted"); });
}

void TestRequest::start(HelperMessage message) {
  resume();
  send(std::move(message));
}

void TestRequest::resume() {
  isInsideCall_ = true;
  connection_->resume();
  isInsideCall_ = false;
}

void TestRequest::send(HelperMessage message) {
  isInsideCall_ = true;
  const auto proxy = connection_->remoteObjectProxy(
      [this](const PlatformError& error) { hear("error " + std::string(error.what())); });
  proxy->send(std::move(message), [this](const Bytes& bytes) { hear("reply " + bytes); });
  isInsideCall_ = false;
}

void TestRequest::invalidate() {
  isInsideCall_ = true;
  connection_->invalidate();
  isInsideCall_ = false;
}

std::vector<std::string> TestRequest::outcome(std::size_t count) {
  bool isOver = false;
  const auto limit = loop_.schedule(ampleTime, [&] { isOver = true; });
  while (heard_.size() < count && !isOver) loop_.runRound();
  limit->cancel();
  return heard_;
}

std::vector<std::string> TestRequest::heardWithin(std::chrono::milliseconds time) {
  bool isOver = false;
  loop_.schedule(time, [&] { isOver = true; });
  while (!isOver) loop_.runRound();
  return heard_;
}

void TestRequest::hear(std::string event) {
  if (isInsideCall_) heard_.emplace_back("inside a call");
  heard_.push_back(std::move(event));
}

}  // namespace blindfold
