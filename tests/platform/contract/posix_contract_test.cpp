#include "platform/posix/posix_bundle.h"
#include "platform/posix/posix_file_manager.h"
#include "tests/platform/contract/bundle_contract.h"
#include "tests/platform/contract/file_manager_contract.h"

namespace blindfold {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(Posix, FileManagerContract, PosixFileManager);
INSTANTIATE_TYPED_TEST_SUITE_P(Posix, BundleContract, PosixBundleProvider);

}  // namespace
}  // namespace blindfold
