#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "KrdFileLibApi.h"
#include "tests/Api/TestHost.h"
#include "tests/Api/TestRunTime.h"
#include "tests/TestSupport/LibrarySetup.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::Testing {

// The handle's most recent text, prefixed with the code when
// GetMostRecentErrorMessage did not return 0.
inline std::string LastMessage(KrdFileHandle file) {
  KrdStringHandle text = nullptr;
  const int32_t code = GetMostRecentErrorMessage(file, &text);
  std::string message = TakeBytes(text);
  return code == 0 ? message : "<" + std::to_string(code) + ">" + message;
}

// The least a recording with one channel needs, recorded on file: a header,
// the root device, physical channel 1, group 1 of one channel of data_type
// one tick apart, and channel 1 at its place 0.
inline void DescribeOneChannel(KrdFileHandle file, uint16_t data_type) {
  uint16_t id = 0;
  EXPECT_EQ(CreateHeader(file, 1000, 0, HostBytes("one channel").String()), 0);
  EXPECT_EQ(CreateDevice(file, 65535, HostBytes("rig").String(), &id), 0);
  EXPECT_EQ(CreatePhysicalChannel(file, 0, 0, HostBytes("in").String(), &id), 0);
  EXPECT_EQ(CreateChannelGroup(file, 1, 1, data_type, &id), 0);
  EXPECT_EQ(CreateChannel(file, 1, 1, 0, HostBytes("x").String(), &id), 0);
}

// A host for tests of the C interface. It names the test run-time module,
// whose allocator then makes every returned handle, and at the end closes
// what the test opened and checks that every handle the run-time made was
// disposed of through the library.
class HostFixture : public ::testing::Test {
 public:
  // The open modes.
  static constexpr uint8_t kRead = 0;
  static constexpr uint8_t kRecord = 1;
  static constexpr uint8_t kEdit = 2;

 protected:
  void SetUp() override {
    ASSERT_NE(TestRunTimeModule(), nullptr) << TestRunTimeLoadError();
    ASSERT_EQ(SetLVRTModule(TestRunTimeModule()), 0);
    live_at_start_ = LiveRunTimeHandles();
    Configure(/*batch_size=*/100, /*commit_interval_ms=*/10000);
  }
  void TearDown() override {
    for (KrdFileHandle file : opened_) Close(file);
    SetLVRTModule(TestRunTimeModule());
    EXPECT_EQ(LiveRunTimeHandles(), live_at_start_) << "a returned handle was not disposed of";
  }

  using DataType = Testing::DataType;
  // Initializes the library with these limits, read chunk size and data
  // types (which replace those of earlier calls).
  static void Configure(int32_t batch_size, int32_t commit_interval_ms,
                        uint32_t read_chunk_size = 64 * 1024,
                        const std::vector<DataType>& data_types = {}) {
    ASSERT_EQ(InitializeLibrary(batch_size, commit_interval_ms, read_chunk_size, data_types), 0);
  }

  // Opens name.krd with name.krq (or another index); the handle is closed at
  // the end of the test.
  KrdFileHandle OpenOrFail(const std::string& name, uint8_t mode,
                           const std::string& krq_name = "") {
    HostBytes krd(dir_.File(name + ".krd"));
    HostBytes krq(dir_.File((krq_name.empty() ? name : krq_name) + ".krq"));
    KrdFileHandle file = 0;
    EXPECT_EQ(Open(krd.String(), krq.String(), mode, &file), 0) << name;
    opened_.push_back(file);
    return file;
  }

  // A closed recording with header, start and annotation.
  void RecordComplete(const std::string& name) {
    const KrdFileHandle file = OpenOrFail(name, kRecord);
    HostBytes label("Rig " + name);
    HostBytes start("\x07\xEA\x0B\x17");
    HostBytes annotation("Sensors calibrated.");
    EXPECT_EQ(CreateHeader(file, 1000, 3, label.String()), 0);
    EXPECT_EQ(CreateStart(file, 9, start.Array()), 0);
    EXPECT_EQ(CreateAnnotation(file, annotation.String()), 0);
    EXPECT_EQ(Close(file), 0);
  }

 public:
  // The size the test run-time made a handle with; -1 when it did not make it.
  static int64_t RunTimeSize(void* handle) { return RunTimeHandleSize(handle); }
  static std::size_t LiveRunTimeHandles() { return RunTimeLiveHandles(); }

 protected:
  TempDir dir_;
  std::vector<KrdFileHandle> opened_;
  std::size_t live_at_start_ = 0;
};

}  // namespace Varnholt::Testing
