#include "blindfold/platform/linux/linux_bundle.h"
#include "blindfold/platform/linux/linux_file_manager.h"
#include "tests/platform/contract/bundle_contract.h"
#include "tests/platform/contract/file_manager_contract.h"

namespace blindfold {
namespace {
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, FileManagerContract, LinuxFileManager);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, BundleContract, LinuxBundleProvider);
}  // namespace
}  // namespace blindfold
