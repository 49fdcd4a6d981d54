#include "blindfold/platform/linux/event_loop.h"

#include <poll.h>

#include <algorithm>
#include <cassert>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace blindfold {
namespace {

// CLOCK_MONOTONIC.
using Clock = std::chrono::steady_clock;
using Handler = std::function<void(short)>;

class TimedItem;

// By their deadlines; those of one deadline in the order of scheduling.
using Timetable = std::multimap<Clock::time_point, std::shared_ptr<TimedItem>>;

class TimedItem final : public WorkItem {
 public:
  explicit TimedItem(std::function<void()> work) : work_(std::move(work)) {}

  void cancel() override {
    const auto self = leaveTimetable();
    const auto dropped = takeWork();
  }

  // The work, which is now the caller's alone.
  std::function<void()> takeWork() { return std::exchange(work_, nullptr); }

  void enterTimetable(Timetable& timetable, Timetable::iterator place) {
    timetable_ = &timetable;
    place_ = place;
  }

  // Returns the timetable's reference to this item, if it had one.
  std::shared_ptr<TimedItem> leaveTimetable() {
    if (timetable_ == nullptr) return nullptr;
    auto self = std::move(place_->second);
    std::exchange(timetable_, nullptr)->erase(place_);
    return self;
  }

 private:
  std::function<void()> work_;
  Timetable* timetable_ = nullptr;  // while the item waits in it
  Timetable::iterator place_;
};

// poll's timeout that ends no earlier than `deadline`.
int millisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

}  // namespace

class EventLoop::State {
 public:
  // What is dropped here may call the loop once more as it goes.
  void dropEverything() {
    const auto posted = std::exchange(posted_, {});
    const auto watches = std::exchange(watches_, {});
    while (!timetable_.empty()) timetable_.begin()->second->cancel();
  }

  void post(std::function<void()> work) { posted_.push_back(std::move(work)); }

  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay, std::function<void()> work) {
    const auto item = std::make_shared<TimedItem>(std::move(work));
    const auto bounded = std::clamp(delay, std::chrono::nanoseconds::zero(), maximumDelay);
    item->enterTimetable(timetable_, timetable_.emplace(Clock::now() + bounded, item));
    return item;
  }

  void watch(int descriptor, short events, Handler handler) {
    const auto shared = std::make_shared<const Handler>(std::move(handler));
    const auto replaced = std::exchange(watches_[descriptor], {nextSerial_++, events, shared});
  }

  void unwatch(int descriptor) { const auto dropped = watches_.extract(descriptor); }

  // Waits for the descriptors, and no longer than until other work is to be done.
  void serveDescriptors() {
    const int timeout = pollTimeout();
    if (watches_.empty() && timeout == 0) return;
    polled_.clear();
    serials_.clear();
    for (const auto& [descriptor, watch] : watches_) {
      polled_.push_back({descriptor, watch.events, 0});
      serials_.push_back(watch.serial);
    }
    // After a failure, and a signal is one, nothing is known to be ready.
    if (poll(polled_.data(), polled_.size(), timeout) <= 0) return;
    for (std::size_t i = 0; i < polled_.size(); ++i) {
      if (polled_[i].revents != 0) callHandler(polled_[i], serials_[i]);
    }
  }

  void runDueWork() {
    const auto now = Clock::now();
    while (!timetable_.empty() && timetable_.begin()->first <= now) {
      const auto item = timetable_.begin()->second->leaveTimetable();
      const auto work = item->takeWork();
      work();
    }
  }

  void runPostedWork() {
    for (auto left = posted_.size(); left > 0; --left) {
      const auto work = std::move(posted_.front());
      posted_.pop_front();
      work();
    }
  }

 private:
  struct Watch {
    std::uint64_t serial = 0;  // tells this watch from a later one of the same descriptor
    short events = 0;
    std::shared_ptr<const Handler> handler;  // shared with the call that is under way
  };

  int pollTimeout() const {
    if (!posted_.empty()) return 0;
    if (timetable_.empty()) return -1;
    return millisecondsUntil(timetable_.begin()->first);
  }

  // An earlier handler of the round may have ended or replaced the watch.
  void callHandler(const pollfd& ready, std::uint64_t serial) {
    const auto watch = watches_.find(ready.fd);
    if (watch == watches_.end() || watch->second.serial != serial) return;
    const auto handler = watch->second.handler;
    (*handler)(ready.revents);
  }

  std::deque<std::function<void()>> posted_;
  Timetable timetable_;
  std::map<int, Watch> watches_;
  std::uint64_t nextSerial_ = 0;
  std::vector<pollfd> polled_;          // of the present round
  std::vector<std::uint64_t> serials_;  // of the watches behind polled_
};

EventLoop::EventLoop() : state_(std::make_unique<State>()) {}

EventLoop::~EventLoop() {
  state_->dropEverything();
}

void EventLoop::post(std::function<void()> work) {
  state_->post(std::move(work));
}

void EventLoop::run() {
  for (;;) runRound();
}

void EventLoop::runRound() {
  state_->serveDescriptors();
  state_->runDueWork();
  state_->runPostedWork();
}

std::shared_ptr<WorkItem> EventLoop::schedule(std::chrono::nanoseconds delay,
                                              std::function<void()> work) {
  assert(work);
  return state_->schedule(delay, std::move(work));
}

void EventLoop::watch(int descriptor, short events, std::function<void(short)> handler) {
  state_->watch(descriptor, events, std::move(handler));
}

void EventLoop::unwatch(int descriptor) {
  state_->unwatch(descriptor);
}

}  // namespace blindfold
