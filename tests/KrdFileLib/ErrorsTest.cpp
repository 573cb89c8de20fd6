#include "KrdFileLib/Errors.h"

#include <gtest/gtest.h>

namespace Varnholt::KrdFiles {
namespace {

TEST(ErrorsTest, TypedExceptionIsCaughtAsApiExceptionAndAsStdException) {
  try {
    throw Errors::ChannelNotFound(4);
  } catch (const FileLibraryException<20>&) {
    FAIL() << "a different code must be a different type";
  } catch (const ApiException& e) {
    EXPECT_EQ(e.Code(), 21);
  }
  try {
    throw Errors::HeaderNotCreated();
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "The file header has not been created.");
  }
}

}  // namespace
}  // namespace Varnholt::KrdFiles
