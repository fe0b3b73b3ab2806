#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "sandbox/SandboxTestSupport.h"
#include "support/Command.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

// Runs the `brivane` tool built beside this test program, as an integrator's script would.
class BrivaneTool : public ::testing::Test {
 protected:
  using Outcome = test::CommandOutcome;

  void SetUp() override {
    ASSERT_TRUE(std::filesystem::exists(tool_)) << "brivane tool not built at " << tool_;
  }

  // `environment` goes before the tool's path (e.g. "env -u DISPLAY "). With it, the tool's
  // error output is kept too.
  Outcome run(const std::string& arguments, const std::string& environment = "") {
    return test::runCommand(environment + tool_ + " " + arguments +
                            (environment.empty() ? " 2>/dev/null" : " 2>&1"));
  }

  const std::string tool_ = test::builtTool().string();
};

TEST_F(BrivaneTool, DemoRunsTheWholeJourneyInOrder) {
  Outcome demo = run("demo");
  EXPECT_EQ(demo.status, 0) << demo.out;
  // The newcomer's account is the first free number after the two seeded ones.
  struct Line {
    const char* method;
    const char* path;    // a regular expression
    const char* detail;  // a part of the detail, or ""
  };
  const Line journey[] = {
      {"POST", "/token", "demo@brivane.test"},
      {"GET", "/user/newcomer@brivane\\.test/checkUniqueness", "is free"},
      {"GET", "/settings/country", "program countries"},
      {"PUT", "/account", "account 1000000003 opened"},
      {"POST", "/token", "newcomer@brivane.test"},
      {"GET", "/account/1000000003", "Nora Newcomer"},
      {"POST", "/account/1000000003/storedPaymentOptions/initAdd", "VISA"},
      {"PAGE", "/providers/authorize", "420000******0000"},
      {"PUT", "/account/1000000003/storedPaymentOptions/completeAdd", "stored as SPO-"},
      {"GET", "/account/1000000003/storedPaymentOptions", "1 stored: VISA 420000******0000"},
      {"PUT", "/payment/initAuthorize", "12.50 EUR INITIATED"},
      {"PAGE", "/providers/authorize", ""},
      {"POST", "/payment/PAY[0-9A-Za-z]+/completeAuthorize", "AUTHORIZED"},
      {"POST", "/payment/PAY[0-9A-Za-z]+/capture", "CAPTURED 12.50 EUR"},
      {"GET", "/payment/PAY[0-9A-Za-z]+/information", "12.50 EUR"},
      {"POST", "/account/1000000001/transfer", "25.00 EUR from 1000000001 to 1000000003"},
      {"GET", "/account/1000000003/balance", "available 25.00 EUR"},
      {"GET", "/account/1000000003/enquiry", "1 entry, latest TRANSFER_IN 25.00 EUR"},
      {"POST", "/token", "renewed by refresh token"},
  };
  std::vector<std::string> lines;
  std::istringstream out(demo.out);
  for (std::string line; std::getline(out, line);) {
    if (std::regex_search(line, std::regex("^(GET|POST|PUT|DELETE|PAGE) "))) lines.push_back(line);
  }
  ASSERT_EQ(lines.size(), std::size(journey)) << demo.out;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    SCOPED_TRACE(lines[i]);
    EXPECT_TRUE(std::regex_search(lines[i], std::regex(std::string("^") + journey[i].method + " +" +
                                                       journey[i].path + " +ok +[0-9.]+ ms  ")));
    EXPECT_THAT(lines[i], HasSubstr(journey[i].detail));
  }
  EXPECT_THAT(demo.out, HasSubstr("All calls succeeded."));
}

