#include "blindfold/platform/linux/event_loop.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cassert>
#include <climits>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "blindfold/platform/linux/watched_descriptors.h"

namespace blindfold {
namespace {
/// On Linux CLOCK_MONOTONIC.
using Clock = std::chrono::steady_clock;
using Work = std::function<void()>;
using Handler = WatchedDescriptors::Handler;

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

  bool dropFirst();
  /// Whether the calling thread is the server. With the lock held.
  bool serves() const { return server_ == std::this_thread::get_id(); }
  void startThread();
  void serveThread();
  void serveRound(Lock& lock);
  int pollTimeout() const;
  void waitForDescriptors(Lock& lock);
  void runDueWork(Lock& lock);

  const bool startsThread_;
  mutable std::mutex lock_;
  std::thread::id server_;      // none until somebody serves
  std::thread::id mainThread_;  // the one that runs posted work; none until there is one
  bool isEnding_ = false;
  int ownThreads_ = 0;                   // that have not ended
  std::condition_variable ending_;       // of own threads
  std::condition_variable handingOver_;  // for a new server, while the former one waits
  std::condition_variable posting_;      // for a main thread that does not serve

  std::list<Work> posted_;
  std::list<Work> performed_;
  Timetable timetable_;
  WatchedDescriptors descriptors_;
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
    descriptors_.wake();
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
  WatchedDescriptors::Node watch;
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
    if (descriptors_.isEmpty()) return false;
    watch = descriptors_.unwatchFirst();
  }
  return true;
}

void EventLoop::State::post(Work work) {
  const Lock guard(lock_);
  posted_.push_back(std::move(work));
  if (server_ == mainThread_) {
    descriptors_.wake();
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
  descriptors_.wake();
}

std::shared_ptr<WorkItem> EventLoop::State::schedule(std::chrono::nanoseconds delay, Work work) {
  const auto bounded = std::clamp<std::chrono::nanoseconds>(delay, delay.zero(), maximumDelay);
  const auto item = std::make_shared<TimedItem>(weak_from_this(), std::move(work));
  const Lock guard(lock_);
  item->enter(timetable_.emplace(Clock::now() + bounded, item));
  if (!serves()) {
    if (server_ == std::thread::id()) startThread();
    descriptors_.wake();
  }
  return item;
}

void EventLoop::State::watch(int descriptor, short events, Handler handler) {
  auto shared = std::make_shared<const Handler>(std::move(handler));
  WatchedDescriptors::Watch replaced;
  const Lock guard(lock_);
  assert(serves());
  replaced = descriptors_.watch(descriptor, events, std::move(shared));
}

void EventLoop::State::unwatch(int descriptor) {
  WatchedDescriptors::Node dropped;
  const Lock guard(lock_);
  dropped = descriptors_.unwatch(descriptor);
}

void EventLoop::State::serveElsewhere(bool callerBlocks) {
  const Lock guard(lock_);
  const bool isServed = server_ != std::thread::id() && server_ != mainThread_;
  if (!isServed || (callerBlocks && serves())) startThread();
}

/// Makes a new thread of the loop's own the server. The former server, if there is one, ends its
/// wait or finishes its round. With the lock held.
void EventLoop::State::startThread() {
  assert(startsThread_);
  const AllSignalsBlocked signalsAreForThePrograms;
  std::thread thread([state = shared_from_this()] { state->serveThread(); });
  server_ = thread.get_id();
  ++ownThreads_;
  thread.detach();
  descriptors_.wake();
}

void EventLoop::State::serveThread() {
  Lock lock(lock_);
  handingOver_.wait(lock, [&] { return !descriptors_.isWaiting(); });
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

/// Waits for the descriptors, and no longer than until other work is to be done, then calls the
/// handlers of those that are ready.
void EventLoop::State::waitForDescriptors(Lock& lock) {
  const int timeout = pollTimeout();
  if (descriptors_.isEmpty() && timeout == 0) return;
  auto polled = descriptors_.wait(lock, timeout);
  if (!serves()) handingOver_.notify_all();
  for (std::size_t i = 0; i < polled.serials.size() && serves(); ++i) {
    descriptors_.callHandler(lock, polled, i);
  }
  descriptors_.recycle(std::move(polled));
}

int EventLoop::State::pollTimeout() const {
  const bool hasPosted = server_ == mainThread_ && !posted_.empty();
  if (hasPosted || !performed_.empty()) return 0;
  if (timetable_.empty()) return -1;
  return millisecondsUntil(timetable_.begin()->first);
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
