#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "api/core/QPFields.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/user/QPUserAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::SandboxClient;
using ::testing::ElementsAreArray;
using ::testing::MatchesRegex;

constexpr const char* kDemo = "demo@brivane.test";

template <class Response, class Start>
Captured<Response> run(Start start) {
  Captured<Response> captured;
  start(captured.completion());
  EXPECT_TRUE(captured.wait());
  EXPECT_EQ(captured.calls, 1);
  return captured;
}

std::vector<std::string> bodyKeys(const std::string& body) {
  std::vector<std::string> keys;
  const boost::json::value parsed = boost::json::parse(body);
  for (const auto& [key, value] : parsed.as_object()) keys.emplace_back(key);
  return keys;
}

class UserAPI : public ::testing::Test {
 protected:
  QPUserAPI& api() { return *client.provider->userAPI(); }

  std::optional<QPError> createSecondary(const std::string& address, const std::string& userId = kDemo) {
    auto request = std::make_shared<QPCreateSecondaryEmailRequest>(address);
    return run<QPResponseBase>([&](auto done) { api().createSecondaryEmail(request, userId, done); }).error;
  }
  std::optional<QPError> editSecondary(const std::string& from, const std::string& to) {
    auto request = std::make_shared<QPEditSecondaryEmailRequest>(from, to);
    return run<QPResponseBase>([&](auto done) { api().editSecondaryEmail(request, kDemo, done); }).error;
  }
  std::optional<QPError> deleteSecondary(const std::string& address) {
    auto request = std::make_shared<QPDeleteSecondaryEmailRequest>(address);
    return run<QPResponseBase>([&](auto done) { api().deleteSecondaryEmail(request, kDemo, done); }).error;
  }
  std::optional<QPError> setMain(const std::string& address) {
    auto request = std::make_shared<QPSetMainEmailRequest>(address);
    return run<QPResponseBase>([&](auto done) { api().setMainEmail(request, kDemo, done); }).error;
  }
  std::vector<std::pair<std::string, bool>> secondaries() {
    auto answer = run<QPGetSecondaryEmailsResponse>([&](auto done) {
      api().getSecondaryEmails(std::make_shared<QPGetSecondaryEmailsRequest>(), kDemo, done);
    });
    std::vector<std::pair<std::string, bool>> list;
    EXPECT_FALSE(answer.error);
    if (answer.response && answer.response->secondaryEmails)
      for (const auto& email : *answer.response->secondaryEmails)
        list.emplace_back(email->emailAddress.value_or(""), email->isEmailVerified());
    return list;
  }
  std::optional<QPError> login(const std::string& password) {
    return run<QPAccessTokenResponse>([&](auto done) {
             client.provider->authenticationAPI()->getAccessTokenWithUserName(kDemo, password, "password",
                                                                              done);
           })
        .error;
  }
  std::optional<QPError> changePassword(const std::string& from, const std::string& to) {
    auto request = std::make_shared<QPChangePasswordRequest>(from, to);
    return run<QPResponseBase>([&](auto done) { api().changePassword(request, kDemo, done); }).error;
  }

  SandboxClient client;
};