// Each command as a script meets it, without a display: its exit code (2: a usage error) and texts
// its output holds. What a call prints, also on failure, is one JSON document.
TEST_F(BrivaneTool, EachCommandsExitCodeAndOutput) {
  const struct {
    const char* arguments;
    int status;
    std::vector<std::string> shown;
  } cases[] = {
      {"--version", 0, {"9.2 (1)\n"}},
      {"help call", 0, {"getTransferRecipients --accno VALUE"}},
      {"help sandbox", 0, {"usage: brivane sandbox"}},
      {"help style", 0, {"brivane style css"}},
      {"help form", 0, {"brivane form render|show"}},
      {"help demo", 0, {"usage: brivane demo [--show-form]"}},
      {"call --help", 0, {"completeAddStoredPaymentOption"}},
      // Without a display a person cannot complete the form.
      {"demo --show-form", 2, {"needs a display"}},
      {"form show --provider 0 --options VISA --token t", 1, {"no display"}},
      // Typed responses and errors, with their fields by name.
      {"call user changePassword --userId demo@brivane.test --set oldPass=Demo-Pass-1 --set "
       "newPass=New-Pass-11",
       0,
       {R"("responseCode":"0000")"}},
      {"call user changePassword --userId demo@brivane.test --set oldPass=wrong --set newPass=New-Pass-11",
       1,
       {R"("code":2102,)"}},
      {"call user createSecondaryEmail --userId demo@brivane.test --set emailAddress=x@example.test",
       0,
       {R"("responseCode":"0000")"}},
      {"call user checkUserUniqueness --userId second@brivane.test", 0, {R"("found":true)"}},
      {"call user validatePassword --set password=short", 1, {R"("code":2103,)"}},
      {"call payment initAuthorize --set presentationAmount=5 --set presentationCurrCode=EUR --set "
       "ipAddr=203.0.113.7",
       0,
       {R"("statusCode":"INITIATED")"}},
      {"call payment authorize --set presentationAmount=5 --set presentationCurrCode=EUR --set "
       "carrierNumber=4111111111111111",
       0,
       {R"("statusCode":"AUTHORIZED")"}},
      {"call payment lmCompleteAuthorize --uniqueReference PAYnone --set depositReference=D1",
       1,
       {R"("code":6101,)"}},
      {"call payment capture", 1, {R"("code":1,)"}},  // no --uniqueReference: the SDK's own check
      {"call auth getAccessTokenWithUserName --userName x --password y --grantType password",
       1,
       {R"("code":1001,"description":"The user name or password is wrong.")"}},
      {"call auth getRefreshTokenWithToken --grantType refresh_token", 1, {R"("domain":"brivane.client")"}},
      {"call settings getCountries --url http://127.0.0.1:1 --program X --token T",
       1,
       {R"("domain":"brivane.network")"}},
      {"call settings getCountries --url http://127.0.0.1:1",
       1,
       {R"({"error":{"domain":"brivane.client","code":2,)"}},
      // Account operations take path arguments and constructor fields.
      {"call account balanceEnquiry --accno 1000000001 --set accnoType=WALLET", 0, {R"("avlBal":1000)"}},
      {"call account registerAccountDevice --accno 1000000001 --set deviceType=1 --set clientId=cli",
       0,
       {R"("responseCode":"0000")"}},
      {"call account findAccount --set userId=second@brivane.test", 0, {R"("accno":"1000000002")"}},
      {"call account accountEnquiry --accno 1000000001 --set startDate=2000-01-01T00:00:00 --set top=1",
       0,
       {R"("entryType":"OPENING_BALANCE")"}},
      {"call account getSepaMandate --accno 1000000001", 1, {R"("code":1,)"}},  // no option reference
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = run(c.arguments, "env -u DISPLAY -u WAYLAND_DISPLAY ");
    EXPECT_EQ(outcome.status, c.status) << outcome.out;
    for (const std::string& text : c.shown) EXPECT_THAT(outcome.out, HasSubstr(text));
    const std::string arguments = c.arguments;
    if (c.status != 2 && arguments.starts_with("call ") && arguments.find("--help") == std::string::npos) {
      boost::system::error_code error;
      boost::json::parse(outcome.out, error);
      EXPECT_FALSE(error) << outcome.out;
    }
  }
  EXPECT_EQ(run("help demo").out, run("demo --help").out);
  // Usage errors, fields a request does not have among them.
  for (const char* arguments :
       {"help nothing", "demo --bogus", "demo --show-form extra", "demo show-form", "", "nonsense", "call",
        "call settings nope", "call settings getCountries --set x", "call settings getCountries --bogus 1",
        "sandbox --port many", "demo extra", "style css --provider 8", "style css --provider x",
        "form render --provider x", "form render --mode one", "call user validatePassword --userId u"})
    EXPECT_EQ(run(arguments).status, 2) << arguments;
  for (const char* arguments :
       {"call account transferAmount --accno 1000000001 --set tansferAmount=1",
        "call settings getCountries --set onlyProgramCountries=maybe",
        "call auth getRefreshTokenWithToken --set a=b",
        "call settings getCountries --url ftp://127.0.0.1:1 --program X",
        "call settings getCountries --url file:///etc/passwd",
        "call settings getCountries --url 127.0.0.1:1",
        "call settings getCountries --token-file /nonexistent/t",
        "call auth getAccessTokenWithUserName --userName u --password-file /nonexistent/p --grantType g",
        "style css --provider 0 --style /nonexistent/style.json",
        "form render --provider 8 --token T --api-url http://a/",
        "form render --mode 5 --token T --api-url http://a/",
        "form render --style /nonexistent/style.json --token T --api-url http://a/",
        "form show --sandbox ftp://127.0.0.1:1 --token t --options VISA",
        "call user changePassword --userId u --set password=x",
        "call user sendPasswordResetCode --userId u --set a=b",
        "call payment initAuthorize --set clientIpAddress=1.2.3.4",
        "call payment initAuthorize --set carrierNumber=1",
        "call payment payToAccount --set identification=x",
        "call payment capture --uniqueReference R --set modifiedAmount=abc",
        "call payment completeAuthorize --uniqueReference R --set accno=1"})
    EXPECT_EQ(run(arguments).status, 2) << arguments;
}

