// The C interface when memory runs out, allocation by allocation.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "blindfold/library/blindfold.h"
#include "tests/support/failing_new.h"

namespace blindfold {
namespace {
using Client = std::unique_ptr<blindfold_client, decltype(&blindfold_client_free)>;
using OwnedRequest = std::unique_ptr<blindfold_request, decltype(&blindfold_request_free)>;

Client makeClient() {
  // A helper that is installed and not there.
  return {blindfold_client_create_for(true, "test.nobody", "/bin/true"), blindfold_client_free};
}

OwnedRequest makeRequest(const Client& client) {
  return {blindfold_current_state(client.get()), blindfold_request_free};
}

/// Calls `body` with each of its allocations failing once, and then with none.
template <class Body>
void withEachAllocationFailing(const Body& body) {
  bool hasFailed = true;
  for (std::size_t successes = 0; hasFailed; ++successes) {
    const FailingNew failing(successes);
    body();
    hasFailed = FailingNew::hasFailed();
  }
}

TEST(CInterfaceMemoryTest, WithoutMemoryThereIsNoClientAndNoRequest) {
  withEachAllocationFailing([] {
    const Client client = makeClient();
    EXPECT_EQ(client == nullptr, FailingNew::hasFailed());
  });
  const Client client = makeClient();
  withEachAllocationFailing([&] {
    const OwnedRequest request = makeRequest(client);
    EXPECT_EQ(request == nullptr, FailingNew::hasFailed());
  });
}

TEST(CInterfaceMemoryTest, AWaitThatFindsNoMemorySaysSo) {
  const Client client = makeClient();
  int failures = 0;
  bool hasFailed = true;
  for (std::size_t successes = 0; hasFailed; ++successes) {
    const OwnedRequest request = makeRequest(client);
    const FailingNew failing(successes);
    const blindfold_outcome* const outcome = blindfold_wait(request.get());
    hasFailed = FailingNew::hasFailed();
    failures += outcome->status == BLINDFOLD_OUT_OF_MEMORY ? 1 : 0;
    EXPECT_EQ(outcome->status, hasFailed ? BLINDFOLD_OUT_OF_MEMORY : BLINDFOLD_HELPER_UNREACHABLE);
  }
  EXPECT_GT(failures, 0);
}

TEST(CInterfaceMemoryTest, ARequestThatFindsNoMemoryEndsSo) {
  constexpr std::size_t longText = 1'000'000;
  const Client client = makeClient();
  const std::string json = R"({"cameraID":")" + std::string(longText, 'x') + R"("})";
  const OwnedRequest request{blindfold_hold(client.get(), json.c_str()), blindfold_request_free};
  const FailingLargeNew failing(longText);
  const blindfold_outcome* const outcome = blindfold_wait(request.get());
  EXPECT_EQ(outcome->status, BLINDFOLD_OUT_OF_MEMORY);
  EXPECT_EQ(std::string_view(outcome->text, outcome->length), "Out of memory.");
}

TEST(CInterfaceMemoryTest, AStartThatFindsNoMemorySaysSo) {
  const Client client = makeClient();
  bool hasFailed = true;
  for (std::size_t successes = 0; hasFailed; ++successes) {
    const OwnedRequest request = makeRequest(client);
    const FailingNew failing(successes);
    const bool isStarted = blindfold_start(request.get(), nullptr, nullptr);
    hasFailed = FailingNew::hasFailed();
    EXPECT_EQ(isStarted, !hasFailed);
  }
}
}  // namespace
}  // namespace blindfold
