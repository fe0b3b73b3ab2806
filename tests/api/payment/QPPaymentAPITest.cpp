#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "brivane/api/payment/QPPaymentAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::run;
using test::SandboxClient;

constexpr const char* kApprovedCard = "4111111111111111";
constexpr const char* kDeclinedCard = "4000000000000002";

// A fixture that drives payments against the sandbox through the SDK.
class PaymentFlow : public ::testing::Test {
 protected:
  QPPaymentAPI& api() { return *client.provider->paymentAPI(); }

  Captured<QPInitAuthorizeResponse> open(const char* amount = "12.50") {
    auto request = std::make_shared<QPInitAuthorizeRequest>();
    request->presentationAmount = QPNumber::parse(amount);
    request->presentationCurrCode = "EUR";
    request->presentationUsage = "Order 17";
    request->customerFullName = "Dana Demo";
    request->countryCode = "AT";
    request->city = "Wien";
    return run<QPInitAuthorizeResponse>([&](auto done) { api().initAuthorize(request, done); });
  }
  // Opens a payment and lets the shopper finish its page; returns its reference.
  std::string openCompletedByShopper(bool approve = true) {
    auto opened = open();
    EXPECT_FALSE(opened.error);
    if (!opened.response) return "";
    EXPECT_TRUE(client.sandbox.completeAuthorizationAsShopper(*opened.response->authorizationToken, approve));
    token = *opened.response->authorizationToken;
    return *opened.response->uniqueReference;
  }
  Captured<QPCompleteAuthorizeResponse> complete(const std::string& reference,
                                                 std::optional<std::string> with) {
    auto request = std::make_shared<QPCompleteAuthorizeRequest>();
    request->authorizationToken = std::move(with);
    return run<QPCompleteAuthorizeResponse>(
        [&](auto done) { api().completeAuthorize(request, reference, done); });
  }
  Captured<QPLmCompleteAuthorizeResponse> lmComplete(const std::string& reference) {
    return run<QPLmCompleteAuthorizeResponse>([&](auto done) {
      api().lmCompleteAuthorize(std::make_shared<QPLmCompleteAuthorizeRequest>(), reference, done);
    });
  }
  Captured<QPCaptureResponse> capture(const std::string& reference, const char* amount = nullptr,
                                      const char* currency = nullptr) {
    auto request = std::make_shared<QPCaptureRequest>();
    if (amount != nullptr) request->modifiedAmount = QPNumber::parse(amount);
    if (currency != nullptr) request->modifiedAmountCurrCode = currency;
    return run<QPCaptureResponse>([&](auto done) { api().capture(request, reference, done); });
  }
  Captured<QPCancelResponse> cancel(const std::string& reference) {
    return run<QPCancelResponse>(
        [&](auto done) { api().cancel(std::make_shared<QPCancelRequest>(), reference, done); });
  }
  Captured<QPAuthorizeResponse> authorize(std::optional<std::string> card, const char* amount = "30") {
    auto request = std::make_shared<QPAuthorizeRequest>();
    request->presentationAmount = QPNumber::parse(amount);
    request->presentationCurrCode = "EUR";
    request->paymentOptionCode = "VISA";
    request->carrierNumber = std::move(card);
    request->expiryMonth = QPNumber(12);
    request->expiryYear = QPNumber(2030);
    return run<QPAuthorizeResponse>([&](auto done) { api().authorize(request, done); });
  }
  std::string authorized() {
    auto answer = authorize(kApprovedCard);
    EXPECT_FALSE(answer.error);
    return answer.response ? answer.response->uniqueReference.value_or("") : "";
  }

  SandboxClient client;
  std::string token;
};