TEST_F(BrivaneTool, CallPrintsEveryFieldOfTheTypedResponseWithNumbersInShortestForm) {
  Outcome call = run("call settings getCountries --set onlyProgramCountries=true --prefix ABC");
  ASSERT_EQ(call.status, 0) << call.out;
  const boost::json::value printed = boost::json::parse(call.out);
  const boost::json::object& response = printed.at("response").as_object();
  EXPECT_THAT(std::string(response.at("partnerReference").as_string()), MatchesRegex("ABC[0-9A-Za-z]{10}"));
  EXPECT_EQ(response.at("responseCode"), "0000");
  EXPECT_EQ(response.at("countries").as_array().front().as_object().at("countryCode"), "AT");

  Outcome bank = run("call settings getgetFinancialInstitutionData");
  ASSERT_EQ(bank.status, 0);
  EXPECT_EQ(boost::json::parse(bank.out).at("response").at("creditorIdentifier"), "AT61ZZZ00000012345");

  // Numbers print as a reader writes them; the output stays JSON that any parser takes.
  Outcome amount =
      run("call payment authorize --set presentationAmount=12.5 --set presentationCurrCode=EUR --set "
          "carrierNumber=4111111111111111");
  ASSERT_EQ(amount.status, 0) << amount.out;
  EXPECT_THAT(amount.out, HasSubstr("\"presentationAmount\":12.5,"));
  EXPECT_EQ(amount.out.find("E1"), std::string::npos) << amount.out;
  EXPECT_EQ(boost::json::parse(amount.out).at("response").at("presentationAmount").as_double(), 12.5);
}

TEST_F(BrivaneTool, SecretsComeFromFilesStandardInputOrTheEnvironment) {
  const std::filesystem::path scratch =
      std::filesystem::temp_directory_path() / ("brivane-tool-test-secrets-" + std::to_string(getpid()));
  std::filesystem::create_directories(scratch);
  auto write = [&](const char* name, const char* text) {
    std::ofstream(scratch / name) << text;
    return (scratch / name).string();
  };
  const std::string file = write("wrong", "wrong-password\n");
  const std::string newPass = write("new", "New-Pass-22\r\n");
  const std::string twoBreaks = write("two-breaks", "Demo-Pass-1\n\n");
  const std::string change = tool_ + " call user changePassword --userId demo@brivane.test ";
  const struct {
    std::string command;
    int status;
    const char* shown;  // a part of what it prints
  } cases[] = {
      {"printf 'Demo-Pass-1\\n' | " + tool_ +
           " call auth getAccessTokenWithUserName --userName demo@brivane.test --password-file - --grantType "
           "password",
       0, R"("access_token":")"},
      {tool_ + " call auth getAccessTokenWithUserName --userName demo@brivane.test --password-file " + file +
           " --grantType password",
       1, R"("code":1001,)"},
      {"BRIVANE_TOKEN=not-a-token " + tool_ + " call settings getCountries", 1, R"({"error":{)"},
      {"printf 'x\\n' | " + tool_ +
           " call auth getAccessTokenWithUserName --userName u --password-file - --grantType g --token-file "
           "-",
       2, ""},
      // Any request field from a file or standard input.
      {"printf 'Demo-Pass-1\\n' | " + change + "--set-file oldPass=- --set-file newPass=" + newPass, 0,
       R"("responseCode":"0000")"},
      {change + "--set-file oldPass=" + twoBreaks + " --set newPass=New-Pass-22", 1, R"("code":2102,)"},
      {"printf 'Demo-Pass-1' | " + tool_ +
           " call user validatePassword --set password=x --set-file password=-",
       0, R"("responseCode":"0000")"},
      {change + "--set-file oldPass --set newPass=x", 2, ""},
      {change + "--set-file =" + newPass + " --set newPass=x", 2, ""},
      {change + "--set-file oldPass=" + (scratch / "missing").string() + " --set newPass=x", 2, ""},
      {change + "--set-file nope=" + newPass, 2, ""},
      {"printf 'x\\n' | " + change + "--set-file oldPass=- --set-file newPass=-", 2, ""},
      {"printf 'x\\n' | " + tool_ + " call auth getRefreshTokenWithToken --token-file - --grantType g " +
           "--set-file a=-",
       2, ""},
  };
  for (const auto& c : cases) {
    const auto [status, out] = test::runCommand(c.command + " 2>/dev/null");
    EXPECT_EQ(status, c.status) << c.command << "\n" << out;
    EXPECT_THAT(out, HasSubstr(c.shown)) << c.command;
    boost::system::error_code error;
    if (c.status != 2) boost::json::parse(out, error);
    EXPECT_FALSE(error) << out;
  }
  std::filesystem::remove_all(scratch);
}

