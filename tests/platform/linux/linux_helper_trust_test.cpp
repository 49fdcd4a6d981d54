// Which users' helpers a connection trusts.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/fsuid.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {
using std::chrono::milliseconds;
using testing::ElementsAre;

/// Makes this process act as another user while it lives. Its real user stays root, and so does the
/// one that opens files: the system domain may be root's alone.
class ActingAs {
 public:
  explicit ActingAs(uid_t user) {
    EXPECT_EQ(seteuid(user), 0);
    setfsuid(0);
  }
  ActingAs(const ActingAs&) = delete;
  ActingAs& operator=(const ActingAs&) = delete;
  ~ActingAs() { EXPECT_EQ(seteuid(0), 0); }
};

/// The outcome for a helper that accepts the connection and never answers, by the users of both.
std::vector<std::string> heardOfHelper(uid_t caller, uid_t helper) {
  const BoundService service(uniqueServiceName());
  {
    const ActingAs user(helper);
    service.listen(1);
  }
  const ActingAs user(caller);
  TestRequest request(service.name());
  request.start();
  service.accept().reset();
  return request.outcome();
}

/// The exit status of a child process that may not enter a user namespace.
constexpr int cannotUnshare = 77;

constexpr uid_t someone = 1234;
constexpr uid_t someoneElse = 4321;

TEST(LinuxHelperTrustTest, AHelperOfRootOrOfTheCallerIsTrusted) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as other users";
  EXPECT_THAT(heardOfHelper(0, 0), ElementsAre("interrupted"));
  EXPECT_THAT(heardOfHelper(someone, 0), ElementsAre("interrupted"));
  EXPECT_THAT(heardOfHelper(someone, someone), ElementsAre("interrupted"));
}

TEST(LinuxHelperTrustTest, AHelperOfAnybodyElseInvalidates) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as other users";
  EXPECT_THAT(heardOfHelper(0, someone), ElementsAre("invalidated"));
  EXPECT_THAT(heardOfHelper(someone, someoneElse), ElementsAre("invalidated"));
}

/// The exit status of a child process that moves into a user namespace where `map` ("ID PARENT
/// COUNT" for each range of users) is in force, and calls `body` there.
int inUserNamespace(const std::string& map, const std::function<int()>& body) {
  const auto result = runInChild([&] {
    if (unshare(CLONE_NEWUSER) != 0) std::_Exit(cannotUnshare);
    if (!map.empty()) std::ofstream("/proc/self/uid_map") << map << std::flush;
    std::_Exit(body());
  });
  return result.exitStatus.value_or(-1);
}

/// 0 when `helper` is trusted, 1 when it is not.
int distrustOf(const BoundService& helper) {
  TestRequest request(helper.name());
  request.start();
  return request.heardWithin(milliseconds(50)) == std::vector<std::string>{"invalidated"} ? 1 : 0;
}

TEST(LinuxHelperTrustTest, AHelperOfAUserWithoutAnIdIsNotTrusted) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const int status = inUserNamespace("", [&] {
    if (geteuid() != 65534) return 2;
    return distrustOf(service);
  });
  if (status == cannotUnshare) GTEST_SKIP() << "this user may make no user namespace";
  EXPECT_EQ(status, 1);
}

TEST(LinuxHelperTrustTest, AHelperOfTheUserIsTrustedInAUserNamespaceThatHasAnIdForIt) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const std::string map = "1000 " + std::to_string(geteuid()) + " 1";
  const int status = inUserNamespace(map, [&] {
    if (geteuid() != 1000) return 2;
    return distrustOf(service);
  });
  if (status == cannotUnshare) GTEST_SKIP() << "this user may make no user namespace";
  EXPECT_EQ(status, 0);
}

TEST(LinuxHelperTrustTest, AHelperOfTheUserNobodyIsNobodysWhereEveryUserHasAnId) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as other users";
  EXPECT_THAT(heardOfHelper(65534, 65534), ElementsAre("interrupted"));
}

TEST(LinuxHelperTrustTest, AHelperOfAnybodyElseIsToldNothing) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as other users";
  const BoundService service(uniqueServiceName());
  {
    const ActingAs user(someone);
    service.listen(1);
  }
  TestRequest request(service.name());
  request.start();
  const FileDescriptor connection = service.accept();
  char byte = 0;
  EXPECT_EQ(read(connection.get(), &byte, 1), 0);
}
}  // namespace
}  // namespace blindfold
