// The payment family's request encoding and response filling against the fake HTTP client: what
// each operation puts on the wire needs no socket to be seen.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/testing/QPFakeHttpClient.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

template <class Request>
std::shared_ptr<Request> oneStep() {
  auto request = std::make_shared<Request>();
  request->presentationAmount = QPNumber(2);
  request->presentationCurrCode = "EUR";
  request->carrierNumber = "4111111111111111";
  request->clientIpAddress = "203.0.113.9";
  return request;
}

TEST(QPPaymentEncoding, EachOperationsMethodPathParametersAndFilledAnswer) {
  using Start = std::function<void(const QPPaymentAPI&, QPCompletion<QPResponseBase>)>;
  const std::string oneStepSent =
      R"("presentationAmount":"2","presentationCurrCode":"EUR","carrierNumber":"4111111111111111",)"
      R"("useDifferentBillingAddress":"false","clientIpAddress":"203.0.113.9"})";
  struct Case {
    const char* method;
    const char* path;
    Start start;
    std::string sent;  // the parameters besides the identifying ones
    const char* ipHeader;
  } cases[] = {
      {"PUT", "/payment/initAuthorize",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPInitAuthorizeRequest>();
         request->presentationAmount = QPNumber(1);
         request->presentationCurrCode = "EUR";
         request->ipAddr = "203.0.113.7";  // a header, never a body key
         EXPECT_TRUE(request->setField("mandateSignedDate", "2024-03-03T09:05:07", nullptr));
         api.initAuthorize(request, done);
       },
       R"({"presentationAmount":"1","presentationCurrCode":"EUR","useDifferentBillingAddress":"false",)"
       R"("mandateSignedDate":"2024-03-03","mandateSignedTime":"090507"})",
       "203.0.113.7"},
      {"PUT", "/payment/authorize",
       [](const QPPaymentAPI& api, auto done) { api.authorize(oneStep<QPAuthorizeRequest>(), done); },
       R"({"savePaymentDetails":"false",)" + oneStepSent, nullptr},
      {"PUT", "/payment/payToAccount",
       [](const QPPaymentAPI& api, auto done) {
         auto request = oneStep<QPPayToAccountRequest>();
         request->accno = "1000000002";
         api.payToAccount(request, done);
       },
       R"({"accno":"1000000002","savePaymentDetails":"false",)" + oneStepSent, nullptr},
      {"POST", "/payment/P%2F1/completeAuthorize",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPCompleteAuthorizeRequest>();
         request->authorizationToken = "tok";
         request->useDifferentBillingAddress = true;
         request->addr3 = "Stiege 2";
         request->criteria = boost::json::object{{"k", "v"}};
         api.completeAuthorize(request, "P/1", done);
       },
       R"({"authorizationToken":"tok","useDifferentBillingAddress":"true","addr3":"Stiege 2",)"
       R"("criteria":[{"name":"k","value":"v"}]})",
       nullptr},
      {"POST", "/payment/P%2F1/capture",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPCaptureRequest>();
         request->modifiedAmount = QPNumber(0.5);
         api.capture(request, "P/1", done);
       },
       R"({"modifiedAmount":"0.5"})", nullptr},
      {"POST", "/payment/P%2F1/cancel",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPCancelRequest>();
         request->custom2 = "c2";
         api.cancel(request, "P/1", done);
       },
       R"({"custom2":"c2"})", nullptr},
      {"POST", "/payment/P%2F1/lm-completeAuthorize",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPLmCompleteAuthorizeRequest>();
         request->depositReference = "DEP-1";  // held, not sent
         request->clientIpAddress = "203.0.113.8";
         api.lmCompleteAuthorize(request, "P/1", done);
       },
       R"({"useDifferentBillingAddress":"false","clientIpAddress":"203.0.113.8"})", nullptr},
      {"GET", "/payment/P%2F1/information",
       [](const QPPaymentAPI& api, auto done) {
         api.getPaymentInformation(std::make_shared<QPGetPaymentInformationRequest>(), "P/1", done);
       },
       "{}", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    test::FakeClient client;
    client.http->respond(c.method, c.path, 200, R"({"responseCode":"0000","responseDescription":"Done"})");
    auto captured =
        test::run<QPResponseBase>([&](auto done) { c.start(*client.provider->paymentAPI(), done); });
    ASSERT_EQ(client.http->requests().size(), 1u);
    const QPRecordedRequest sent = client.http->requests().front();
    EXPECT_EQ(sent.method, c.method);
    EXPECT_EQ(sent.url.substr(0, sent.url.find('?')), std::string("https://api.test/v1") + c.path);
    EXPECT_EQ(test::sentFields(sent), c.sent);
    EXPECT_EQ(sent.body.has_value(), c.method != std::string("GET"));
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    EXPECT_EQ(sent.header("X-Ip-Address"),
              c.ipHeader ? std::optional<std::string>(c.ipHeader) : std::nullopt);
    EXPECT_EQ(captured.calls, 1);
    ASSERT_FALSE(captured.error) << captured.error->toString();
    EXPECT_EQ(captured.response->responseDescription, "Done");
  }
}

// Nothing queued: the fake answers 404 with an empty body, which is no JSON.
TEST(QPPaymentEncoding, AnUnqueuedRequestGetsA404) {
  test::FakeClient client;
  auto captured = test::run<QPGetPaymentInformationResponse>([&](auto done) {
    client.provider->paymentAPI()->getPaymentInformation(std::make_shared<QPGetPaymentInformationRequest>(),
                                                         "P-1", done);
  });
  ASSERT_TRUE(captured.error);
  EXPECT_EQ(captured.error->domain(), QPErrorDomainJSON);
  EXPECT_EQ(client.http->requests().size(), 1u);
}

}  // namespace
}  // namespace brivane
