// `brivane form show --shopper` as an integrator's CI runs it: the scripted shopper finishes
// the stand-in page and the exit code tells the outcome.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <httplib.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"
#include "support/Command.h"

namespace brivane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// The tool built beside this test program.
// Runs `brivane form show ARGUMENTS` from the root directory, as a shell anywhere would, so that
// nothing is found by way of the working directory: the exit code (-1 when it did not exit) and
// what it printed.
std::pair<int, std::string> formShow(const std::string& arguments) {
  auto [status, out] =
      test::runCommand("cd / && " + test::builtTool().string() + " form show " + arguments + " 2>/dev/null");
  return {status, out};
}

struct ShopperRun {
  std::string arguments;
  int exitCode;
  std::string outcomeLine;  // printed exactly once
};

TEST(FormShowTool, TheScriptedShopperEndsWithTheOutcomesExitCode) {
  ASSERT_TRUE(std::filesystem::exists(test::builtTool())) << test::builtTool();
  const ShopperRun runs[] = {
      {"--provider 6 --options BNKACCT --token ci-1 --shopper approve", 0, "success BNKACCT ci-1 data="},
      {"--provider 0 --options VISA --token ci-2 --shopper decline", 1, "error {"},
      {"--provider 2 --options PAYPAL --token ci-3 --shopper cancel", 1, "cancel (nil)"},
  };
  for (const ShopperRun& run : runs) {
    SCOPED_TRACE(run.arguments);
    const auto [status, out] = formShow(run.arguments);
    EXPECT_EQ(status, run.exitCode) << out;
    const std::size_t first = out.find("\n" + run.outcomeLine);
    ASSERT_NE(first, std::string::npos) << out;
    EXPECT_EQ(out.find("\n" + run.outcomeLine, first + 1), std::string::npos) << "printed twice: " << out;
    EXPECT_THAT(out, HasSubstr("shopper: "));
    EXPECT_THAT(out, Not(HasSubstr("timeout")));
  }
}

// `brivane demo --show-form` opens the form against its own sandbox: the form uses that one and
// the page's outcome reaches the payment there.
TEST(FormShowTool, ARunningSandboxServesTheFormAndKeepsItsOutcome) {
  ASSERT_TRUE(std::filesystem::exists(test::builtTool())) << test::builtTool();
  sandbox::Sandbox sandbox;
  ASSERT_TRUE(sandbox.start());
  httplib::Client http(sandbox.baseUrl());
  http.set_bearer_token_auth(sandbox.issueAccessToken());
  auto call = [&](const httplib::Result& answer) {
    return answer ? boost::json::parse(answer->body).as_object() : boost::json::object{};
  };
  struct Case {
    const char* shopper;
    int exitCode;
    const char* completeAuthorizeCode;
  };
  const Case cases[] = {{"approve", 0, "0000"}, {"decline", 1, "6110"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.shopper);
    boost::json::object opened = call(http.Put("/payment/initAuthorize",
                                               R"({"partnerReference": "F1", "programCode": "BRIVANE", )"
                                               R"("presentationAmount": "3", "presentationCurrCode": "EUR"})",
                                               "application/json"));
    ASSERT_TRUE(opened.contains("authorizationToken")) << boost::json::serialize(opened);
    const std::string token(opened.at("authorizationToken").as_string());
    const std::string reference(opened.at("uniqueReference").as_string());
    const auto [status, out] = formShow("--provider 0 --options VISA --mode 1 --token " + token +
                                        " --sandbox " + sandbox.baseUrl() + "/ --shopper " + c.shopper);
    EXPECT_EQ(status, c.exitCode) << out;
    EXPECT_THAT(out, HasSubstr("sandbox: " + sandbox.baseUrl() + "\n"));
    boost::json::object completed = call(http.Post(
        "/payment/" + reference + "/completeAuthorize",
        R"({"partnerReference": "F2", "programCode": "BRIVANE", "authorizationToken": ")" + token + R"("})",
        "application/json"));
    EXPECT_EQ(completed["responseCode"], c.completeAuthorizeCode) << out;
  }
}

}  // namespace
}  // namespace brivane
