// `brivane form show --shopper` as an integrator's CI runs it: the scripted shopper finishes
// the stand-in page and the exit code tells the outcome.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace brivane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

struct ShopperRun {
  std::string arguments;
  int exitCode;
  std::string outcomeLine;  // printed exactly once
};

TEST(FormShowTool, TheScriptedShopperEndsWithTheOutcomesExitCode) {
  const std::filesystem::path tool =
      std::filesystem::read_symlink("/proc/self/exe").parent_path() / "brivane";
  ASSERT_TRUE(std::filesystem::exists(tool)) << tool;
  const ShopperRun runs[] = {
      {"--provider 6 --options BNKACCT --token ci-1 --shopper approve", 0, "success BNKACCT ci-1 data="},
      {"--provider 0 --options VISA --token ci-2 --shopper decline", 1, "error {"},
      {"--provider 2 --options PAYPAL --token ci-3 --shopper cancel", 1, "cancel (nil)"},
  };
  for (const ShopperRun& run : runs) {
    SCOPED_TRACE(run.arguments);
    const std::string command = tool.string() + " form show " + run.arguments + " 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string out;
    char buffer[4096];
    for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    const int status = pclose(pipe);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), run.exitCode) << out;
    const std::size_t first = out.find("\n" + run.outcomeLine);
    ASSERT_NE(first, std::string::npos) << out;
    EXPECT_EQ(out.find("\n" + run.outcomeLine, first + 1), std::string::npos) << "printed twice: " << out;
    EXPECT_THAT(out, HasSubstr("shopper: "));
    EXPECT_THAT(out, Not(HasSubstr("timeout")));
  }
}

}  // namespace
}  // namespace brivane
