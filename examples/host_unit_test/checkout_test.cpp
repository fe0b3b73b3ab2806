// A host's unit test of its own checkout code with brivane::QPFakeHttpClient: the SDK builds
// every request as it would for the platform, the fake answers from a queue, and the test looks
// at what was sent. No server and no sockets.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/platform/QPMainQueue.h"
#include "brivane/testing/QPFakeHttpClient.h"

namespace {

// The host's code under test: authorises a payment, then captures it, and reports the outcome.
class Checkout {
 public:
  explicit Checkout(brivane::QPApiProvider& provider) : provider_(provider) {}

  void pay(double amount, std::function<void(std::string outcome)> done) {
    auto request = std::make_shared<brivane::QPAuthorizeRequest>();
    request->presentationAmount = brivane::QPNumber(amount);
    request->presentationCurrCode = "EUR";
    request->carrierNumber = "4111111111111111";
    provider_.paymentAPI()->authorize(
        request, [this, done](std::optional<brivane::QPError> error,
                              std::shared_ptr<brivane::QPAuthorizeResponse> authorized) {
          if (error) return done("declined: " + std::to_string(error->code()));
          provider_.paymentAPI()->capture(
              std::make_shared<brivane::QPCaptureRequest>(), authorized->uniqueReference,
              [done](std::optional<brivane::QPError> error, std::shared_ptr<brivane::QPCaptureResponse>) {
                done(error ? "not captured" : "paid");
              });
        });
  }

 private:
  brivane::QPApiProvider& provider_;
};

class CheckoutTest : public ::testing::Test {
 protected:
  CheckoutTest() {
    brivane::QPApiProviderOption option;
    option.url = "https://api.example.test";
    option.programCode = "SHOP";
    option.partnerReferencePrefix = "SHOP";
    option.httpClient = http;
    provider = std::make_unique<brivane::QPApiProvider>(option);
  }

  // Runs the checkout and the main queue until it reports.
  std::string pay(double amount) {
    std::optional<std::string> outcome;
    Checkout(*provider).pay(amount, [&](std::string text) { outcome = std::move(text); });
    brivane::QPMainQueue::runUntil([&] { return outcome.has_value(); }, std::chrono::seconds(5));
    return outcome.value_or("no outcome");
  }

  std::shared_ptr<brivane::QPFakeHttpClient> http = std::make_shared<brivane::QPFakeHttpClient>();
  std::unique_ptr<brivane::QPApiProvider> provider;
};

TEST_F(CheckoutTest, AuthorisesThenCapturesTheSamePayment) {
  http->respond("PUT", "/payment/authorize", 200, R"({"uniqueReference":"PAY-1","responseCode":"0000"})");
  http->respond("POST", "/payment/PAY-1/capture", 200, R"({"responseCode":"0000"})");
  EXPECT_EQ(pay(12.5), "paid");
  ASSERT_EQ(http->requests().size(), 2u);
  EXPECT_NE(http->requests()[0].body->find(R"("presentationAmount":"12.5")"), std::string::npos);
  EXPECT_EQ(http->requests()[1].url.rfind("https://api.example.test/payment/PAY-1/capture", 0), 0u);
}

TEST_F(CheckoutTest, ADeclineIsReportedAndNothingIsCaptured) {
  http->respond("PUT", "/payment/authorize", 402,
                R"({"responseCode":"6102","responseDescription":"Card declined"})");
  EXPECT_EQ(pay(12.5), "declined: 6102");
  EXPECT_EQ(http->requests().size(), 1u);
}

}  // namespace
