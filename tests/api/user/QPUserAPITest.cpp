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

using test::run;
using test::SandboxClient;
using ::testing::ElementsAreArray;
using ::testing::MatchesRegex;

constexpr const char* kDemo = "demo@brivane.test";

class UserAPI : public ::testing::Test {
 protected:
  QPUserAPI& api() { return *client.provider->userAPI(); }

  // Runs one of the operations for a user that answer QPResponseBase; its error.
  template <class Request, class... Args>
  std::optional<QPError> call(void (QPUserAPI::*operation)(std::shared_ptr<const Request>,
                                                           std::optional<std::string>,
                                                           QPCompletion<QPResponseBase>) const,
                              const std::string& userId, Args... args) {
    auto request = std::make_shared<Request>(args...);
    return run<QPResponseBase>([&](auto done) { (api().*operation)(request, userId, done); }).error;
  }
  std::optional<QPError> createSecondary(const std::string& address, const std::string& userId = kDemo) {
    return call(&QPUserAPI::createSecondaryEmail, userId, address);
  }
  std::optional<QPError> editSecondary(const std::string& from, const std::string& to) {
    return call(&QPUserAPI::editSecondaryEmail, kDemo, from, to);
  }
  std::optional<QPError> deleteSecondary(const std::string& address) {
    return call(&QPUserAPI::deleteSecondaryEmail, kDemo, address);
  }
  std::optional<QPError> setMain(const std::string& address) {
    return call(&QPUserAPI::setMainEmail, kDemo, address);
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
    return call(&QPUserAPI::changePassword, kDemo, from, to);
  }

  SandboxClient client;
};

// Each operation's method, path and parameters, against the fake HTTP client.
TEST(QPUserAPIWire, EachOperationsMethodPathAndParameters) {
  using Done = QPCompletion<QPResponseBase>;
  struct Case {
    const char* method;
    const char* path;  // after /v1/user
    std::function<void(const QPUserAPI&, Done)> start;
    const char* sent;  // the parameters besides the identifying ones
  } cases[] = {
      {"POST", "/demo@brivane.test/sendPasswordResetCode",
       [](auto& api, Done done) {
         api.sendPasswordResetCode(std::make_shared<QPSendPasswordResetCodeRequest>(), kDemo, done);
       },
       "{}"},
      {"POST", "/demo@brivane.test/changePassword",
       [](auto& api, Done done) {
         api.changePassword(std::make_shared<QPChangePasswordRequest>("Demo-Pass-1", "Demo-Pass-9"), kDemo,
                            done);
       },
       R"({"oldPassword":"Demo-Pass-1","newPassword":"Demo-Pass-9"})"},
      {"GET", "/demo@brivane.test/checkUniqueness",
       [](auto& api, Done done) {
         api.checkUserUniqueness(std::make_shared<QPCheckUserUniquenessRequest>(), kDemo, done);
       },
       "{}"},
      {"POST", "/validatePassword",
       [](auto& api, Done done) {
         api.validatePassword(std::make_shared<QPValidatePasswordRequest>("Good-Pass-1"), done);
       },
       R"({"password":"Good-Pass-1"})"},
      {"PUT", "/demo@brivane.test/secondaryEmail",
       [](auto& api, Done done) {
         api.createSecondaryEmail(std::make_shared<QPCreateSecondaryEmailRequest>("a@example.test"), kDemo,
                                  done);
       },
       R"({"emailAddress":"a@example.test"})"},
      {"GET", "/demo@brivane.test/secondaryEmail",
       [](auto& api, Done done) {
         api.getSecondaryEmails(std::make_shared<QPGetSecondaryEmailsRequest>(), kDemo, done);
       },
       "{}"},
      {"POST", "/demo@brivane.test/secondaryEmail",
       [](auto& api, Done done) {
         api.editSecondaryEmail(
             std::make_shared<QPEditSecondaryEmailRequest>("a@example.test", "b@example.test"), kDemo, done);
       },
       R"({"oldEmailAddress":"a@example.test","newEmailAddress":"b@example.test"})"},
      {"POST", "/demo@brivane.test/setMainEmail",
       [](auto& api, Done done) {
         api.setMainEmail(std::make_shared<QPSetMainEmailRequest>("b@example.test"), kDemo, done);
       },
       R"({"emailAddress":"b@example.test"})"},
      {"DELETE", "/demo@brivane.test/secondaryEmail",  // a DELETE with a body
       [](auto& api, Done done) {
         api.deleteSecondaryEmail(std::make_shared<QPDeleteSecondaryEmailRequest>("b@example.test"), kDemo,
                                  done);
       },
       R"({"emailAddress":"b@example.test"})"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.method + std::string(" ") + c.path);
    test::FakeClient client;
    client.http->respond(c.method, std::string("/user") + c.path, 200,
                         R"({"responseCode":"0000","responseDescription":"Done"})");
    auto captured = test::run<QPResponseBase>([&](Done done) { c.start(*client.provider->userAPI(), done); });
    ASSERT_EQ(client.http->requests().size(), 1u);
    const QPRecordedRequest sent = client.http->requests().front();
    EXPECT_EQ(sent.method, c.method);
    EXPECT_EQ(sent.url.substr(0, sent.url.find('?')), std::string("https://api.test/v1/user") + c.path);
    EXPECT_EQ(test::sentFields(sent), c.sent);
    EXPECT_EQ(sent.body.has_value(), c.method != std::string("GET"));
    ASSERT_FALSE(captured.error) << captured.error->toString();
    EXPECT_EQ(captured.response->responseDescription, "Done");
  }
}

TEST_F(UserAPI, UserIdsArriveAsTheyWereGiven) {
  auto blank = call(&QPUserAPI::changePassword, "a b", "x", "y");  // escaped on the way, the same on arrival
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
  for (const auto& [password, valid] : cases) {
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
      {"missing address", [&] { return call(&QPUserAPI::createSecondaryEmail, kDemo); }, 2104},
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
