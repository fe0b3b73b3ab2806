#include <gtest/gtest.h>

#include <httplib.h>

#include <string>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"

namespace brivane::sandbox {
namespace {

// Other clients may send amounts as JSON numbers; the sandbox takes whole cents either way.
TEST(SandboxPaymentRoutes, AmountsAsTextOrJSONNumbers) {
  Sandbox sandbox;
  ASSERT_TRUE(sandbox.start());
  httplib::Client http(sandbox.baseUrl());
  http.set_bearer_token_auth(sandbox.issueAccessToken());
  struct Case {
    const char* amount;  // the JSON text of "presentationAmount"
    const char* responseCode;
  };
  const Case cases[] = {
      {R"("12.50")", "0000"}, {"12.5", "0000"},       {"12", "0000"},       {R"("0.01")", "0000"},
      {"1.005", "6103"},      {R"("1.005")", "6103"}, {R"("0")", "6103"},   {"-3", "6103"},
      {R"("1,5")", "6103"},   {R"("12.")", "6103"},   {R"("abc")", "6103"}, {"true", "6103"},
  };
  for (const Case& c : cases) {
    const std::string body = std::string(R"({"partnerReference": "T1", "programCode": "BRIVANE", )") +
                             R"("presentationCurrCode": "EUR", "carrierNumber": "4111111111111111", )" +
                             R"("presentationAmount": )" + c.amount + "}";
    auto answer = http.Put("/payment/authorize", body, "application/json");
    ASSERT_TRUE(answer) << c.amount;
    const boost::json::value parsed = boost::json::parse(answer->body);
    EXPECT_EQ(parsed.at("responseCode"), c.responseCode) << c.amount;
  }
}

}  // namespace
}  // namespace brivane::sandbox
