#include "blindfold/platform/linux/event_loop.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {
namespace {
/// On Linux CLOCK_MONOTONIC.
using Clock = std::chrono::steady_clock;
using Work = std::function<void()>;
using Handler = std::function<void(short)>;

/// The time between two calls of poll that fail.
constexpr std::chrono::milliseconds pollFailurePause{10};

/// The timeout of poll that ends no earlier than `deadline`, in milliseconds.
int millisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

/// Runs and destroys `work` without the lock.
void runUnlocked(std::unique_lock<std::mutex>& lock, Work work) {
  lock.unlock();
  work();
  work = nullptr;
  lock.lock();
}

/// Keeps signals from the calling thread, and so from threads that it starts meanwhile.
class AllSignalsBlocked {
 public:
  AllSignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  AllSignalsBlocked(const AllSignalsBlocked&) = delete;
  AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;
  ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

/// Takes the first piece of work off `queue`.
Work takeFirst(std::list<Work>& queue) {
  auto first = std::move(queue.front());
  queue.pop_front();
  return first;
}
}  // namespace

/// The loop's state; its own threads and its timed work share it. One lock guards all of it.
class EventLoop::State : public std::enable_shared_from_this<EventLoop::State> {
 public:
  explicit State(Server server)
      : startsThread_(server == Server::firstToServe),
        server_(startsThread_ ? std::thread::id() : std::this_thread::get_id()),
        mainThread_(server_) {}

  void end();
  void post(Work work);
  void enterMainThread();
  void runMainRound();
  void serveElsewhere(bool callerBlocks);
  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay, Work work);
  void performInNextRound(Work work);
  bool isServer() const;
  void watch(int descriptor, short events, Handler handler);
  void unwatch(int descriptor);

 private:
  using Lock = std::unique_lock<std::mutex>;
  class TimedItem;
  /// By deadline; items of one deadline in the order of scheduling.
  using Timetable = std::multimap<Clock::time_point, std::shared_ptr<TimedItem>>;

  struct Watch {
    std::uint64_t serial = 0;  ///< Tells this watch from a later one of the same descriptor.
    short events = 0;
    std::shared_ptr<const Handler> handler;  ///< Shared with the call that is under way.
  };

  /// The descriptors of one wait.
  struct Polled {
    std::vector<pollfd> descriptors;
    std::vector<std::uint64_t> serials;  ///< Of the watches behind `descriptors`.
  };

  bool dropFirst();
  /// Whether the calling thread is the server. With the lock held.
  bool serves() const { return server_ == std::this_thread::get_id(); }
  void startThread();
  void serveThread();
  void serveRound(Lock& lock);
  void wakeServer();
  int pollTimeout() const;
  void waitForDescriptors(Lock& lock);
  void callHandler(Lock& lock, const pollfd& ready, std::uint64_t serial);
  void runDueWork(Lock& lock);

  const bool startsThread_;
  mutable std::mutex lock_;
  std::thread::id server_;      // none until somebody serves
  std::thread::id mainThread_;  // the one that runs posted work; none until there is one
  bool isWaiting_ = false;      // the server is in poll
  bool isEnding_ = false;
  int ownThreads_ = 0;               // that have not ended
  std::condition_variable ending_;   // of own threads
  FileDescriptor wakeDescriptor_;    // an eventfd, from when there is more than one thread
  std::condition_variable posting_;  // for a main thread that does not serve

  std::list<Work> posted_;
  std::list<Work> performed_;
  Timetable timetable_;
  std::map<int, Watch> watches_;
  std::uint64_t nextSerial_ = 0;
  Polled polled_;  // of the server
};

/// An item is in the timetable until it is cancelled or its work is taken to be run.
class EventLoop::State::TimedItem final : public WorkItem {
 public:
  TimedItem(std::weak_ptr<State> state, Work work)
      : state_(std::move(state)), work_(std::move(work)) {}

  void cancel() override {
    Work dropped;
    const auto state = state_.lock();
    if (!state) return;
    const Lock guard(state->lock_);
    if (!isWaiting_) return;
    isWaiting_ = false;
    state->timetable_.erase(entry_);
    std::swap(dropped, work_);
  }

  /// With the lock held.
  void enter(Timetable::iterator entry) {
    entry_ = entry;
    isWaiting_ = true;
  }

  /// With the lock held.
  Work leave() {
    isWaiting_ = false;
    return std::exchange(work_, nullptr);
  }

 private:
  const std::weak_ptr<State> state_;
  Work work_;
  Timetable::iterator entry_;  // while it waits
  bool isWaiting_ = false;
};

