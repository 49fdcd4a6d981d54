// The functions of blindfold.h over the C++ client.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "blindfold/cli/cli_error.h"
#include "blindfold/cli/hold_selection.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"
#include "blindfold/library/blindfold.h"
#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/text/enumeration_table.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

struct StatusOfCase {
  Case errorCase;
  blindfold_status status;
};

constexpr EnumerationTable statuses(&StatusOfCase::errorCase,
                                    {{Case::transport, BLINDFOLD_TRANSPORT},
                                     {Case::helperNotInstalled, BLINDFOLD_HELPER_NOT_INSTALLED},
                                     {Case::helperUnreachable, BLINDFOLD_HELPER_UNREACHABLE},
                                     {Case::unauthorizedClient, BLINDFOLD_UNAUTHORIZED_CLIENT},
                                     {Case::timeout, BLINDFOLD_TIMEOUT},
                                     {Case::invalidResponse, BLINDFOLD_INVALID_RESPONSE}});

/// An outcome whose text needs no memory.
template <std::size_t size>
constexpr blindfold_outcome fixedOutcome(blindfold_status status, const char (&text)[size]) {
  return {status, text, size - 1};
}

constexpr blindfold_outcome invalidArgument =
    fixedOutcome(BLINDFOLD_INVALID_ARGUMENT, "The request is null or was run before.");
constexpr blindfold_outcome cancelled =
    fixedOutcome(BLINDFOLD_CANCELLED, "The request was cancelled.");
constexpr blindfold_outcome outOfMemory = fixedOutcome(BLINDFOLD_OUT_OF_MEMORY, "Out of memory.");

/// The status of the failure `error`.
blindfold_status statusOf(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const HelperClientError& failure) {
    return statuses[failure.errorCase()].status;
  } catch (const CLIError&) {
    return BLINDFOLD_NOTHING_TO_HOLD;
  } catch (const std::bad_alloc&) {
    return BLINDFOLD_OUT_OF_MEMORY;
  } catch (...) {
    return BLINDFOLD_INVALID_ARGUMENT;  // the hold request's coding
  }
}

/// The JSON text of the record that `task` ends with.
template <class Record>
Task<std::string> encoding(Task<Record> task) {
  const Record record = co_await std::move(task);
  co_return makeJSONEncoder().encode(record);
}

Task<DetectionResult> detection(std::shared_ptr<HelperClient> client) {
  const std::string reply = co_await client->detectTargets(client->statusRequestTimeout);
  co_return decodeDetectionResult(reply);
}

Task<OperationResult> holdingBuiltIn(std::shared_ptr<HelperClient> client) {
  const DetectionResult detected = co_await detection(client);
  HoldRequest request = makeBuiltInHoldRequest(detected.cameras, detected.selectedCameraID,
                                               detected.resolvedTargets, detected.serviceStates);
  co_return co_await client->hold(std::move(request));
}

Task<OperationResult> holding(std::shared_ptr<HelperClient> client, std::string json) {
  HoldRequest request = JSONDecoder{}.decode<HoldRequest>(json);
  co_return co_await client->hold(std::move(request));
}

std::string textOrEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

std::optional<std::string> textOrNone(const char* text) {
  if (text == nullptr) return std::nullopt;
  return text;
}

/// `make()`; null when it throws.
template <class Make>
auto orNull(const Make& make) noexcept -> decltype(make()) {
  try {
    return make();
  } catch (...) {
    return nullptr;
  }
}

/// One request from its making to its end, shared by its owner and its run.
class Request : public std::enable_shared_from_this<Request> {
 public:
  using Listener = std::function<void(const blindfold_outcome&)>;

  explicit Request(Task<std::string> task) : task_(std::move(task)) {}

  /// Runs the request; `listener` receives its outcome. False when it was run before.
  bool start(Listener listener) {
    std::optional<Task<std::string>> task;
    {
      const std::lock_guard guard(lock_);
      std::swap(task, task_);
    }
    if (!task) return false;
    auto started = blindfold::start(
        std::move(*task),
        [self = shared_from_this(), listener = std::move(listener)](
            TaskResult<std::string> result) { self->end(std::move(result), listener); },
        [](const std::function<void()>& work) { work(); });
    StartedTask dropped;
    const std::lock_guard guard(lock_);
    (isCancelled_ ? dropped : started_) = std::move(started);
    return true;
  }

  /// Waits until there is an outcome or the request is cancelled.
  const blindfold_outcome* wait() {
    if (!start([](const blindfold_outcome&) {})) return &invalidArgument;
    std::unique_lock guard(lock_);
    ended_.wait(guard, [&] { return isCancelled_ || outcome_; });
    return outcome_ ? &*outcome_ : &cancelled;
  }

