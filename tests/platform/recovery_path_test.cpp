#include "platform/recovery_path.h"

#include <gtest/gtest.h>

using auspool::platform::recovery_path;

namespace {

TEST(RecoveryPath, IsAHiddenFileInTheSameFolder) {
  EXPECT_EQ(recovery_path("/tmp/a b/take.m4a"), "/tmp/a b/.take.m4a.recovery");
  EXPECT_EQ(recovery_path("take.m4a"), ".take.m4a.recovery");
  EXPECT_EQ(recovery_path("./take.m4a"), "./.take.m4a.recovery");
}

}  // namespace