void EventLoop::State::end() {
  {
    Lock guard(lock_);
    isEnding_ = true;
    wakeServer();
    ending_.wait(guard, [&] { return ownThreads_ == 0; });
  }
  // Work that is dropped may call the loop once more as it is destroyed.
  while (dropFirst()) {
  }
}

/// Destroys the first work or handler that is left, without the lock, and returns whether there was
/// one. Takes no memory: the process may be unwinding for want of it.
bool EventLoop::State::dropFirst() {
  Work work;
  std::shared_ptr<TimedItem> item;
  decltype(watches_)::node_type watch;
  const Lock guard(lock_);
  if (!posted_.empty()) {
    work = takeFirst(posted_);
  } else if (!performed_.empty()) {
    work = takeFirst(performed_);
  } else if (!timetable_.empty()) {
    item = timetable_.begin()->second;
    timetable_.erase(timetable_.begin());
    work = item->leave();
  } else {
    if (watches_.empty()) return false;
    watch = watches_.extract(watches_.begin());
  }
  return true;
}

void EventLoop::State::post(Work work) {
  const Lock guard(lock_);
  posted_.push_back(std::move(work));
  if (server_ == mainThread_) {
    wakeServer();
  } else {
    posting_.notify_one();
  }
}

bool EventLoop::State::isServer() const {
  const Lock guard(lock_);
  return serves();
}

void EventLoop::State::performInNextRound(Work work) {
  const Lock guard(lock_);
  performed_.push_back(std::move(work));
  if (server_ == std::thread::id()) startThread();
  wakeServer();
}

std::shared_ptr<WorkItem> EventLoop::State::schedule(std::chrono::nanoseconds delay, Work work) {
  const auto bounded = std::clamp<std::chrono::nanoseconds>(delay, delay.zero(), maximumDelay);
  const auto item = std::make_shared<TimedItem>(weak_from_this(), std::move(work));
  const Lock guard(lock_);
  item->enter(timetable_.emplace(Clock::now() + bounded, item));
  if (!serves()) {
    if (server_ == std::thread::id()) startThread();
    wakeServer();
  }
  return item;
}

void EventLoop::State::watch(int descriptor, short events, Handler handler) {
  auto shared = std::make_shared<const Handler>(std::move(handler));
  Watch replaced;
  const Lock guard(lock_);
  assert(serves());
  replaced = std::exchange(watches_[descriptor], {nextSerial_++, events, std::move(shared)});
}

void EventLoop::State::unwatch(int descriptor) {
  decltype(watches_)::node_type dropped;
  const Lock guard(lock_);
  dropped = watches_.extract(descriptor);
}

void EventLoop::State::serveElsewhere(bool callerBlocks) {
  const Lock guard(lock_);
  const bool isServed = server_ != std::thread::id() && server_ != mainThread_;
  if (!isServed || (callerBlocks && serves())) startThread();
}

/// Makes a new thread of the loop's own the server. The former server, if there is one, finishes
/// its round. With the lock held.
void EventLoop::State::startThread() {
  assert(startsThread_);
  const AllSignalsBlocked signalsAreForThePrograms;
  std::thread thread([state = shared_from_this()] { state->serveThread(); });
  server_ = thread.get_id();
  ++ownThreads_;
  thread.detach();
  wakeServer();
}

void EventLoop::State::serveThread() {
  Lock lock(lock_);
  while (!isEnding_ && serves()) serveRound(lock);
  --ownThreads_;
  ending_.notify_all();
}

/// Makes the calling thread the one that runs posted work, and the server if there is none.
void EventLoop::State::enterMainThread() {
  const Lock guard(lock_);
  mainThread_ = std::this_thread::get_id();
  if (server_ == std::thread::id()) server_ = mainThread_;
}

/// Serves, or waits for posted work where another thread serves; then runs posted work.
void EventLoop::State::runMainRound() {
  Lock lock(lock_);
  assert(mainThread_ == std::this_thread::get_id());
  if (serves()) {
    serveRound(lock);
  } else {
    posting_.wait(lock, [&] { return !posted_.empty(); });
  }
  for (auto left = posted_.size(); left > 0 && !posted_.empty(); --left) {
    runUnlocked(lock, takeFirst(posted_));
  }
}

/// Ends early when the work leaves the service to another thread.
void EventLoop::State::serveRound(Lock& lock) {
  waitForDescriptors(lock);
  while (serves() && !performed_.empty()) runUnlocked(lock, takeFirst(performed_));
  runDueWork(lock);
}