  void cancel() {
    StartedTask dropped;
    const std::lock_guard guard(lock_);
    isCancelled_ = true;
    std::swap(dropped, started_);
    task_.reset();
    ended_.notify_all();
  }

 private:
  void end(TaskResult<std::string> result, const Listener& listener) {
    blindfold_outcome outcome{};
    {
      const std::lock_guard guard(lock_);
      const auto error = result.error();
      text_ = error ? errorDescription(error) : std::move(result).value();
      outcome = {error ? statusOf(error) : BLINDFOLD_SUCCEEDED, text_.c_str(), text_.size()};
      outcome_ = outcome;
      ended_.notify_all();
    }
    listener(outcome);
  }

  std::mutex lock_;
  std::condition_variable ended_;
  std::optional<Task<std::string>> task_;
  StartedTask started_;
  bool isCancelled_ = false;
  std::string text_;
  std::optional<blindfold_outcome> outcome_;
};
}  // namespace
}  // namespace blindfold

struct blindfold_client {
  std::shared_ptr<blindfold::HelperClient> client;
};

struct blindfold_request {
  std::shared_ptr<blindfold::Request> request;
};

namespace {
using namespace blindfold;

/// The request that runs the task of `make(client)`; null when there is no client or no memory.
template <class Make>
blindfold_request* makeRequest(const blindfold_client* client, const Make& make) noexcept {
  if (client == nullptr) return nullptr;
  return orNull([&] {
    return std::make_unique<blindfold_request>(
               blindfold_request{std::make_shared<Request>(encoding(make(client->client)))})
        .release();
  });
}
}  // namespace

// NOLINTBEGIN(readability-identifier-naming): the names are those of C.
const char* blindfold_version() {
  return BLINDFOLD_VERSION;
}

blindfold_client* blindfold_client_create(bool skip_precheck) {
  return blindfold_client_create_for(skip_precheck, nullptr, nullptr);
}

blindfold_client* blindfold_client_create_for(bool skip_precheck, const char* mach_service_name,
                                              const char* helper_install_path) {
  return orNull([&] {
    const DeploymentValues values{.helperMachServiceName = textOrNone(mach_service_name),
                                  .helperInstallPath = textOrNone(helper_install_path)};
    return std::make_unique<blindfold_client>(
               blindfold_client{std::make_shared<HelperClient>(skip_precheck, values)})
        .release();
  });
}

void blindfold_client_free(blindfold_client* client) {
  const std::unique_ptr<blindfold_client> owned(client);
}

blindfold_request* blindfold_current_state(blindfold_client* client) {
  return makeRequest(client, [](const auto& it) { return it->currentState(); });
}

blindfold_request* blindfold_detect(blindfold_client* client) {
  return makeRequest(client, [](const auto& it) { return detection(it); });
}

blindfold_request* blindfold_hold_built_in(blindfold_client* client) {
  return makeRequest(client, [](const auto& it) { return holdingBuiltIn(it); });
}

blindfold_request* blindfold_hold(blindfold_client* client, const char* hold_request) {
  return makeRequest(client,
                     [&](const auto& it) { return holding(it, textOrEmpty(hold_request)); });
}

blindfold_request* blindfold_renew(blindfold_client* client, const char* lease_id) {
  return makeRequest(client, [&](const auto& it) { return it->renew(textOrEmpty(lease_id)); });
}

blindfold_request* blindfold_release(blindfold_client* client, const char* lease_id) {
  return makeRequest(client, [&](const auto& it) { return it->release(textOrNone(lease_id)); });
}

blindfold_request* blindfold_restore_all(blindfold_client* client) {
  return makeRequest(client, [](const auto& it) { return it->restoreAll(); });
}

blindfold_request* blindfold_mute_microphones(blindfold_client* client) {
  return makeRequest(client, [](const auto& it) { return it->muteMicrophones(); });
}

blindfold_request* blindfold_unmute_microphones(blindfold_client* client) {
  return makeRequest(client, [](const auto& it) { return it->unmuteMicrophones(); });
}

const blindfold_outcome* blindfold_wait(blindfold_request* request) {
  if (request == nullptr) return &invalidArgument;
  try {
    return request->request->wait();
  } catch (...) {
    return &outOfMemory;
  }
}

bool blindfold_start(blindfold_request* request, blindfold_callback callback, void* context) {
  if (request == nullptr) return false;
  try {
    // The callback may free the request.
    const auto kept = request->request;
    return kept->start([callback, context](const blindfold_outcome& outcome) {
      if (callback != nullptr) callback(context, &outcome);
    });
  } catch (...) {
    return false;
  }
}

void blindfold_request_cancel(blindfold_request* request) {
  if (request != nullptr) request->request->cancel();
}

void blindfold_request_free(blindfold_request* request) {
  const std::unique_ptr<blindfold_request> owned(request);
  blindfold_request_cancel(request);
}
// NOLINTEND(readability-identifier-naming)
