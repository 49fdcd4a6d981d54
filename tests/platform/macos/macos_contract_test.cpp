#include "blindfold/platform/macos/macos_platform.h"
#include "tests/platform/contract/bundle_contract.h"
#include "tests/platform/contract/file_manager_contract.h"

namespace blindfold {
namespace {
INSTANTIATE_TYPED_TEST_SUITE_P(MacOS, FileManagerContract, FoundationFileManager);
INSTANTIATE_TYPED_TEST_SUITE_P(MacOS, BundleContract, FoundationBundleProvider);
}  // namespace
}  // namespace blindfold
