// The tool with a linked property list, which is the only one that counts.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/end_to_end/end_to_end_test.h"

namespace blindfold {
namespace {
class LinkedDeploymentTest : public EndToEndTest {
 protected:
  LinkedDeploymentTest() : EndToEndTest({BLINDFOLD_LINKED_TOOL, BLINDFOLD_LINKED_SERVICE}) {}
};

const std::string idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";

TEST_F(LinkedDeploymentTest, TheLinkedListNamesTheHelper) {
  startHelper();
  expectPrinted(run({"status"}), idleState);
}

TEST_F(LinkedDeploymentTest, AnInfoFileAroundTheToolIsNotReadBesideALinkedList) {
  const Deployment around = makeDeployment(path("apps"), "another.service");
  std::filesystem::remove(around.tool);
  std::filesystem::copy_file(deployment().tool, around.tool);
  startHelper();
  expectPrinted(runProgram({around.tool, "status"}), idleState);
}

TEST_F(LinkedDeploymentTest, WithoutALinkedListTheInfoFileAroundTheToolNamesTheHelper) {
  const Deployment around = makeDeployment(path("apps"), deployment().service);
  startHelper();
  expectPrinted(runProgram({around.tool, "status"}), idleState);
}
}  // namespace
}  // namespace blindfold
