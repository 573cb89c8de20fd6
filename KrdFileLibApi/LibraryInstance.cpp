#include "KrdFileLibApi/LibraryInstance.h"

#include <atomic>

#include "CommonLib/Clock.h"
#include "KrdFileLib/Index/CommitLimits.h"

namespace Varnholt::KrdFiles {

namespace {

// Owns the process's instance, created on first use, and can let go of it
// without destroying it.
class ProcessInstance {
 public:
  ProcessInstance()
      : instance_(std::make_unique<LibraryInstance>(std::make_shared<CommonLib::Clock>())) {
    current_ = this;
  }
  ~ProcessInstance() { current_ = nullptr; }
  LibraryInstance& Get() { return *instance_; }

  // The holder that exists, if any; creates none.
  static ProcessInstance* Current() { return current_; }
  // Leaves the instance to the end of the process: it is not destroyed.
  void Abandon() noexcept { static_cast<void>(instance_.release()); }

 private:
  static inline std::atomic<ProcessInstance*> current_{nullptr};
  std::unique_ptr<LibraryInstance> instance_;
};

ProcessInstance& Holder() {
  static ProcessInstance holder;
  return holder;
}

}  // namespace

LibraryInstance& LibraryInstance::Process() { return Holder().Get(); }

void LibraryInstance::AbandonAtProcessExit() noexcept {
  ProcessInstance* holder = ProcessInstance::Current();
  if (holder == nullptr) return;
  holder->Get().maintenance_.Abandon();
  holder->Abandon();
}

LibraryInstance::LibraryInstance(std::shared_ptr<const CommonLib::IClock> clock)
    : settings_(std::make_shared<FileLibrarySettings>()),
      clock_(std::move(clock)),
      files_(settings_),
      maintenance_(files_, clock_) {
  DataTypeRegistry::Process();  // created first, so that it outlives the instance
  try {
    maintenance_.Start();
  } catch (...) {
    // Without the thread the library still works: batches then commit by
    // count and on close only.
  }
}

LibraryInstance::~LibraryInstance() { Terminate(); }

void LibraryInstance::Initialize(const LibraryConfiguration& configuration) {
  settings_->SetReadChunkSize(configuration.read_chunk_size);
  Index::SetCommitLimits(configuration.batch_size, configuration.commit_interval_ms);
  DataTypeRegistry::Process().Replace(configuration.data_types);
}

void LibraryInstance::Terminate() { maintenance_.Stop(); }

}  // namespace Varnholt::KrdFiles