// Each operation: its method and path (the sandbox routes by both) and the keys it sends.
TEST_F(UserAPI, WireOfEachOperation) {
  const std::string user = "/user/demo@brivane.test";
  struct Case {
    const char* name;
    std::function<std::optional<QPError>()> call;
    std::string path;
    std::vector<std::string> bodyKeys;  // empty: a GET with query items and no body
  };
  auto base = [](std::vector<std::string> own) {
    own.insert(own.begin(), {"localDate", "localTime"});
    own.insert(own.end(), {"partnerReference", "programCode"});
    return own;
  };
  const Case cases[] = {
      {"sendPasswordResetCode",
       [&] {
         return run<QPSendPasswordResetCodeResponse>([&](auto done) {
                  api().sendPasswordResetCode(std::make_shared<QPSendPasswordResetCodeRequest>(), kDemo,
                                              done);
                })
             .error;
       },
       user + "/sendPasswordResetCode", base({})},
      {"changePassword", [&] { return changePassword("Demo-Pass-1", "Demo-Pass-9"); },
       user + "/changePassword", base({"oldPassword", "newPassword"})},
      {"checkUserUniqueness",
       [&] {
         return run<QPCheckUserUniquenessResponse>([&](auto done) {
                  api().checkUserUniqueness(std::make_shared<QPCheckUserUniquenessRequest>(), kDemo, done);
                })
             .error;
       },
       user + "/checkUniqueness",
       {}},
      {"validatePassword",
       [&] {
         return run<QPResponseBase>([&](auto done) {
                  api().validatePassword(std::make_shared<QPValidatePasswordRequest>("Good-Pass-1"), done);
                })
             .error;
       },
       "/user/validatePassword", base({"password"})},
      {"createSecondaryEmail (PUT)", [&] { return createSecondary("a@example.test"); },
       user + "/secondaryEmail", base({"emailAddress"})},
      {"getSecondaryEmails (GET)",
       [&] {
         secondaries();
         return std::optional<QPError>();
       },
       user + "/secondaryEmail",
       {}},
      {"editSecondaryEmail (POST)", [&] { return editSecondary("a@example.test", "b@example.test"); },
       user + "/secondaryEmail", base({"oldEmailAddress", "newEmailAddress"})},
      {"setMainEmail", [&] { return setMain("b@example.test"); }, user + "/setMainEmail",
       base({"emailAddress"})},
      {"deleteSecondaryEmail (DELETE with a body)", [&] { return deleteSecondary("demo@brivane.test"); },
       user + "/secondaryEmail", base({"emailAddress"})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::optional<QPError> error = c.call();
    ASSERT_FALSE(error) << error->toString();
    if (c.bodyKeys.empty()) {
      EXPECT_EQ(client.sandbox.lastBody(c.path), "");
      EXPECT_THAT(client.sandbox.lastQuery(c.path),
                  MatchesRegex("localDate=[0-9-]+&localTime=[0-9]{6}&partnerReference=TEST[0-9A-Za-z]{10}&"
                               "programCode=BRIVANE"));
    } else {
      EXPECT_THAT(bodyKeys(client.sandbox.lastBody(c.path)), ElementsAreArray(c.bodyKeys));
      EXPECT_EQ(client.sandbox.lastQuery(c.path), "");
    }
  }
  const boost::json::value change = boost::json::parse(client.sandbox.lastBody(user + "/changePassword"));
  EXPECT_EQ(change.at("oldPassword"), "Demo-Pass-1");
  EXPECT_EQ(change.at("newPassword"), "Demo-Pass-9");
}

TEST_F(UserAPI, NilArgumentsAreClientErrorsAndNothingIsSent) {
  const std::uint64_t before = client.sandbox.requestCount();
  const std::optional<QPError> errors[] = {
      run<QPResponseBase>([&](auto done) { api().changePassword(nullptr, kDemo, done); }).error,
      run<QPResponseBase>([&](auto done) {
        api().changePassword(std::make_shared<QPChangePasswordRequest>("a", "b"), std::nullopt, done);
      }).error,
      run<QPResponseBase>([&](auto done) { api().validatePassword(nullptr, done); }).error,
      run<QPGetSecondaryEmailsResponse>([&](auto done) {
        api().getSecondaryEmails(std::make_shared<QPGetSecondaryEmailsRequest>(), std::nullopt, done);
      }).error,
  };
  for (const auto& error : errors) {
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), "brivane.client");
    EXPECT_EQ(error->code(), 1);
  }
  EXPECT_EQ(client.sandbox.requestCount(), before);
}

TEST_F(UserAPI, UserIdsArriveAsTheyWereGiven) {
  auto change = [&](const std::string& userId) {
    auto request = std::make_shared<QPChangePasswordRequest>("x", "y");
    return run<QPResponseBase>([&](auto done) { api().changePassword(request, userId, done); }).error;
  };
  auto blank = change("a b");  // escaped on the way, the same text on arrival
  ASSERT_TRUE(blank);
  EXPECT_EQ(blank->description(), "Unknown user 'a b'.");
}