/// Ends the server's wait. With the lock held. Without a wake descriptor the server entered its
/// wait as the process's only thread, so that no other thread can call this before the wait ends.
void EventLoop::State::wakeServer() {
  if (!isWaiting_ || !wakeDescriptor_) return;
  isWaiting_ = false;
  const std::uint64_t one = 1;
  while (write(wakeDescriptor_.get(), &one, sizeof one) < 0 && errno == EINTR) {
  }
}

/// Waits for the descriptors, and no longer than until other work is to be done, then calls the
/// handlers of those that are ready.
void EventLoop::State::waitForDescriptors(Lock& lock) {
  const int timeout = pollTimeout();
  if (__libc_single_threaded == 0 && !wakeDescriptor_) {
    wakeDescriptor_ = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  }
  if (watches_.empty() && timeout == 0) return;

  Polled polled = std::exchange(polled_, {});
  polled.descriptors.clear();
  polled.serials.clear();
  for (const auto& [descriptor, watch] : watches_) {
    polled.descriptors.push_back({descriptor, watch.events, 0});
    polled.serials.push_back(watch.serial);
  }
  const std::size_t watched = polled.serials.size();
  if (wakeDescriptor_) polled.descriptors.push_back({wakeDescriptor_.get(), POLLIN, 0});
  isWaiting_ = true;
  lock.unlock();
  const int count = poll(polled.descriptors.data(), polled.descriptors.size(), timeout);
  // It fails at once, again and again, for want of memory or of the right to so many descriptors.
  if (count < 0 && errno != EINTR) std::this_thread::sleep_for(pollFailurePause);
  lock.lock();
  isWaiting_ = false;
  // After a failure, and a signal is one, nothing is known to be ready.
  if (count > 0) {
    if (polled.descriptors.back().revents != 0 && polled.descriptors.size() > watched) {
      std::uint64_t wakes = 0;
      (void)!read(wakeDescriptor_.get(), &wakes, sizeof wakes);
    }
    for (std::size_t i = 0; i < watched && serves(); ++i) {
      if (polled.descriptors[i].revents != 0) {
        callHandler(lock, polled.descriptors[i], polled.serials[i]);
      }
    }
  }
  polled_ = std::move(polled);
}

int EventLoop::State::pollTimeout() const {
  const bool hasPosted = server_ == mainThread_ && !posted_.empty();
  if (hasPosted || !performed_.empty()) return 0;
  if (timetable_.empty()) return -1;
  return millisecondsUntil(timetable_.begin()->first);
}

/// An earlier handler of the round may have ended or replaced the watch.
void EventLoop::State::callHandler(Lock& lock, const pollfd& ready, std::uint64_t serial) {
  const auto watch = watches_.find(ready.fd);
  if (watch == watches_.end() || watch->second.serial != serial) return;
  auto handler = watch->second.handler;
  lock.unlock();
  (*handler)(ready.revents);
  handler = nullptr;
  lock.lock();
}

void EventLoop::State::runDueWork(Lock& lock) {
  const auto now = Clock::now();
  while (serves() && !timetable_.empty() && timetable_.begin()->first <= now) {
    auto item = std::move(timetable_.begin()->second);
    timetable_.erase(timetable_.begin());
    Work work = item->leave();
    lock.unlock();
    work();
    work = nullptr;
    item = nullptr;
    lock.lock();
  }
}

EventLoop::EventLoop(Server server) : state_(std::make_shared<State>(server)) {}

EventLoop::~EventLoop() {
  state_->end();
}

void EventLoop::post(std::function<void()> work) {
  state_->post(std::move(work));
}

void EventLoop::run() {
  state_->enterMainThread();
  for (;;) runRound();
}

void EventLoop::runRound() {
  state_->runMainRound();
}

void EventLoop::serveElsewhere(bool callerBlocks) {
  state_->serveElsewhere(callerBlocks);
}

std::shared_ptr<WorkItem> EventLoop::schedule(std::chrono::nanoseconds delay,
                                              std::function<void()> work) {
  return state_->schedule(delay, std::move(work));
}

bool EventLoop::isServer() const {
  return state_->isServer();
}

void EventLoop::performInNextRound(std::function<void()> work) {
  state_->performInNextRound(std::move(work));
}

void EventLoop::watch(int descriptor, short events, std::function<void(short)> handler) {
  state_->watch(descriptor, events, std::move(handler));
}

void EventLoop::unwatch(int descriptor) {
  state_->unwatch(descriptor);
}

}  // namespace blindfold
