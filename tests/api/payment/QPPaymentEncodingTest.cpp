// The payment family's request encoding and response filling against the fake HTTP client: what
// each operation puts on the wire needs no socket to be seen.
#include <gmock/gmock.h>
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

using ::testing::ElementsAreArray;
using ::testing::MatchesRegex;

// The keys of a JSON body, in order; of a query, the names.
std::vector<std::string> keysOf(const QPRecordedRequest& request) {
  std::vector<std::string> keys;
  if (request.body) {
    const boost::json::value body = boost::json::parse(*request.body);
    for (const auto& [key, value] : body.as_object()) keys.emplace_back(key);
    return keys;
  }
  std::string query = request.url.substr(request.url.find('?') + 1);
  for (std::size_t start = 0; start < query.size();) {
    std::size_t end = std::min(query.find('&', start), query.size());
    keys.push_back(query.substr(start, query.find('=', start) - start));
    start = end + 1;
  }
  return keys;
}

std::vector<std::string> framed(std::vector<std::string> own) {
  own.insert(own.begin(), {"localDate", "localTime"});
  own.insert(own.end(), {"partnerReference", "programCode"});
  return own;
}

template <class Request>
std::shared_ptr<Request> oneStep() {
  auto request = std::make_shared<Request>();
  request->presentationAmount = QPNumber(2);
  request->presentationCurrCode = "EUR";
  request->carrierNumber = "4111111111111111";
  request->clientIpAddress = "203.0.113.9";
  return request;
}

TEST(QPPaymentEncoding, EachOperationsMethodPathKeysAndFilledAnswer) {
  using Start = std::function<void(const QPPaymentAPI&, QPCompletion<QPResponseBase>)>;
  struct Case {
    const char* method;
    const char* path;
    Start start;
    std::vector<std::string> keys;
  } cases[] = {
      {"PUT", "/payment/initAuthorize",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPInitAuthorizeRequest>();
         request->presentationAmount = QPNumber(1);
         request->presentationCurrCode = "EUR";
         request->ipAddr = "203.0.113.7";  // a header, never a body key
         api.initAuthorize(request, done);
       },
       framed({"presentationAmount", "presentationCurrCode", "useDifferentBillingAddress"})},
      {"PUT", "/payment/authorize",
       [](const QPPaymentAPI& api, auto done) { api.authorize(oneStep<QPAuthorizeRequest>(), done); },
       framed({"savePaymentDetails", "presentationAmount", "presentationCurrCode", "carrierNumber",
               "useDifferentBillingAddress", "clientIpAddress"})},
      {"PUT", "/payment/payToAccount",
       [](const QPPaymentAPI& api, auto done) {
         auto request = oneStep<QPPayToAccountRequest>();
         request->accno = "1000000002";
         api.payToAccount(request, done);
       },
       framed({"accno", "savePaymentDetails", "presentationAmount", "presentationCurrCode", "carrierNumber",
               "useDifferentBillingAddress", "clientIpAddress"})},
      {"POST", "/payment/P%2F1/completeAuthorize",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPCompleteAuthorizeRequest>();
         request->authorizationToken = "tok";
         request->addr3 = "Stiege 2";
         api.completeAuthorize(request, "P/1", done);
       },
       framed({"authorizationToken", "useDifferentBillingAddress", "addr3"})},
      {"POST", "/payment/P%2F1/capture",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPCaptureRequest>();
         request->modifiedAmount = QPNumber(0.5);
         api.capture(request, "P/1", done);
       },
       framed({"modifiedAmount"})},
      {"POST", "/payment/P%2F1/cancel",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPCancelRequest>();
         request->custom2 = "c2";
         api.cancel(request, "P/1", done);
       },
       framed({"custom2"})},
      {"POST", "/payment/P%2F1/lm-completeAuthorize",
       [](const QPPaymentAPI& api, auto done) {
         auto request = std::make_shared<QPLmCompleteAuthorizeRequest>();
         request->clientIpAddress = "203.0.113.8";
         api.lmCompleteAuthorize(request, "P/1", done);
       },
       framed({"useDifferentBillingAddress", "clientIpAddress"})},
      {"GET", "/payment/P%2F1/information",
       [](const QPPaymentAPI& api, auto done) {
         api.getPaymentInformation(std::make_shared<QPGetPaymentInformationRequest>(), "P/1", done);
       },
       framed({})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    auto http = std::make_shared<QPFakeHttpClient>();
    http->respond(c.method, c.path, 200, R"({"responseCode":"0000","responseDescription":"Done"})");
    QPApiProviderOption option;
    option.url = "https://api.test/v1/";
    option.programCode = "P";
    option.partnerReferencePrefix = "T";
    option.httpClient = http;
    QPApiProvider provider(option);
    test::Captured<QPResponseBase> captured;
    c.start(*provider.paymentAPI(), captured.completion());
    ASSERT_TRUE(captured.wait());
    ASSERT_EQ(http->requests().size(), 1u);
    const QPRecordedRequest sent = http->requests().front();
    EXPECT_EQ(sent.method, c.method);
    EXPECT_THAT(sent.url, MatchesRegex(std::string("https://api.test/v1") + c.path + "(\\?.*)?"));
    EXPECT_THAT(keysOf(sent), ElementsAreArray(c.keys));
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    EXPECT_EQ(sent.header("X-Ip-Address").has_value(), c.path == std::string("/payment/initAuthorize"));
    EXPECT_EQ(captured.calls, 1);
    ASSERT_FALSE(captured.error) << captured.error->toString();
    EXPECT_EQ(captured.response->responseDescription, "Done");
  }
}

// Nothing queued: the fake answers 404 with an empty body, which is no JSON.
TEST(QPPaymentEncoding, AnUnqueuedRequestGetsA404) {
  auto http = std::make_shared<QPFakeHttpClient>();
  QPApiProviderOption option;
  option.url = "https://api.test";
  option.programCode = "P";
  option.httpClient = http;
  QPApiProvider provider(option);
  test::Captured<QPGetPaymentInformationResponse> captured;
  provider.paymentAPI()->getPaymentInformation(std::make_shared<QPGetPaymentInformationRequest>(), "P-1",
                                               captured.completion());
  ASSERT_TRUE(captured.wait());
  ASSERT_TRUE(captured.error);
  EXPECT_EQ(captured.error->domain(), QPErrorDomainJSON);
  EXPECT_EQ(http->requests().size(), 1u);
}

}  // namespace
}  // namespace brivane
