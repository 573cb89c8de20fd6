#pragma once

#include <cstddef>

namespace Varnholt::KrdFiles {

// A seam for the tests that prove a recording survives failing and
// interrupted writes: every write, sync and truncation of a data file asks
// the installed probe first whether it may go through. Outside such tests no
// probe is installed and each call goes straight to the operating system.
// The index's writes have their own seam in SQLite's VFS layer.
class FileFaultProbe {
 public:
  enum class Call { kWrite, kSync, kTruncate };

  virtual ~FileFaultProbe() = default;

  // How many of the call's bytes reach the file before the call fails:
  // size or more lets the call succeed; fewer writes that many and then
  // fails as a full disk would. A sync or truncation has size 1, so 0
  // fails it.
  virtual std::size_t BytesAllowed(Call call, std::size_t size) = 0;
  // Called once a failed call's allowed bytes are in the file: where a test
  // stops the process to leave a torn packet behind.
  virtual void AfterFailure(Call /*call*/) {}
};

// Installs the probe for the whole process; nullptr removes it. The probe
// must outlive its installation.
void SetFileFaultProbe(FileFaultProbe* probe);
FileFaultProbe* InstalledFileFaultProbe();

}  // namespace Varnholt::KrdFiles
