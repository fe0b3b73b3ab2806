#include <gtest/gtest.h>

#include "sandbox/Sandbox.h"

namespace brivane {
namespace {

TEST(SandboxBinding, ABusyPortIsRefusedNotShared) {
  sandbox::Sandbox first;
  ASSERT_TRUE(first.start());
  sandbox::SandboxOptions same;
  same.port = first.port();
  sandbox::Sandbox second(same);
  EXPECT_FALSE(second.start()) << "a second sandbox listens on the busy port " << first.port();

  // Once the port is free again it can be taken at once.
  first.stop();
  sandbox::Sandbox third(same);
  EXPECT_TRUE(third.start());
}

}  // namespace
}  // namespace brivane