TEST_F(UserAPI, PasswordResetCodeChangesThePasswordTheTokenEndpointNeeds) {
  ASSERT_FALSE(run<QPSendPasswordResetCodeResponse>([&](auto done) {
                 api().sendPasswordResetCode(std::make_shared<QPSendPasswordResetCodeRequest>(), kDemo, done);
               }).error);
  httplib::Client mail(client.sandbox.baseUrl());
  auto outbox = mail.Get("/sandbox/outbox");
  ASSERT_TRUE(outbox);
  const boost::json::value messages = boost::json::parse(outbox->body).at("messages");
  ASSERT_EQ(messages.as_array().size(), 1u);
  const boost::json::value& message = messages.as_array().front();
  EXPECT_EQ(message.at("to"), kDemo);
  EXPECT_EQ(message.at("kind"), "passwordReset");
  const std::string code(message.at("code").as_string());
  EXPECT_THAT(code, MatchesRegex("[0-9]{6}"));

  EXPECT_EQ(changePassword("wrong-code", "Fresh-Pass-3")->code(), 2102);
  EXPECT_EQ(changePassword(code, "weak")->code(), 2103);
  ASSERT_FALSE(changePassword(code, "Fresh-Pass-3"));
  EXPECT_EQ(changePassword(code, "Fresh-Pass-4")->code(), 2102);  // a code is good once
  ASSERT_TRUE(login("Demo-Pass-1"));
  EXPECT_EQ(login("Demo-Pass-1")->code(), 1001);
  EXPECT_FALSE(login("Fresh-Pass-3"));
  ASSERT_FALSE(changePassword("Fresh-Pass-3", "Again-Pass-5"));  // the current password also serves
  EXPECT_FALSE(login("Again-Pass-5"));
}

TEST_F(UserAPI, PasswordPolicy) {
  const std::pair<const char*, bool> cases[] = {
      {"Good-Pass-1", true}, {"Abcdefg1", true},  {"Abcdef1", false},  // 7 characters
      {"abcdefg1", false},   {"ABCDEFG1", false}, {"Abcdefgh", false}, {"Abcd efg1", false}, {"", false},
  };
  for (const auto& c : cases) {
    const char* password = c.first;
    const bool valid = c.second;
    auto error = run<QPResponseBase>([&](auto done) {
                   api().validatePassword(std::make_shared<QPValidatePasswordRequest>(password), done);
                 }).error;
    EXPECT_EQ(!error, valid) << password;
    if (error) {
      EXPECT_EQ(error->code(), *password ? 2103 : 2104) << password;
    }
  }
}

TEST_F(UserAPI, UniquenessAndSecondaryAddresses) {
  auto found = [&](const std::string& userId) {
    auto answer = run<QPCheckUserUniquenessResponse>([&](auto done) {
      api().checkUserUniqueness(std::make_shared<QPCheckUserUniquenessRequest>(), userId, done);
    });
    return answer.response && answer.response->found();
  };
  EXPECT_TRUE(found(kDemo));
  EXPECT_TRUE(found("second@brivane.test"));
  EXPECT_FALSE(found("new@example.test"));

  ASSERT_FALSE(createSecondary("new@example.test"));
  EXPECT_TRUE(found("new@example.test"));
  EXPECT_THAT(secondaries(), ElementsAreArray({std::pair<std::string, bool>("new@example.test", false)}));

  struct Refusal {
    const char* name;
    std::function<std::optional<QPError>()> attempt;
    std::int64_t code;
  };
  const Refusal refusals[] = {
      {"duplicate", [&] { return createSecondary("new@example.test"); }, 2107},
      {"another user's address", [&] { return createSecondary("second@brivane.test"); }, 2107},
      {"not an address", [&] { return createSecondary("no-at-sign"); }, 2106},
      {"edit an unknown address", [&] { return editSecondary("none@example.test", "x@example.test"); }, 2108},
      {"edit onto a duplicate", [&] { return editSecondary("new@example.test", kDemo); }, 2107},
      {"delete an unknown address", [&] { return deleteSecondary("none@example.test"); }, 2108},
      {"main address not one of the user's", [&] { return setMain("none@example.test"); }, 2108},
      {"another user's list", [&] { return createSecondary("z@example.test", "second@brivane.test"); }, 2105},
      {"missing address",
       [&] {
         return run<QPResponseBase>([&](auto done) {
                  api().createSecondaryEmail(std::make_shared<QPCreateSecondaryEmailRequest>(), kDemo, done);
                })
             .error;
       },
       2104},
  };
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.name);
    std::optional<QPError> error = refusal.attempt();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), refusal.code);
    EXPECT_FALSE(error->description().value_or("").empty());
  }

  // The new main address swaps places with the old one, which stays verified.
  ASSERT_FALSE(setMain("new@example.test"));
  EXPECT_THAT(secondaries(), ElementsAreArray({std::pair<std::string, bool>(kDemo, true)}));
  ASSERT_FALSE(editSecondary(kDemo, "old@example.test"));
  EXPECT_THAT(secondaries(), ElementsAreArray({std::pair<std::string, bool>("old@example.test", false)}));
  ASSERT_FALSE(deleteSecondary("old@example.test"));
  EXPECT_TRUE(secondaries().empty());
}

