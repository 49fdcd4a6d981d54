#pragma once

#include "blindfold/platform/platform.h"

namespace blindfold {

// The adapters of the macOS platform, one class a facility. They decide nothing, and keep no
// Objective-C exception: it becomes a `PlatformError` where the interface may fail and an absent
// answer where it may not. Objective-C types stay out of this header.

/// `NSFileManager`'s default manager.
class FoundationFileManager final : public FileManager {
 public:
  bool isExecutableFile(const std::string& path) const override;
  std::optional<FileAttributes> attributesOfItem(const std::string& path) const override;
  std::string currentDirectoryPath() const override;
};

/// `NSBundle`. The main bundle's info dictionary is the property list linked into the executable.
class FoundationBundleProvider final : public BundleProvider {
 public:
  FoundationBundleProvider();

  const Bundle& mainBundle() const override { return *mainBundle_; }
  std::unique_ptr<Bundle> bundleWithURL(const FileURL& url) const override;

 private:
  std::unique_ptr<Bundle> mainBundle_;
};

/// The Security framework's code signing.
class SecurityCodeSigning final : public CodeSigning {
 public:
  std::optional<SigningInformation> ownSigningInformation() const override;
  std::optional<SigningInformation> signingInformation(const FileURL& url) const override;
};

/// `NSXPCConnection`. Each connection calls its handlers on a queue of its own, never inside a call
/// of a connection or a proxy.
class XPCHelperConnectionProvider final : public HelperConnectionProvider {
 public:
  std::shared_ptr<HelperConnection> makePrivilegedConnection(
      const std::string& machServiceName) override;
};

/// Dispatch's main queue. `run` ends the main thread (dispatch_main(3)): from then on the work runs
/// one at a time, on whatever thread dispatch gives the queue.
class DispatchMainLoop final : public MainLoop {
 public:
  void post(std::function<void()> work) override;
  /// Does nothing: dispatch serves connections and timed work on threads of its own.
  void serveElsewhere(bool /*callerBlocks*/) override {}
  [[noreturn]] void run() override;
};

/// Dispatch's global queue of quality-of-service class utility. Delays do not count the time that
/// the machine sleeps (dispatch_time(3)), and the system may start work a tenth of its delay late.
class DispatchTimedWorkQueue final : public TimedWorkQueue {
 public:
  std::shared_ptr<WorkItem> schedule(std::chrono::nanoseconds delay,
                                     std::function<void()> work) override;
};

}  // namespace blindfold
