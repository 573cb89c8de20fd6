#include "KrdFileLibApi/LibraryInstance.h"

#include "CommonLib/Clock.h"
#include "KrdFileLib/Index/CommitLimits.h"

namespace Varnholt::KrdFiles {

LibraryInstance& LibraryInstance::Process() {
  static LibraryInstance instance(std::make_shared<CommonLib::Clock>());
  return instance;
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