TEST(QPUserResponses, BoxedTruthValuesAndSecondaryEmailModels) {
  struct FoundCase {
    const char* json;
    std::optional<QPNumber> raw;
    bool found;
  };
  const FoundCase cases[] = {
      {R"({"found": true})", QPNumber::boolean(true), true},
      {R"({"found": false})", QPNumber::boolean(false), false},
      {R"({})", std::nullopt, false},
      {R"({"found": null})", std::nullopt, false},
      {R"({"found": 0})", QPNumber(0), false},
      {R"({"found": "true"})", QPNumber::boolean(true), true},
      {R"({"found": "yes"})", std::nullopt, false},  // not a truth value: skipped
  };
  for (const FoundCase& c : cases) {
    QPCheckUserUniquenessResponse response;
    response.initWithJSONObject(boost::json::parse(c.json));
    EXPECT_EQ(response.getIsFound(), c.raw) << c.json;
    EXPECT_EQ(response.found(), c.found) << c.json;
  }

  auto capture = std::make_unique<test::LogCapture>();
  QPGetSecondaryEmailsResponse emails;
  emails.initWithJSONObject(boost::json::parse(R"({"secondaryEmails": [
      {"emailAddress": "a@example.test", "isEmailVerified": true},
      {"emailAddress": "b@example.test"},
      {"emailAddress": "c@example.test", "other": 1, "isEmailVerified": true},
      "not an object"], "responseCode": "0000"})"));
  const std::vector<std::string> log = capture->lines();
  capture.reset();
  ASSERT_TRUE(emails.secondaryEmails);
  const auto& list = *emails.secondaryEmails;
  ASSERT_EQ(list.size(), 4u);
  EXPECT_TRUE(list[0]->isEmailVerified());
  EXPECT_EQ(list[1]->emailAddress, "b@example.test");
  EXPECT_FALSE(list[1]->isEmailVerified());
  EXPECT_FALSE(list[1]->getIsEmailVerified());
  EXPECT_EQ(list[2]->emailAddress, "c@example.test");
  EXPECT_FALSE(list[2]->getIsEmailVerified());  // stopped at the unknown key before it
  EXPECT_FALSE(list[3]->emailAddress);
  ASSERT_EQ(log.size(), 1u);  // the two failing elements, in one line with a count
  EXPECT_NE(log[0].find("and 1 more"), std::string::npos) << log[0];
  EXPECT_EQ(emails.responseCode, "0000");

  QPGetSecondaryEmailsResponse notAList;
  notAList.initWithJSONObject(boost::json::parse(R"({"secondaryEmails": "a@example.test"})"));
  EXPECT_FALSE(notAList.secondaryEmails);
}

}  // namespace
}  // namespace brivane