TEST_F(PaymentFlow, TwoStepPaymentFromOpeningToCapture) {
  auto opened = open();
  ASSERT_FALSE(opened.error);
  const auto& init = *opened.response;
  ASSERT_TRUE(init.uniqueReference && init.authorizationToken);
  EXPECT_EQ(init.statusCode, "INITIATED");
  EXPECT_EQ(init.presentationAmount, QPNumber(12.5));
  EXPECT_EQ(init.programAccno, "9000000001");
  EXPECT_EQ(init.accno, "1000000001");  // the caller's account

  // Not before the shopper has finished the page.
  EXPECT_EQ(complete(*init.uniqueReference, init.authorizationToken).error->code(), 6109);
  ASSERT_TRUE(client.sandbox.completeAuthorizationAsShopper(*init.authorizationToken));
  auto completed = complete(*init.uniqueReference, init.authorizationToken);
  ASSERT_FALSE(completed.error) << completed.error->toString();
  EXPECT_EQ(completed.response->statusCode, "AUTHORIZED");
  EXPECT_EQ(completed.response->processedAmount, QPNumber(12.5));
  EXPECT_EQ(completed.response->processedCurrCode, "EUR");

  auto information = run<QPGetPaymentInformationResponse>([&](auto done) {
    api().getPaymentInformation(std::make_shared<QPGetPaymentInformationRequest>(), init.uniqueReference,
                                done);
  });
  ASSERT_FALSE(information.error);
  const auto& info = *information.response;
  EXPECT_EQ(info.uniqueReference, init.uniqueReference);
  EXPECT_EQ(info.presentationAmount, QPNumber(12.5));
  EXPECT_EQ(info.presentationUsage, "Order 17");
  EXPECT_EQ(info.customerFullName, "Dana Demo");
  EXPECT_EQ(info.countryCode, "AT");
  EXPECT_EQ(info.country, "Austria");
  EXPECT_EQ(info.initiatorName, "Brivane Sandbox Shop");

  const std::int64_t programBefore = client.sandbox.balance("9000000001");
  auto captured = capture(*init.uniqueReference, "10", "EUR");  // lower than authorized
  ASSERT_FALSE(captured.error) << captured.error->toString();
  EXPECT_EQ(client.sandbox.balance("9000000001") - programBefore, 1000);  // cents
  EXPECT_EQ(captured.response->statusCode, "CAPTURED");
  EXPECT_EQ(captured.response->processedAmount, QPNumber(10));
  EXPECT_EQ(captured.response->initiatorAccno, "9000000001");
}

TEST_F(PaymentFlow, OneStepPaymentsAndLmCompletion) {
  auto approved = authorize(kApprovedCard);
  ASSERT_FALSE(approved.error);
  EXPECT_EQ(approved.response->statusCode, "AUTHORIZED");
  EXPECT_EQ(approved.response->processedAmount, QPNumber(30));
  auto cancelled = cancel(*approved.response->uniqueReference);
  ASSERT_FALSE(cancelled.error);
  EXPECT_EQ(cancelled.response->statusCode, "CANCELLED");

  const std::string reference = openCompletedByShopper();
  auto lm = lmComplete(reference);
  ASSERT_FALSE(lm.error) << lm.error->toString();
  EXPECT_EQ(lm.response->statusCode, "AUTHORIZED");
  EXPECT_EQ(lm.response->merchantAccno, "9000000001");
  EXPECT_FALSE(capture(reference).error);  // the whole amount

  auto request = std::make_shared<QPPayToAccountRequest>();
  request->accno = "1000000002";
  request->presentationAmount = QPNumber(25);
  request->presentationCurrCode = "EUR";
  request->carrierNumber = kApprovedCard;
  const std::int64_t before = client.sandbox.balance("1000000002");
  auto paid = run<QPPayToAccountResponse>([&](auto done) { api().payToAccount(request, done); });
  EXPECT_EQ(client.sandbox.balance("1000000002") - before, 2500);
  ASSERT_FALSE(paid.error) << paid.error->toString();
  EXPECT_EQ(paid.response->statusCode, "PAID");
  EXPECT_EQ(paid.response->accno, "1000000002");
  EXPECT_EQ(paid.response->processedAmount, QPNumber(25));
}