// Whatever bytes a server sends, the tool prints JSON that a strict parser takes: bytes that are
// not UTF-8 are replaced (U+FFFD), control characters escaped.
TEST_F(BrivaneTool, CallPrintsStrictJSONWhateverBytesTheServerSends) {
  struct Case {
    int status;
    std::string header;  // the value of an "X-Note" header
    std::string body;
    const char* shown;  // a part of the printed error's description, as JSON text
  } cases[] = {
      {503, "caf\xe9 \xff\xfe \xed\xa0\x80 \xc0\xaf end", "",
       R"(caf\ufffd \ufffd\ufffd \ufffd\ufffd\ufffd \ufffd\ufffd end)"},
      {503, "cut \xe2\x82", "", R"(cut \ufffd\ufffd)"},
      {503, "valid \xe2\x82\xac \xf0\x9f\x98\x80", "", "valid \xe2\x82\xac \xf0\x9f\x98\x80"},
      {400, "x", R"({"responseCode":"1","responseDescription":"tab\t \"quoted\" \u0001"})",
       R"(tab\t \"quoted\" \u0001)"},
  };
  for (const Case& c : cases) {
    httplib::Server server;
    server.Get(".*", [&c](const httplib::Request&, httplib::Response& res) {
      res.status = c.status;
      res.set_header("X-Note", c.header);
      res.set_content(c.body, "application/json");
    });
    test::ServerThread thread(server);
    Outcome call = run("call settings getCountries --program P --token T --url " + thread.baseUrl());
    EXPECT_EQ(call.status, 1) << call.out;
    boost::system::error_code ec;
    boost::json::value printed = boost::json::parse(call.out, ec);
    ASSERT_FALSE(ec) << call.out;
    EXPECT_THAT(call.out, HasSubstr(c.shown));
    EXPECT_TRUE(printed.at("error").at("description").is_string());
  }
}

// A failed write (a full disk) is an error of every command: exit code 1 and a message.
TEST_F(BrivaneTool, AFailedWriteExitsOneWithAMessage) {
  for (const char* arguments :
       {"--version", "help", "help call", "call settings getCountries", "call settings getCountries --help",
        "style css --provider 0", "form render --provider 0 --options VISA --token T --api-url http://a/",
        "form --help", "sandbox --port 0", "demo"}) {
    const auto [status, messages] = test::runCommand(tool_ + " " + arguments + " 2>&1 >/dev/full");
    EXPECT_EQ(status, 1) << arguments << "\n" << messages;
    EXPECT_THAT(messages, HasSubstr("cannot write")) << arguments;
  }
}

TEST_F(BrivaneTool, StandaloneSandboxServesUntilTerminated) {
  test::SandboxProcess sandbox;
  ASSERT_THAT(sandbox.firstLine, MatchesRegex("Sandbox listening on http://127\\.0\\.0\\.1:[0-9]+\n"));
  Outcome login = run("call auth getAccessTokenWithUserName --url " + sandbox.url +
                      " --userName demo@brivane.test --password Demo-Pass-1 --grantType password");
  ASSERT_EQ(login.status, 0) << login.out;
  const std::string token(boost::json::parse(login.out).at("response").at("access_token").as_string());
  Outcome countries =
      run("call settings getCountries --url " + sandbox.url + " --program BRIVANE --token " + token);
  EXPECT_EQ(countries.status, 0) << countries.out;
  EXPECT_EQ(sandbox.stop(SIGTERM), 0);
}

// The tool starts without GTK or the web engine (only `form show` starts the form program).
TEST_F(BrivaneTool, LoadsNoGtk) {
  const auto [status, libraries] = test::runCommand("ldd " + tool_);
  ASSERT_EQ(status, 0);
  EXPECT_THAT(libraries, HasSubstr("libBrivaneSDK.so"));
  for (const char* heavy : {"libgtk", "libwebkit", "libBrivaneSDKForm"})
    EXPECT_EQ(libraries.find(heavy), std::string::npos) << heavy;
}

}  // namespace
}  // namespace brivane
