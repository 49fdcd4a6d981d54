#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <semaphore>

#include "blindfold/platform/macos/macos_platform.h"
#include "events.h"
#include "in_process_service.h"
#include "live_objects.h"

namespace blindfold {
namespace {
constexpr int requests = 10000;

/// The state that a request's callbacks share, as the client has it: the connection among it.
struct Request {
  std::shared_ptr<HelperConnection> connection;
  std::shared_ptr<WorkItem> timeLimit;
  std::binary_semaphore replied{0};
};

/// One whole request with a reply, a time limit and every handler holding the request.
void runRequest(XPCHelperConnectionProvider& provider, DispatchTimedWorkQueue& queue,
                std::chrono::nanoseconds timeLimit) {
  const auto request = std::make_shared<Request>();
  request->connection = provider.makePrivilegedConnection("app.example.service");
  HelperConnection& connection = *request->connection;
  connection.setInvalidationHandler([request] {});
  connection.setInterruptionHandler([request] {});
  connection.resume();
  request->timeLimit = queue.schedule(timeLimit, [request] {});
  connection.remoteObjectProxy([request](const PlatformError&) {})
      ->send({HelperMethod::hold, DataArgument{"{}"}},
             [request](const Bytes&) { request->replied.release(); });
  request->replied.acquire();
  request->timeLimit->cancel();
  request->timeLimit.reset();
  connection.invalidate();
}

bool noMoreThan(int objects, long blocks) {
  return comesTrue([&] { return liveObjects() <= objects && liveBlocks() <= blocks; });
}

TEST(RequestGrowthTest, TenThousandRequestsLeaveNoObjectAndNoBlockBehind) {
  InProcessService::shared().reset();
  XPCHelperConnectionProvider provider;
  DispatchTimedWorkQueue queue;
  countObjects();
  const long blocks = liveBlocks();
  InProcessService::useEveryThread();
  runRequest(provider, queue, std::chrono::milliseconds(10));
  ASSERT_TRUE(comesTrue([&] { return liveBlocks() <= blocks; }));
  const int objects = liveObjects();

  for (int i = 0; i < requests; ++i) {
    InProcessService::shared().reset();
    runRequest(provider, queue, std::chrono::milliseconds(10));
  }

  EXPECT_TRUE(noMoreThan(objects, blocks))
      << liveObjects() - objects << " objects and " << liveBlocks() - blocks << " blocks more";
  EXPECT_EQ(InProcessService::liveConnections(), 0);
}

TEST(RequestGrowthTest, ObjectsAndBlocksInUseAreCounted) {
  InProcessService::shared().reset();
  XPCHelperConnectionProvider provider;
  countObjects();
  const int objects = liveObjects();
  const long blocks = liveBlocks();
  const auto connection = provider.makePrivilegedConnection("app.example.service");
  connection->setInvalidationHandler([] {});
  EXPECT_GT(liveObjects(), objects);
  EXPECT_GT(liveBlocks(), blocks);
}
}  // namespace
}  // namespace blindfold
