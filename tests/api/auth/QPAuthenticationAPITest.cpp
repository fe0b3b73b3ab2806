#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::SandboxClient;

TEST(QPAuthenticationAPI, PasswordGrantSendsTheRawFormBodyWithItsTrailingAmpersand) {
  SandboxClient client(false);
  Captured<QPAccessTokenResponse> captured;
  client.provider->authenticationAPI()->getAccessTokenWithUserName(client.sandbox.options().userName,
                                                                   client.sandbox.options().password,
                                                                   "password", captured.completion());
  ASSERT_TRUE(captured.wait());
  ASSERT_FALSE(captured.error) << captured.error->toString();
  std::string expected = "grant_type=password&username=" + client.sandbox.options().userName +
                         "&password=" + client.sandbox.options().password + "&";
  EXPECT_EQ(client.sandbox.lastBody("/token"), expected);
  EXPECT_EQ(client.sandbox.lastHeader("/token", "Content-Length"), std::to_string(expected.size()));
  EXPECT_EQ(client.sandbox.lastHeader("/token", "Content-Type"), "application/x-www-form-urlencoded");
  EXPECT_EQ(client.sandbox.lastHeader("/token", "Accept"), "application/json");
  EXPECT_EQ(client.sandbox.lastHeader("/token", "Authorization"), "");  // no token yet
  EXPECT_EQ(client.sandbox.lastQuery("/token"), "");                    // no identifying parameters
  ASSERT_TRUE(captured.response);
  EXPECT_TRUE(captured.response->access_token);
  EXPECT_EQ(captured.response->token_type, "bearer");
  EXPECT_EQ(captured.response->expires_in, QPNumber(3600));
}

TEST(QPAuthenticationAPI, RefreshGrantRenewsOnceAndCarriesAnExistingToken) {
  SandboxClient client(false);
  Captured<QPAccessTokenResponse> first;
  client.provider->authenticationAPI()->getAccessTokenWithUserName(
      client.sandbox.options().userName, client.sandbox.options().password, "password", first.completion());
  ASSERT_TRUE(first.wait());
  client.tokens->setAccessToken(first.response->access_token);

  Captured<QPAccessTokenResponse> renewed;
  client.provider->authenticationAPI()->getRefreshTokenWithToken(first.response->refresh_token,
                                                                 "refresh_token", renewed.completion());
  ASSERT_TRUE(renewed.wait());
  ASSERT_FALSE(renewed.error);
  EXPECT_EQ(client.sandbox.lastBody("/token"),
            "grant_type=refresh_token&refresh_token=" + *first.response->refresh_token + "&");
  EXPECT_EQ(client.sandbox.lastHeader("/token", "Authorization"), "Bearer " + *first.response->access_token);
  EXPECT_NE(renewed.response->access_token, first.response->access_token);

  Captured<QPAccessTokenResponse> again;  // a refresh token is good once
  client.provider->authenticationAPI()->getRefreshTokenWithToken(first.response->refresh_token,
                                                                 "refresh_token", again.completion());
  ASSERT_TRUE(again.wait());
  ASSERT_TRUE(again.error);
  EXPECT_EQ(again.error->code(), 1002);
}

TEST(QPAuthenticationAPI, TokenEndpointErrorForms) {
  SandboxClient client(false);
  Captured<QPAccessTokenResponse> wrong;
  client.provider->authenticationAPI()->getAccessTokenWithUserName(client.sandbox.options().userName, "nope",
                                                                   "password", wrong.completion());
  ASSERT_TRUE(wrong.wait());
  ASSERT_TRUE(wrong.error);
  EXPECT_FALSE(wrong.response);
  EXPECT_TRUE(wrong.onMainThread);
  EXPECT_EQ(wrong.error->code(), 1001);
  EXPECT_EQ(wrong.error->description(), "The user name or password is wrong.");
  EXPECT_EQ(wrong.error->domain(), client.sandbox.baseUrl() + "/token");

  Captured<QPAccessTokenResponse> unknownGrant;
  client.provider->authenticationAPI()->getAccessTokenWithUserName("u", "p", "client_credentials",
                                                                   unknownGrant.completion());
  ASSERT_TRUE(unknownGrant.wait());
  ASSERT_TRUE(unknownGrant.error);
  EXPECT_EQ(unknownGrant.error->code(), 400);
  EXPECT_EQ(unknownGrant.error->description(), "unsupported_grant_type");
}

TEST(QPAuthenticationAPI, AValueTheRawFormCannotCarryFailsBeforeSending) {
  SandboxClient client(false);
  const std::string password = client.sandbox.options().password;
  struct Case {
    std::string userName;
    std::string password;
  } cases[] = {
      {"bob&grant_type=client_credentials", password},  // would add a second "grant_type"
      {client.sandbox.options().userName, password + "&x=y"},
      {client.sandbox.options().userName, "a=b"},
  };
  for (const Case& c : cases) {
    Captured<QPAccessTokenResponse> captured;
    client.provider->authenticationAPI()->getAccessTokenWithUserName(c.userName, c.password, "password",
                                                                     captured.completion());
    ASSERT_TRUE(captured.wait());
    ASSERT_TRUE(captured.error) << c.userName;
    EXPECT_EQ(captured.error->domain(), QPErrorDomainClient);
    EXPECT_EQ(captured.error->code(), QPClientErrorUnsendableFormValue);
    EXPECT_EQ(client.sandbox.lastBody("/token"), "") << "nothing may reach the server";
  }
  // "+" and "%" are carried as they are (the server reads them as it likes).
  Captured<QPAccessTokenResponse> plus;
  client.provider->authenticationAPI()->getAccessTokenWithUserName("a+b", "p%20+q", "password",
                                                                   plus.completion());
  ASSERT_TRUE(plus.wait());
  EXPECT_EQ(client.sandbox.lastBody("/token"), "grant_type=password&username=a+b&password=p%20+q&");
}

TEST(QPAuthenticationAPI, NonASCIICharactersAreReplacedNotEncoded) {
  SandboxClient client(false);
  Captured<QPAccessTokenResponse> captured;
  client.provider->authenticationAPI()->getAccessTokenWithUserName("j\xC3\xBCrgen", "p\xE2\x82\xAC",
                                                                   "password", captured.completion());
  ASSERT_TRUE(captured.wait());
  EXPECT_EQ(client.sandbox.lastBody("/token"), "grant_type=password&username=j?rgen&password=p?&");
}

TEST(QPAuthenticationAPI, NilArgumentsAreReportedAndNothingIsSent) {
  SandboxClient client(false);
  std::uint64_t before = client.sandbox.requestCount();
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
  EXPECT_EQ(client.sandbox.requestCount(), before);
}

}  // namespace
}  // namespace brivane
