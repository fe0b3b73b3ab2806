#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "api/core/QPBaseAPICall.h"
#include "api/core/QPJSONParse.h"
#include "brivane/api/account/QPAccountInformationTypes.h"
#include "brivane/api/account/QPStoredPaymentOptionTypes.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::LogCapture;

// What one way of reading an answer gave the host: the response as JSON (or the error) and the
// log lines written meanwhile.
struct Reading {
  std::optional<boost::json::object> response;
  std::optional<std::string> error;  // domain, code and description
  std::vector<std::string> log;
};

std::string describe(const std::optional<QPError>& error) {
  if (!error) return "";
  return error->domain() + " " + std::to_string(error->code()) + " " + error->description().value_or("");
}

// As the families read an answer: the transport hands the body to the call's reader.
template <class Response>
Reading bySdk(const std::string& body) {
  LogCapture log;
  Captured<Response> call;
  QPTransportLayer::Completion completion = detail::deliver<Response>(call.completion());
  const auto* reading = completion.target<detail::ReadingCompletion>();
  EXPECT_NE(reading, nullptr);
  if (reading == nullptr) return {};
  std::optional<QPError> error = reading->reader->read(body);
  completion(std::nullopt, std::move(error));
  EXPECT_TRUE(call.wait());
  Reading result{std::nullopt, std::nullopt, log.lines()};
  if (call.error) result.error = describe(call.error);
  if (call.response) result.response = call.response->toJSONObject();
  return result;
}

// As the transport's own callers read it: the whole document, then the response filled from it.
template <class Response>
Reading byDocument(const std::string& body) {
  LogCapture log;
  std::optional<QPError> error;
  std::optional<boost::json::value> json = parseJSON(body, &error);
  Reading result;
  if (error) {
    result.error = describe(error);
  } else {
    auto response = std::make_shared<Response>();
    response->initWithJSONObject(*json);
    result.response = response->toJSONObject();
  }
  result.log = log.lines();
  return result;
}

template <class Response>
void expectSameReading(const std::string& body) {
  SCOPED_TRACE(body.substr(0, 80));
  Reading expected = byDocument<Response>(body), read = bySdk<Response>(body);
  EXPECT_EQ(read.error, expected.error);
  EXPECT_EQ(read.response, expected.response);
  EXPECT_EQ(read.log, expected.log);
}

std::string countries(int count, const std::string& name = "Country number ") {
  std::string text = R"({"responseCode":"0000","countries":[)";
  for (int i = 0; i < count; ++i)
    text += std::string(i ? "," : "") + R"({"countryName":")" + name + std::to_string(i) +
            R"(","countryCode":"C)" + std::to_string(i % 100) + "\"}";
  return text + "]}";
}

// Reading a family's answer straight into its response gives the host what the document gave:
// the same fields, the same model log line, the same error for what is not JSON.
TEST(QPAnswerReader, GivesWhatTheDocumentGave) {
  const std::string escaped = std::string(5000, 'a') + "\\u00e9\\ud83d\\ude00\\n" + std::string(5000, 'b');
  const std::string bodies[] = {
      countries(3),
      countries(3000),  // many elements, past the list's first blocks
      countries(2, "\\u00e9t\\u00e9 \\\"quoted\\\" " + escaped + " "),  // texts in pieces
      R"({"c\u006funtries":[{"countryName":"escaped key"}],"responseCode":"0000"})",
      R"({")" + escaped + R"(":1,"countries":[{"countryName":"after a long key in pieces"}]})",
      R"({"countries":[null,5,"x",[],{},{"countryName":{}},{"countryName":[1]},{"countryCode":"ok"}]})",
      R"({"countries":[[{"countryName":"nested"}],{"countryName":1.5e3,"countryCode":true}]})",
      R"({"countries":[],"responseDescription":null})",
      R"({"countries":"not a list","responseCode":12})",
      R"({"countries":null})",
      R"({"countries":{"countryName":"a dictionary, not a list"}})",
      R"({"unknown":{"deep":[1,{"a":[{"b":null}]}]},"unknown":2,"sysDate":"2024-03-03"})",
      R"({"countries":[{"countryName":"first"}],"countries":[{"countryName":"second"}]})",
      R"({"responseCode":"0000","responseCode":null})",
      R"({"responseCode":null,"responseCode":"0000"})",
      "{}",
      "[]",
      "[{\"countries\":[]}]",
      R"("text")",
      "12",
      "null",
      "",
      "not json",
      "{} {}",
      countries(2000).substr(0, 50000),  // truncated inside a text
      countries(2000).substr(0, 60001),
      R"({"countries":[)" + std::string(40, '[') + std::string(40, ']') + "]}",  // too deep
      R"({"countries":[{"countryName":"x"},]})",
  };
  for (const std::string& body : bodies) expectSameReading<QPGetCountriesResponse>(body);
}

// Nested models, lists inside list elements and values kept as JSON.
TEST(QPAnswerReader, GivesWhatTheDocumentGaveForNestedModelsAndKeptJSON) {
  const std::string deep = R"({"text":"a text longer than an in-place string","list":[1,2.5,{"k":null}]})";
  const std::string stored[] = {
      R"({"paymentOptions":[{"code":"BNKACCT","mandate":{"mandateReference":"M-1","mandateSignedDate":)" +
          deep + "}},{\"code\":\"CARD\",\"mandate\":null},{\"mandate\":[1]}]}",
      R"({"paymentOptions":[{"mandate":{"mandateReference":{}}},{"code":{}}],"responseCode":"0000"})",
  };
  for (const std::string& body : stored) expectSameReading<QPGetStoredPaymentOptionsResponse>(body);
  const std::string information[] = {
      R"({"accno":"1000000001","dob":)" + deep + R"(,"lastLoginTime":[1e400]})",
      R"({"dob":null,"accno":12345678901234567890})",
  };
  for (const std::string& body : information) expectSameReading<QPGetAccountInformationResponse>(body);
}

// A large answer of a family's call is read on the networking's worker and reaches the host
// whole, as the document would have filled it.
TEST(QPAnswerReader, ALargeAnswerOfACallIsReadWhole) {
  const std::string body = countries(6000);  // over 256 KiB
  ASSERT_GT(body.size(), 256u << 10);
  test::ScriptedServer server;
  server.answer(200, "application/json", body);
  auto setting = std::make_shared<QPApiClientSetting>();
  setting->setUrlStr(server.baseUrl());
  setting->setProgramCode("P");
  auto transport =
      std::make_shared<QPTransportLayer>(std::make_shared<QPDefaultAccessTokenProvider>(), setting);
  QPSettingsAPI api(transport);
  Captured<QPGetCountriesResponse> call;
  api.getCountries(QPGetCountriesRequest(), call.completion());
  ASSERT_TRUE(call.wait());
  ASSERT_FALSE(call.error) << describe(call.error);
  ASSERT_TRUE(call.response);
  EXPECT_EQ(std::optional<boost::json::object>(call.response->toJSONObject()),
            byDocument<QPGetCountriesResponse>(body).response);
}

}  // namespace
}  // namespace brivane
