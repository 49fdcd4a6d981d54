#pragma once

#include "blindfold/platform/bundle.h"
#include "blindfold/platform/code_signing.h"
#include "blindfold/platform/file_manager.h"
#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/main_loop.h"
#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// The operating system as this program needs it, one member a facility. The objects outlive every
/// user of them.
struct Platform {
  const FileManager& fileManager;
  const BundleProvider& bundles;
  const CodeSigning& codeSigning;
  HelperConnectionProvider& helperConnections;
  MainLoop& mainLoop;
  TimedWorkQueue& timedWork;
};

/// The platform that this program was linked with, made at the first call and kept for the life of
/// the process. Each platform folder defines it once; the build links one of them. This is the only
/// place where a platform is chosen.
const Platform& currentPlatform();

}  // namespace blindfold
