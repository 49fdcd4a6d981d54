#include "devhelper/linux/helper_service.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <utility>

namespace blindfold {
namespace {
/// The time between two attempts to accept clients while there is no room for them.
constexpr auto acceptPause = std::chrono::milliseconds(20);
}  // namespace

HelperService::HelperService(EventLoop& loop, const ServiceListener& listener,
                             DevelopmentHelper& helper,
                             std::function<void(const PlatformError&)> failed)
    : loop_(loop), listener_(listener), helper_(helper), failed_(std::move(failed)) {
  watchForClients();
}

HelperService::~HelperService() {
  if (nextAccept_) nextAccept_->cancel();
  loop_.unwatch(listener_.descriptor());
}

void HelperService::watchForClients() {
  loop_.watch(listener_.descriptor(), POLLIN, [this](short) { acceptClients(); });
}

void HelperService::acceptClients() {
  while (clients_.size() < maximumClients) {
    FileDescriptor socket(
        accept4(listener_.descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket) {
      addClient(std::move(socket));
    } else if (errno == EAGAIN) {
      return;
    } else if (errno != EINTR && errno != ECONNABORTED) {
      break;
    }
  }
  pauseAccepting();
}

void HelperService::pauseAccepting() {
  loop_.unwatch(listener_.descriptor());
  nextAccept_ = loop_.schedule(acceptPause, [this] { watchForClients(); });
}

void HelperService::addClient(FileDescriptor socket) {
  const auto client = clients_.emplace(clients_.end());
  *client = std::make_unique<ClientConnection>(
      loop_, std::move(socket), budget_,
      [this](const HelperMessage& message) { return respond(message); },
      [this, client] { clients_.erase(client); });
}

Answer HelperService::respond(const HelperMessage& message) {
  try {
    return helper_.answer(message);
  } catch (const PlatformError& error) {
    failed_(error);
    return {.ending = Answer::Ending::close};
  }
}

}  // namespace blindfold