// Every refused transition answers in the platform's error form with its own code.
TEST_F(PaymentFlow, RefusedTransitions) {
  // Authorizes a payment, does `first` to it, then `second`: the error of the second.
  auto afterAuthorizing = [&](auto first, auto second) {
    const std::string reference = authorized();
    first(reference);
    return second(reference).error;
  };
  auto capturing = [&](const std::string& reference) { return capture(reference); };
  auto cancelling = [&](const std::string& reference) { return cancel(reference); };
  struct Case {
    const char* name;
    std::function<std::optional<QPError>()> attempt;
    std::int64_t code;
  };
  const Case cases[] = {
      {"complete an unknown payment", [&] { return complete("PAYnothing", "t").error; }, 6101},
      {"capture an unknown payment", [&] { return capture("PAYnothing").error; }, 6101},
      {"complete without token",
       [&] { return complete(*open().response->uniqueReference, std::nullopt).error; }, 6102},
      {"complete with another payment's token",
       [&] {
         openCompletedByShopper();
         std::string other = token;
         return complete(openCompletedByShopper(), other).error;
       },
       6108},
      {"lm-complete before the shopper", [&] { return lmComplete(*open().response->uniqueReference).error; },
       6109},
      {"complete after the shopper declined",
       [&] {
         std::string reference = openCompletedByShopper(false);
         return complete(reference, token).error;
       },
       6110},
      {"complete twice",
       [&] {
         std::string reference = openCompletedByShopper();
         complete(reference, token);
         return complete(reference, token).error;
       },
       6111},
      {"capture an initiated payment", [&] { return capture(*open().response->uniqueReference).error; },
       6112},
      {"capture twice", [&] { return afterAuthorizing(capturing, capturing); }, 6112},
      {"capture a cancelled payment", [&] { return afterAuthorizing(cancelling, capturing); }, 6112},
      {"capture more than authorized", [&] { return capture(authorized(), "30.01").error; }, 6113},
      {"capture a bad amount", [&] { return capture(authorized(), "-1").error; }, 6103},
      {"capture in another currency", [&] { return capture(authorized(), "1", "USD").error; }, 6114},
      {"cancel after capture", [&] { return afterAuthorizing(capturing, cancelling); }, 6115},
      {"cancel twice", [&] { return afterAuthorizing(cancelling, cancelling); }, 6116},
      {"declined card", [&] { return authorize(kDeclinedCard).error; }, 6105},
      {"unknown card", [&] { return authorize("5555555555554444").error; }, 6106},
      {"no card", [&] { return authorize(std::nullopt).error; }, 6102},
      {"amount with three decimals", [&] { return authorize(kApprovedCard, "1.005").error; }, 6103},
      {"open for an unknown account",
       [&] {
         auto request = std::make_shared<QPInitAuthorizeRequest>();
         request->accno = "1999999999";
         request->presentationAmount = QPNumber(1);
         request->presentationCurrCode = "EUR";
         return run<QPInitAuthorizeResponse>([&](auto done) { api().initAuthorize(request, done); }).error;
       },
       6104},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::optional<QPError> error = c.attempt();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), c.code) << error->toString();
    EXPECT_FALSE(error->description().value_or("").empty());
  }
}

TEST_F(PaymentFlow, ReferencesArriveAsTheyWereGiven) {
  // An empty reference leaves an empty segment; a blank is escaped and arrives as it was (what a
  // "/" or a dot segment becomes is checked on the wire, with the transport).
  auto empty = cancel("");
  ASSERT_TRUE(empty.error);
  EXPECT_EQ(empty.error->description(), "Unknown payment ''.");
  auto blank = cancel("a b");
  ASSERT_TRUE(blank.error);
  EXPECT_EQ(blank.error->description(), "Unknown payment 'a b'.");
}

TEST(QPPaymentResponses, FillFromCannedAnswers) {
  QPCaptureResponse capture;
  capture.initWithJSONObject(boost::json::parse(
      R"({"uniqueReference": "P1", "modifiedAmount": "7.5", "processedAmount": 7.5, "statusCode": 200,
          "custom1": null, "unknown": [1], "responseCode": "0000", "processedCurrCode": {"x": 1}})"));
  EXPECT_EQ(capture.uniqueReference, "P1");
  EXPECT_EQ(capture.modifiedAmount, QPNumber(7.5));  // a decimal text for a number
  EXPECT_EQ(capture.processedAmount, QPNumber(7.5));
  EXPECT_EQ(capture.statusCode, "200");     // a number for a text keeps its JSON text
  EXPECT_FALSE(capture.custom1);            // null skipped
  EXPECT_FALSE(capture.processedCurrCode);  // an object for a text is skipped
  EXPECT_EQ(capture.responseCode, "0000");  // later keys still filled

  QPGetPaymentInformationResponse information;
  information.initWithJSONObject(boost::json::parse(
      R"({"country": "Austria", "countryCode": "AT", "presentationAmount": "12abc", "state": "Wien"})"));
  EXPECT_EQ(information.country, "Austria");
  EXPECT_EQ(information.countryCode, "AT");
  EXPECT_EQ(information.state, "Wien");
  EXPECT_FALSE(information.presentationAmount);

  QPLmCompleteAuthorizeResponse lm;
  lm.initWithJSONObject(boost::json::parse(R"(["not", "an", "object"])"));
  EXPECT_FALSE(lm.uniqueReference);
  EXPECT_FALSE(lm.responseCode);
}

}  // namespace
}  // namespace brivane
