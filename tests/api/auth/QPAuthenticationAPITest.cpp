#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::SandboxClient;
using Done = QPCompletion<QPAccessTokenResponse>;

// The token endpoint's wire, on the fake: the raw form body with its trailing ampersand ("+" and
// "%" carried as they are, characters beyond ASCII replaced, not encoded), no identifying
// parameters, the token only when there is one; the answer fills the token response.
TEST(QPAuthenticationAPI, GrantsSendTheRawFormBodyWithItsTrailingAmpersand) {
  struct Case {
    std::function<void(const QPAuthenticationAPI&, Done)> start;
    std::optional<std::string> token;  // the access token the provider holds
    const char* body;
  } cases[] = {
      {[](auto& api, Done done) {
         api.getAccessTokenWithUserName("demo@brivane.test", "Pa55", "password", done);
       },
       std::nullopt, "grant_type=password&username=demo@brivane.test&password=Pa55&"},
      {[](auto& api, Done done) { api.getRefreshTokenWithToken("R-1", "refresh_token", done); }, "A-0",
       "grant_type=refresh_token&refresh_token=R-1&"},
      {[](auto& api, Done done) { api.getAccessTokenWithUserName("a+b", "p%20+q", "password", done); },
       std::nullopt, "grant_type=password&username=a+b&password=p%20+q&"},
      {[](auto& api, Done done) {
         api.getAccessTokenWithUserName("j\xC3\xBCrgen", "p\xE2\x82\xAC", "password", done);
       },
       std::nullopt, "grant_type=password&username=j?rgen&password=p?&"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.body);
    test::FakeClient client;
    client.tokens->setAccessToken(c.token);
    client.http->respond(
        "POST", "/token", 200,
        R"({"access_token":"A-1","token_type":"bearer","expires_in":3600,"refresh_token":"R-2"})");
    auto captured = test::run<QPAccessTokenResponse>(
        [&](Done done) { c.start(*client.provider->authenticationAPI(), done); });
    ASSERT_EQ(client.http->requests().size(), 1u);
    const QPRecordedRequest sent = client.http->requests().front();
    EXPECT_EQ(sent.url, "https://api.test/v1/token");
    EXPECT_EQ(sent.body, c.body);
    EXPECT_EQ(sent.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(sent.header("Accept"), "application/json");
    EXPECT_EQ(sent.header("Authorization"), c.token ? std::optional("Bearer " + *c.token) : std::nullopt);
    ASSERT_FALSE(captured.error) << captured.error->toString();
    EXPECT_EQ(captured.response->access_token, "A-1");
    EXPECT_EQ(captured.response->refresh_token, "R-2");
    EXPECT_EQ(captured.response->token_type, "bearer");
    EXPECT_EQ(captured.response->expires_in, QPNumber(3600));
  }
}

// Against the sandbox: what a real token endpoint makes of the grants and how its error forms
// reach the caller.
TEST(QPAuthenticationAPI, SandboxGrantsAndErrorForms) {
  SandboxClient client(false);
  auto& api = *client.provider->authenticationAPI();
  const auto& options = client.sandbox.options();
  auto first = test::run<QPAccessTokenResponse>([&](Done done) {
    api.getAccessTokenWithUserName(options.userName, options.password, "password", done);
  });
  ASSERT_FALSE(first.error) << first.error->toString();
  EXPECT_EQ(client.sandbox.lastHeader("/token", "Content-Length"),
            std::to_string(client.sandbox.lastBody("/token").size()));
  client.tokens->setAccessToken(first.response->access_token);
  auto renewed = test::run<QPAccessTokenResponse>(
      [&](Done done) { api.getRefreshTokenWithToken(first.response->refresh_token, "refresh_token", done); });
  ASSERT_FALSE(renewed.error);
  EXPECT_NE(renewed.response->access_token, first.response->access_token);

  struct Case {
    const char* name;
    std::function<void(Done)> start;
    std::int64_t code;
    std::string description;
  } cases[] = {
      {"a refresh token is good once",
       [&](Done done) { api.getRefreshTokenWithToken(first.response->refresh_token, "refresh_token", done); },
       1002, ""},
      {"wrong password",
       [&](Done done) { api.getAccessTokenWithUserName(options.userName, "nope", "password", done); }, 1001,
       "The user name or password is wrong."},
      {"unknown grant",
       [&](Done done) { api.getAccessTokenWithUserName("u", "p", "client_credentials", done); }, 400,
       "unsupported_grant_type"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto captured = test::run<QPAccessTokenResponse>(c.start);
    ASSERT_TRUE(captured.error);
    EXPECT_FALSE(captured.response);
    EXPECT_EQ(captured.error->code(), c.code);
    EXPECT_EQ(captured.error->domain(), client.sandbox.baseUrl() + "/token");
    if (!c.description.empty()) {
      EXPECT_EQ(captured.error->description(), c.description);
    }
  }
}

// (Values with "&" or "=", which the raw form cannot carry, fail before sending: see
// QPTransportFormBody.)
TEST(QPAuthenticationAPI, NilArgumentsAreReportedAndNothingIsSent) {
  test::FakeClient client;
  Captured<QPAccessTokenResponse> noPassword, noToken;
  client.provider->authenticationAPI()->getAccessTokenWithUserName("u", std::nullopt, "password",
                                                                   noPassword.completion());
  client.provider->authenticationAPI()->getRefreshTokenWithToken(std::nullopt, "refresh_token",
                                                                 noToken.completion());
  EXPECT_EQ(noPassword.calls, 0) << "reported later, on the main queue";
  ASSERT_TRUE(noPassword.wait());
  ASSERT_TRUE(noToken.wait());
  for (auto* c : {&noPassword, &noToken}) {
    ASSERT_TRUE(c->error);
    EXPECT_EQ(c->error->domain(), QPErrorDomainClient);
    EXPECT_EQ(c->error->code(), QPClientErrorMissingArgument);
    EXPECT_TRUE(c->onMainThread);
  }
  EXPECT_EQ(noPassword.error->description(), "The 'password' argument must be set.");
  EXPECT_TRUE(client.http->requests().empty());
}

}  // namespace
}  // namespace brivane
