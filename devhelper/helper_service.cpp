#include "devhelper/helper_service.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "devhelper/simulated_helper.h"

namespace blindfold {
namespace {

/// How long clients wait when there is no room for them, before it is looked for again.
constexpr double acceptPauseSeconds = 0.02;

}  // namespace

HelperService::HelperService(EventLoop& loop, const ServiceListener& listener,
                             HelperServiceParts parts,
                             std::function<void(const PlatformError&)> failed)
    : loop_(loop), listener_(listener), parts_(std::move(parts)), failed_(std::move(failed)) {
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
  nextAccept_ = loop_.makeWorkItem([this] { watchForClients(); });
  loop_.schedule(nextAccept_, acceptPauseSeconds);
}

void HelperService::addClient(FileDescriptor socket) {
  const auto place = clients_.emplace(clients_.end());
  *place = std::make_unique<ClientConnection>(
      loop_, std::move(socket), [this](const HelperMessage& message) { return respond(message); },
      [this, place] { clients_.erase(place); });
}

Answer HelperService::respond(const HelperMessage& message) {
  try {
    if (parts_.recorder) parts_.recorder->append(message);
  } catch (const PlatformError& error) {
    failed_(error);
    return {.ending = Answer::Ending::close};
  }
  if (auto scripted = parts_.script.next(message.method)) return std::move(*scripted);
  return {.ending = Answer::Ending::reply, .bytes = simulatedReply(parts_.mac, message)};
}

}  // namespace blindfold
