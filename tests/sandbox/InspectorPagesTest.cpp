#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "support/Command.h"
#include "support/RestCaller.h"

namespace brivane::sandbox {
namespace {

using test::jsonText;
using test::RestCaller;
using ::testing::HasSubstr;
using ::testing::Not;
namespace json = boost::json;

constexpr const char* kTransferToNew =
    R"("carrierNumber": "new@pages.test", "transferAmount": "12.34", "transferCurrCode": "EUR")";

// A sandbox with an account opened through the API, money sent to it and a payment made.
class InspectorPages : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(sandbox.start()); }

  std::string get(const std::string& path, int expected = 200) {
    httplib::Client http(sandbox.baseUrl());
    auto answer = http.Get(path);
    if (!answer) return "no answer";
    EXPECT_EQ(answer->status, expected) << path;
    return answer->body;
  }

  // The overview and every page it links to.
  std::set<std::string> linkedPages() {
    const std::string overview = get("/sandbox/");
    std::set<std::string> paths = {"/sandbox/"};
    const std::regex href("href=\"(/sandbox/[^\"]+)\"");
    for (auto it = std::sregex_iterator(overview.begin(), overview.end(), href); it != std::sregex_iterator();
         ++it)
      paths.insert(std::regex_replace((*it)[1].str(), std::regex("&amp;"), "&"));
    return paths;
  }

  Sandbox sandbox;
  RestCaller demo{sandbox, sandbox.issueAccessToken()};
};

// In a real browser: an account opened through the API appears with its balance, on the overview
// and on its own page, and each page gives a screenshot (BRIVANE_SCREENSHOT_DIR, or the
// temporary directory).
TEST_F(InspectorPages, ABrowserShowsAnAccountOpenedThroughTheApi) {
  ASSERT_EQ(std::system("command -v chromium >/dev/null"), 0)
      << "chromium is missing: scripts/deps.sh installs it";
  const json::value opened = demo.call(
      "PUT", "/account", R"("loginID": "new@pages.test", "password": "New-Pass-1", "firstName": "Nova")");
  const std::string accno = jsonText(opened, "accno");
  ASSERT_FALSE(accno.empty()) << json::serialize(opened);
  ASSERT_EQ(demo.code("POST", "/account/1000000001/transfer", kTransferToNew), "0000");
  const std::string payment = jsonText(
      demo.call(
          "PUT", "/payment/authorize",
          R"("presentationAmount": "25.00", "presentationCurrCode": "EUR", "carrierNumber": "4111111111111111")"),
      "uniqueReference");
  ASSERT_FALSE(payment.empty());
  ASSERT_EQ(demo.code("POST", "/payment/" + payment + "/capture"), "0000");

  const char* dir = std::getenv("BRIVANE_SCREENSHOT_DIR");
  const std::filesystem::path shots = dir != nullptr ? dir : std::filesystem::temp_directory_path();
  const struct {
    std::string path, screenshot;
    std::vector<std::string> shown;
  } pages[] = {
      {"/sandbox/", "sandbox-overview.png", {accno, "Nova", "12.34 EUR", "new@pages.test"}},
      {"/sandbox/accounts/" + accno, "sandbox-account.png", {"Account " + accno, "TRANSFER_IN", "12.34 EUR"}},
      {"/sandbox/search?q=pages", "sandbox-search.png", {accno, "new@pages.test"}},
      {"/sandbox/payments/" + payment, "sandbox-payment.png", {"AUTHORIZED", "CAPTURED", "411111******1111"}},
  };
  for (const auto& page : pages) {
    SCOPED_TRACE(page.path);
    const std::filesystem::path png = shots / page.screenshot;
    std::filesystem::remove(png);
    const std::string dom = test::runCommand(
                                "chromium --headless --no-sandbox --disable-gpu --hide-scrollbars "
                                "--window-size=1280,1000 --dump-dom --screenshot=" +
                                png.string() + " '" + sandbox.baseUrl() + page.path + "' 2>/dev/null")
                                .out;
    for (const std::string& text : page.shown) EXPECT_THAT(dom, HasSubstr(text));
    std::ifstream file(png, std::ios::binary);
    char signature[8] = {};
    file.read(signature, 8);
    EXPECT_EQ(std::string(signature + 1, 3), "PNG") << png;
    EXPECT_GT(std::filesystem::exists(png) ? std::filesystem::file_size(png) : 0, 20000u) << png;
  }
}

