#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <boost/json.hpp>

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
    tool_ = test::builtTool();
    ASSERT_TRUE(std::filesystem::exists(tool_)) << "brivane tool not built at " << tool_;
  }

  // `environment` goes before the tool's path (e.g. "env -u DISPLAY "). With it, the tool's
  // error output is kept too.
  Outcome run(const std::string& arguments, const std::string& environment = "") {
    return test::runCommand(environment + tool_.string() + " " + arguments +
                            (environment.empty() ? " 2>/dev/null" : " 2>&1"));
  }

  std::filesystem::path tool_;
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

TEST_F(BrivaneTool, DemoHelpAndItsUsageErrors) {
  Outcome help = run("demo --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("usage: brivane demo [--show-form]"));
  EXPECT_EQ(run("help demo").out, help.out);
  // Without a display a person cannot complete the form.
  Outcome headless = run("demo --show-form", "env -u DISPLAY -u WAYLAND_DISPLAY ");
  EXPECT_EQ(headless.status, 2);
  EXPECT_THAT(headless.out, HasSubstr("needs a display"));
  for (const char* arguments : {"demo --bogus", "demo --show-form extra", "demo show-form"}) {
    EXPECT_EQ(run(arguments).status, 2) << arguments;
  }
}

TEST_F(BrivaneTool, CallPrintsEveryFieldOfTheTypedResponse) {
  Outcome call = run("call settings getCountries --set onlyProgramCountries=true --prefix ABC");
  ASSERT_EQ(call.status, 0) << call.out;
  boost::json::object printed = boost::json::parse(call.out).as_object();
  const boost::json::object& response = printed.at("response").as_object();
  EXPECT_THAT(std::string(response.at("partnerReference").as_string()), MatchesRegex("ABC[0-9A-Za-z]{10}"));
  EXPECT_EQ(response.at("responseCode"), "0000");
  EXPECT_EQ(response.at("countries").as_array().front().as_object().at("countryCode"), "AT");

  Outcome bank = run("call settings getgetFinancialInstitutionData");
  ASSERT_EQ(bank.status, 0);
  EXPECT_EQ(boost::json::parse(bank.out).at("response").at("creditorIdentifier"), "AT61ZZZ00000012345");
}

TEST_F(BrivaneTool, CallReportsErrorsAsJSONWithExitOne) {
  Outcome login = run("call auth getAccessTokenWithUserName --userName x --password y --grantType password");
  EXPECT_EQ(login.status, 1);
  boost::json::value error = boost::json::parse(login.out).at("error");
  EXPECT_EQ(error.at("code"), 1001);
  EXPECT_EQ(error.at("description"), "The user name or password is wrong.");

  Outcome missing = run("call auth getRefreshTokenWithToken --grantType refresh_token");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(boost::json::parse(missing.out).at("error").at("domain"), "brivane.client");

  Outcome dead = run("call settings getCountries --url http://127.0.0.1:1 --program X --token T");
  EXPECT_EQ(dead.status, 1);
  EXPECT_EQ(boost::json::parse(dead.out).at("error").at("domain"), "brivane.network");

  Outcome noProgram = run("call settings getCountries --url http://127.0.0.1:1");
  EXPECT_EQ(noProgram.status, 1);
  EXPECT_EQ(boost::json::parse(noProgram.out).at("error").at("code"), 2);
}

TEST_F(BrivaneTool, UsageErrorsExitTwo) {
  for (const char* arguments :
       {"",
        "nonsense",
        "call",
        "call settings nope",
        "call settings getCountries --set x",
        "call settings getCountries --set onlyProgramCountries=maybe",
        "call settings getCountries --bogus 1",
        "call auth getRefreshTokenWithToken --set a=b",
        "sandbox --port many",
        "demo extra",
        "call settings getCountries --url ftp://127.0.0.1:1 --program X",
        "call settings getCountries --url file:///etc/passwd",
        "call settings getCountries --url 127.0.0.1:1",
        "call auth getAccessTokenWithUserName --userName u --password-file /nonexistent/p --grantType g",
        "call settings getCountries --token-file /nonexistent/t",
        "style css --provider 8",
        "style css --provider x",
        "style css --provider 0 --style /nonexistent/style.json",
        "form render --provider 8 --token T --api-url http://a/",
        "form render --provider x",
        "form render --mode 5 --token T --api-url http://a/",
        "form render --mode one",
        "form render --style /nonexistent/style.json --token T --api-url http://a/",
        "form show --sandbox ftp://127.0.0.1:1 --token t --options VISA"}) {
    EXPECT_EQ(run(arguments).status, 2) << arguments;
  }
}

TEST_F(BrivaneTool, CallRunsUserAndPaymentOperationsWithInitialiserFieldsByName) {
  struct Case {
    const char* arguments;
    int status;
    const char* expect;  // a key and value of the response, or the error's code
  };
  const Case cases[] = {
      {"call user changePassword --userId demo@brivane.test --set oldPass=Demo-Pass-1 --set "
       "newPass=New-Pass-11",
       0, "responseCode=0000"},
      {"call user changePassword --userId demo@brivane.test --set oldPass=wrong --set newPass=New-Pass-11", 1,
       "code=2102"},
      {"call user createSecondaryEmail --userId demo@brivane.test --set emailAddress=x@example.test", 0,
       "responseCode=0000"},
      {"call user checkUserUniqueness --userId second@brivane.test", 0, "found=true"},
      {"call user validatePassword --set password=short", 1, "code=2103"},
      {"call payment initAuthorize --set presentationAmount=5 --set presentationCurrCode=EUR "
       "--set ipAddr=203.0.113.7",
       0, "statusCode=INITIATED"},
      {"call payment authorize --set presentationAmount=5 --set presentationCurrCode=EUR "
       "--set carrierNumber=4111111111111111",
       0, "statusCode=AUTHORIZED"},
      {"call payment lmCompleteAuthorize --uniqueReference PAYnone --set depositReference=D1", 1,
       "code=6101"},
      {"call payment capture", 1, "code=1"},  // no --uniqueReference: the SDK's own check
  };
  for (const Case& c : cases) {
    Outcome call = run(c.arguments);
    ASSERT_EQ(call.status, c.status) << c.arguments << "\n" << call.out;
    boost::json::value printed = boost::json::parse(call.out);
    const std::string expect(c.expect);
    const std::string key = expect.substr(0, expect.find('='));
    const std::string value = expect.substr(expect.find('=') + 1);
    const boost::json::value& field =
        c.status == 0 ? printed.at("response").at(key) : printed.at("error").at(key);
    EXPECT_EQ(field.is_string() ? std::string(field.as_string()) : boost::json::serialize(field), value)
        << c.arguments;
  }
}

TEST_F(BrivaneTool, FieldsARequestDoesNotHaveAreUsageErrors) {
  for (const char* arguments : {"call user changePassword --userId u --set password=x",
                                "call user sendPasswordResetCode --userId u --set a=b",
                                "call payment initAuthorize --set clientIpAddress=1.2.3.4",
                                "call payment initAuthorize --set carrierNumber=1",
                                "call payment payToAccount --set identification=x",
                                "call payment capture --uniqueReference R --set modifiedAmount=abc",
                                "call payment completeAuthorize --uniqueReference R --set accno=1",
                                "call user validatePassword --userId u"}) {
    EXPECT_EQ(run(arguments).status, 2) << arguments;
  }
}

TEST_F(BrivaneTool, SecretsComeFromFilesStandardInputOrTheEnvironment) {
  const std::filesystem::path scratch =
      std::filesystem::temp_directory_path() / ("brivane-tool-test-secrets-" + std::to_string(getpid()));
  std::filesystem::create_directories(scratch);
  auto write = [&](const char* name, const char* text) {
    const std::filesystem::path path = scratch / name;
    std::FILE* out = std::fopen(path.c_str(), "w");
    EXPECT_NE(out, nullptr);
    if (out != nullptr) {
      std::fputs(text, out);
      std::fclose(out);
    }
    return path.string();
  };
  const std::string file = write("wrong", "wrong-password\n");
  const std::string newPass = write("new", "New-Pass-22\r\n");
  const std::string twoBreaks = write("two-breaks", "Demo-Pass-1\n\n");
  const std::string change = tool_.string() + " call user changePassword --userId demo@brivane.test ";
  struct Case {
    std::string command;
    int status;
    std::int64_t errorCode;  // 0: success
    const char* successKey;  // a key of the response on success
  } cases[] = {
      {"printf 'Demo-Pass-1\\n' | " + tool_.string() +
           " call auth getAccessTokenWithUserName --userName demo@brivane.test --password-file - --grantType "
           "password",
       0, 0, "access_token"},
      {tool_.string() +
           " call auth getAccessTokenWithUserName --userName demo@brivane.test --password-file " + file +
           " --grantType password",
       1, 1001, nullptr},
      {"BRIVANE_TOKEN=not-a-token " + tool_.string() + " call settings getCountries", 1, -1, nullptr},
      {"printf 'x\\n' | " + tool_.string() +
           " call auth getAccessTokenWithUserName --userName u --password-file - --grantType g --token-file "
           "-",
       2, 0, nullptr},
      // Any request field from a file or standard input.
      {"printf 'Demo-Pass-1\\n' | " + change + "--set-file oldPass=- --set-file newPass=" + newPass, 0, 0,
       "responseCode"},
      {change + "--set-file oldPass=" + twoBreaks + " --set newPass=New-Pass-22", 1, 2102, nullptr},
      {"printf 'Demo-Pass-1' | " + tool_.string() +
           " call user validatePassword --set password=x --set-file password=-",
       0, 0, "responseCode"},
      {change + "--set-file oldPass --set newPass=x", 2, 0, nullptr},
      {change + "--set-file =" + newPass + " --set newPass=x", 2, 0, nullptr},
      {change + "--set-file oldPass=" + (scratch / "missing").string() + " --set newPass=x", 2, 0, nullptr},
      {change + "--set-file nope=" + newPass, 2, 0, nullptr},
      {"printf 'x\\n' | " + change + "--set-file oldPass=- --set-file newPass=-", 2, 0, nullptr},
      {"printf 'x\\n' | " + tool_.string() +
           " call auth getRefreshTokenWithToken --token-file - --grantType g " + "--set-file a=-",
       2, 0, nullptr},
  };
  for (const Case& c : cases) {
    const auto [status, out] = test::runCommand(c.command + " 2>/dev/null");
    EXPECT_EQ(status, c.status) << c.command << "\n" << out;
    if (c.status == 1 && c.errorCode > 0) {
      EXPECT_EQ(boost::json::parse(out).at("error").at("code"), c.errorCode);
    } else if (c.status == 1) {
      EXPECT_TRUE(boost::json::parse(out).at("error").is_object());
    } else if (c.status == 0) {
      EXPECT_TRUE(boost::json::parse(out).at("response").as_object().contains(c.successKey)) << out;
    }
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
    const auto [status, messages] = test::runCommand(tool_.string() + " " + arguments + " 2>&1 >/dev/full");
    EXPECT_EQ(status, 1) << arguments << "\n" << messages;
    EXPECT_THAT(messages, HasSubstr("cannot write")) << arguments;
  }
}

TEST_F(BrivaneTool, StandaloneSandboxServesUntilTerminated) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  pid_t child = fork();
  if (child == 0) {
    dup2(fds[1], STDOUT_FILENO);
    close(fds[0]);
    execl(tool_.c_str(), "brivane", "sandbox", "--port", "0", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  FILE* out = fdopen(fds[0], "r");
  char line[256] = {};
  ASSERT_NE(fgets(line, sizeof line, out), nullptr);
  std::string first(line);
  ASSERT_THAT(first, MatchesRegex("Sandbox listening on http://127\\.0\\.0\\.1:[0-9]+\n"));
  std::string url = first.substr(first.find("http://"));
  url.pop_back();

  Outcome login = run("call auth getAccessTokenWithUserName --url " + url +
                      " --userName demo@brivane.test --password Demo-Pass-1 --grantType password");
  EXPECT_EQ(login.status, 0) << login.out;
  std::string token(boost::json::parse(login.out).at("response").at("access_token").as_string());
  Outcome countries = run("call settings getCountries --url " + url + " --program BRIVANE --token " + token);
  EXPECT_EQ(countries.status, 0) << countries.out;

  kill(child, SIGTERM);
  int status = 0;
  waitpid(child, &status, 0);
  fclose(out);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(BrivaneTool, AccountOperationsTakePathArgumentsAndConstructorFields) {
  struct Case {
    const char* arguments;
    int status;
    const char* expected;
  };
  const Case cases[] = {
      {"balanceEnquiry --accno 1000000001 --set accnoType=WALLET", 0, R"("avlBal":1000)"},
      {"registerAccountDevice --accno 1000000001 --set deviceType=1 --set clientId=cli", 0,
       R"("responseCode":"0000")"},
      {"findAccount --set userId=second@brivane.test", 0, R"("accno":"1000000002")"},
      {"accountEnquiry --accno 1000000001 --set startDate=2000-01-01T00:00:00 --set top=1", 0,
       R"("entryType":"OPENING_BALANCE")"},
      {"getSepaMandate --accno 1000000001", 1, R"("code":1,)"},  // no --storedPaymentOptionReference
      {"transferAmount --accno 1000000001 --set tansferAmount=1", 2, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    Outcome call = run(std::string("call account ") + c.arguments);
    EXPECT_EQ(call.status, c.status) << call.out;
    EXPECT_THAT(call.out, HasSubstr(c.expected));
  }
  EXPECT_THAT(run("call --help").out, HasSubstr("completeAddStoredPaymentOption"));
}

}  // namespace
}  // namespace brivane

namespace brivane {
namespace {

// Numbers print as a reader writes them; the output stays JSON that any parser takes.
TEST_F(BrivaneTool, CallPrintsRealNumbersInTheirShortestDecimalForm) {
  Outcome call =
      run("call payment authorize --set presentationAmount=12.5 --set presentationCurrCode=EUR "
          "--set carrierNumber=4111111111111111");
  ASSERT_EQ(call.status, 0) << call.out;
  EXPECT_THAT(call.out, HasSubstr("\"presentationAmount\":12.5,"));
  EXPECT_EQ(call.out.find("E1"), std::string::npos) << call.out;
  EXPECT_EQ(boost::json::parse(call.out).at("response").at("presentationAmount").as_double(), 12.5);
}

// The tool starts without GTK or the web engine; only `form show` starts the form program.
TEST_F(BrivaneTool, LoadsNoGtkAndShowsTheFormOnlyWithADisplay) {
  const auto [status, libraries] = test::runCommand("ldd " + tool_.string());
  ASSERT_EQ(status, 0);
  EXPECT_THAT(libraries, HasSubstr("libBrivaneSDK.so"));
  for (const char* heavy : {"libgtk", "libwebkit", "libBrivaneSDKForm"})
    EXPECT_EQ(libraries.find(heavy), std::string::npos) << heavy;

  Outcome noDisplay =
      run("form show --provider 0 --options VISA --token t", "env -u DISPLAY -u WAYLAND_DISPLAY ");
  EXPECT_EQ(noDisplay.status, 1);
  EXPECT_THAT(noDisplay.out, HasSubstr("no display"));
}

TEST_F(BrivaneTool, VersionAndHelpForEachCommand) {
  struct Case {
    const char* arguments;
    int status;
    const char* expected;
  };
  const Case cases[] = {
      {"--version", 0, "9.2 (1)\n"},
      {"help call", 0, "getTransferRecipients --accno VALUE"},
      {"help sandbox", 0, "usage: brivane sandbox"},
      {"help style", 0, "brivane style css"},
      {"help form", 0, "brivane form render|show"},
      {"help demo", 0, "usage: brivane demo"},
      {"help nothing", 2, ""},
  };
  for (const Case& c : cases) {
    Outcome outcome = run(c.arguments);
    EXPECT_EQ(outcome.status, c.status) << c.arguments;
    EXPECT_THAT(outcome.out, HasSubstr(c.expected)) << c.arguments;
  }
}

}  // namespace
}  // namespace brivane