// No page shows a secret: passwords, tokens, full card numbers. Every page linked from the
// overview, and a search, is read.
TEST_F(InspectorPages, NoPageShowsASecret) {
  const json::value grant = test::signIn(sandbox.baseUrl(), "demo@brivane.test", "Demo-Pass-1");
  ASSERT_EQ(demo.code("PUT", "/account", R"("loginID": "new@pages.test", "password": "Canary-Pass-7731")"),
            "0000");
  const json::value opened = demo.call(
      "PUT", "/payment/initAuthorize",
      R"("presentationAmount": "3.00", "presentationCurrCode": "EUR", "custom1": "4000 0000 0000 3220")");
  ASSERT_EQ(
      demo.code(
          "PUT", "/payment/authorize",
          R"("presentationAmount": "4.00", "presentationCurrCode": "EUR", "carrierNumber": "4111111111111111", )"
          R"("cvv": "cvv-canary-739", "cardSecurityCode": "csc-canary-482", "pin": "pin-canary")"),
      "0000");
  std::vector<std::string> canaries = {jsonText(grant, "access_token"), jsonText(grant, "refresh_token"),
                                       jsonText(opened, "authorizationToken")};
  for (const char* secret :
       {"Demo-Pass-1", "Second-Pass-2", "Canary-Pass-7731", "4111111111111111", "4000000000003220",
        "4000 0000 0000 3220", "cvv-canary-739", "csc-canary-482", "pin-canary"})
    canaries.push_back(secret);
  std::set<std::string> paths = linkedPages();
  paths.insert("/sandbox/search?q=a");
  EXPECT_GE(paths.size(), 8u);  // accounts, users and payments
  for (const std::string& path : paths) {
    const std::string page = get(path);
    for (const std::string& canary : canaries) {
      ASSERT_FALSE(canary.empty());
      EXPECT_THAT(page, Not(HasSubstr(canary))) << path;
    }
  }
}

// What requests carried stays text in its place, wherever the pages show it.
TEST_F(InspectorPages, NoValueBreaksOutOfItsPlace) {
  const std::string hostile[] = {"<script>alert(1)</script>", "\"><img src=x onerror=alert(2)>",
                                 "'><iframe src=//x>", "</td></tr></table><h1>x</h1>"};
  for (const std::string& value : hostile) {
    const std::string quoted = json::serialize(json::value(value));
    demo.call("PUT", "/account",
              R"("loginID": )" + json::serialize(json::value(value + "@x.test")) +
                  R"(, "password": "P-1", "firstName": )" + quoted);
    demo.call("PUT", "/payment/initAuthorize",
              R"("presentationAmount": "1.00", "presentationCurrCode": "EUR", "custom2": )" + quoted);
  }
  std::set<std::string> paths = linkedPages();
  for (const std::string& value : hostile)
    paths.insert("/sandbox/search?q=" + httplib::detail::encode_query_param(value));
  EXPECT_THAT(get("/sandbox/"), HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;"));
  for (const std::string& path : paths) {
    const std::string page = get(path);
    for (const char* markup : {"<script", "<img", "<iframe", "<h1>x"})
      EXPECT_THAT(page, Not(HasSubstr(markup))) << path;
  }
}

// The pages are read-only, for this machine's browsers only, and ask browsers to run nothing.
TEST_F(InspectorPages, ReadOnlyAndLocal) {
  httplib::Client http(sandbox.baseUrl());
  const struct {
    const char* method;
    const char* path;
    const char* host;
    int status;
  } cases[] = {
      {"GET", "/sandbox/", "127.0.0.1", 200},
      {"GET", "/sandbox/", "localhost:1", 200},
      {"GET", "/sandbox/", "evil.test", 403},
      {"GET", "/sandbox/", "127.0.0.1.evil.test", 403},
      {"POST", "/sandbox/", "127.0.0.1", 404},
      {"DELETE", "/sandbox/accounts/1000000001", "127.0.0.1", 404},
      {"GET", "/sandbox/accounts/404", "127.0.0.1", 404},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.method) + " " + c.path + " Host: " + c.host);
    const httplib::Headers headers = {{"Host", c.host}};
    auto answer = std::string(c.method) == "GET"    ? http.Get(c.path, headers)
                  : std::string(c.method) == "POST" ? http.Post(c.path, headers, "", "text/plain")
                                                    : http.Delete(c.path, headers);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, c.status);
    if (c.status == 200) {
      EXPECT_THAT(answer->get_header_value("Content-Security-Policy"), HasSubstr("default-src 'none'"));
    }
  }
}

}  // namespace
}  // namespace brivane::sandbox
