#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "api/core/QPFields.h"
#include "brivane/api/account/QPAccountAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::SandboxClient;
using Pairs = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kAccno = "1000000001";

/// What one call produced, whatever its response type.
struct Outcome {
  int calls = 0;
  std::optional<QPError> error;
};

template <class Response>
QPCompletion<Response> note(Outcome& outcome) {
  return [&outcome](std::optional<QPError> error, std::shared_ptr<Response>) {
    ++outcome.calls;
    outcome.error = std::move(error);
  };
}

std::string decode(const std::string& text) {
  return httplib::detail::decode_url(text, true);
}

/// The parameters the sandbox received, without the four every call carries; values as JSON
/// text so that a number and a text stay apart ("1" vs 1). Query items are texts.
Pairs received(const sandbox::Sandbox& sandbox, const std::string& path, bool get) {
  Pairs pairs;
  auto keep = [&](const std::string& key, std::string value) {
    if (key == "localDate" || key == "localTime" || key == "partnerReference" || key == "programCode") return;
    pairs.emplace_back(key, std::move(value));
  };
  if (get) {
    std::string query = sandbox.lastQuery(path);
    std::size_t start = 0;
    while (start < query.size()) {
      std::size_t end = query.find('&', start);
      if (end == std::string::npos) end = query.size();
      std::string item = query.substr(start, end - start);
      std::size_t equals = item.find('=');
      keep(decode(item.substr(0, equals)),
           boost::json::serialize(boost::json::value(decode(item.substr(equals + 1)))));
      start = end + 1;
    }
  } else {
    boost::json::value body = boost::json::parse(sandbox.lastBody(path));
    for (const auto& [key, value] : body.as_object()) keep(key, boost::json::serialize(value));
  }
  return pairs;
}

QPDate at(const char* text) {
  return *fields::parseLocalDateTime(text);
}

struct WireCase {
  const char* operation;
  std::string path;
  bool get;
  std::function<void(const QPAccountAPI&, Outcome&)> start;
  Pairs expected;
};

std::vector<WireCase> wireCases() {
  const std::string a = std::string("/account/") + kAccno;
  const std::string option = a + "/storedPaymentOptions/SPO-1";
  return {
      {"createAccount",
       "/account",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPCreateAccountRequest>();
         r->firstName = "Ada";
         r->dob = at("1990-04-05T10:00:00");
         r->correspondenceCity = "Graz";  // sent although the flag is false
         r->validUntil = at("2030-01-31T23:59:59");
         r->password = "Pa55";
         r->isPep = true;
         api.createAccount(r, note<QPCreateAccountResponse>(o));
       },
       {{"firstName", R"("Ada")"},
        {"dob", R"("1990-04-05")"},
        {"useDifferentCorrespondenceAddress", R"("false")"},
        {"correspondenceCity", R"("Graz")"},
        {"validUntil", R"("2030-01-31")"},
        {"password", R"("Pa55")"},
        {"isPep", R"("true")"},
        {"isBusinessUser", R"("false")"}}},
      {"updateAccountInformation",
       a + "/updateInfo",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPUpdateAccountInformationRequest>();
         r->useDifferentCorrespondenceAddress = true;
         r->accnoType = "WALLET";
         r->notifyUser = true;
         r->timeZone = "Europe/Vienna";
         api.updateAccountInformation(r, kAccno, note<QPCreateAccountResponse>(o));
       },
       {{"useDifferentCorrespondenceAddress", R"("true")"},
        {"accnoType", R"("WALLET")"},
        {"isBusinessUser", R"("true")"},
        {"timeZone", R"("Europe/Vienna")"}}},
      {"getAccountInformation",
       a,
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.getAccountInformation(std::make_shared<QPGetAccountInformationRequest>("WALLET"), kAccno,
                                   note<QPGetAccountInformationResponse>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"accountEnquiry",
       a + "/enquiry",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPAccountEnquiryRequest>();
         r->accnoType = "WALLET";
         r->endDate = at("2024-03-03T09:05:07");
         r->top = 5;
         r->sortDirection = "DESC";
         api.accountEnquiry(r, kAccno, note<QPAccountEnquiryResponse>(o));
       },
       {{"accnoType", R"("WALLET")"},
        {"endDate", R"("2024-03-03")"},
        {"endTime", R"("090507")"},
        {"top", R"("5")"},
        {"skip", R"("0")"},
        {"sortDirection", R"("DESC")"}}},
      {"balanceEnquiry",
       a + "/balance",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.balanceEnquiry(std::make_shared<QPBalanceEnquiryRequest>("WALLET"), kAccno,
                            note<QPBalanceEnquiryResponse>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"transferAmount",
       a + "/transfer",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPTransferAmountRequest>("WALLET", "1000000002", QPNumber(10.5), "EUR",
                                                            "Rent", QPNumber(1));
         api.transferAmount(r, kAccno, note<QPTransferAmountResponse>(o));
       },
       {{"accnoType", R"("WALLET")"},
        {"carrierNumber", R"("1000000002")"},
        {"transferAmount", R"("10.5")"},
        {"transferCurrCode", R"("EUR")"},
        {"transferUsage", R"("Rent")"},
        {"feePayer", R"("1")"}}},
      {"findAccount",
       "/account/find",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.findAccount(std::make_shared<QPFindAccountRequest>("demo@brivane.test"),
                         note<QPFindAccountResponse>(o));
       },
       {{"userId", R"("demo@brivane.test")"}}},
      {"calculateFees",
       a + "/calculateFees",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPCalculateFeesRequest>("WALLET", "VISA", "PAYMENT", QPNumber(20), "EUR");
         api.calculateFees(r, kAccno, note<QPCalculateFeesResponse>(o));
       },
       {{"accnoType", R"("WALLET")"},
        {"paymentOptionCode", R"("VISA")"},
        {"transactionTypeCode", R"("PAYMENT")"},
        {"amount", R"("20")"},
        {"currCode", R"("EUR")"}}},
      {"checkLimits",
       a + "/checkLimits",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPCheckLimitsRequest>("WALLET", "TRANSFER", QPNumber(7), "EUR");
         api.checkLimits(r, kAccno, note<QPCheckLimitsResponse>(o));
       },
       {{"accnoType", R"("WALLET")"},
        {"transactionTypeCode", R"("TRANSFER")"},
        {"amount", R"("7")"},
        {"currCode", R"("EUR")"}}},
      {"getStoredPaymentOptions",
       a + "/storedPaymentOptions",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.getStoredPaymentOptions(std::make_shared<QPGetStoredPaymentOptionsRequest>("WALLET"), kAccno,
                                     note<QPGetStoredPaymentOptionsResponse>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"requestMtan",
       a + "/requestMtan",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.requestMtan(std::make_shared<QPRequestMtanRequest>("WALLET"), kAccno, note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"checkPaymentAccessCode",
       a + "/checkPaymentAccessCode",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.checkPaymentAccessCode(std::make_shared<QPCheckPaymentAccessCodeRequest>("WALLET", "2468"),
                                    kAccno, note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"paymentAccessCode", R"("2468")"}}},
      {"initAddStoredPaymentOption",
       a + "/storedPaymentOptions/initAdd",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPInitAddStoredPaymentOptionRequest>("WALLET", "BNKACCT");
         r->mandateReference = "M-1";
         r->mandateSignedDate = at("2024-03-03T09:05:07");
         r->addr3 = "Stiege 2";
         r->custom1 = "c1";
         r->criteria = boost::json::object{{"a", "1"}};
         api.initAddStoredPaymentOption(r, kAccno, note<QPInitAddStoredPaymentOptionResponse>(o));
       },
       {{"accnoType", R"("WALLET")"},
        {"paymentOptionCode", R"("BNKACCT")"},
        {"mandateReference", R"("M-1")"},
        {"mandateSignedDate", R"("2024-03-03")"},
        {"mandateSignedTime", R"("090507")"},
        {"useDifferentBillingAddress", R"("false")"},
        {"addr3", R"("Stiege 2")"},
        {"custom1", R"("c1")"},
        {"criteria", R"([{"name":"a","value":"1"}])"}}},
      {"completeAddStoredPaymentOption",
       a + "/storedPaymentOptions/completeAdd",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPCompleteAddStoredPaymentOptionRequest>();
         r->accnoType = "WALLET";
         r->authorizationToken = "T";
         r->carrierNumber = "4111111111111111";
         r->expiryMonth = 12;  // the year stays 0: not sent
         r->phone = "+43 1";
         r->criteria = boost::json::object{};
         api.completeAddStoredPaymentOption(r, kAccno, note<QPCompleteAddStoredPaymentOptionResponse>(o));
       },
       {{"accnoType", R"("WALLET")"},
        {"authorizationToken", R"("T")"},
        {"carrierNumber", R"("4111111111111111")"},
        {"expiryMonth", R"("12")"},
        {"useDifferentBillingAddress", R"("false")"},
        {"phone", R"("+43 1")"},
        {"criteria", "[]"}}},
      {"deleteStoredPaymentOption",
       option,
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.deleteStoredPaymentOption(std::make_shared<QPDeleteStoredPaymentOptionRequest>("WALLET"), kAccno,
                                       "SPO-1", note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"initVerifyStoredPaymentOption",
       option + "/initVerify",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         auto r = std::make_shared<QPInitVerifyStoredPaymentOptionRequest>("WALLET");
         r->programAccno = "9000000001";
         api.initVerifyStoredPaymentOption(r, kAccno, "SPO-1", note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"programAccno", R"("9000000001")"}}},
      {"completeVerifyStoredPaymentOption",
       option + "/completeVerify",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.completeVerifyStoredPaymentOption(
             std::make_shared<QPCompleteVerifyStoredPaymentOptionRequest>("WALLET", "123456"), kAccno,
             "SPO-1", note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"verificationCode", R"("123456")"}}},
      {"setDefaultStoredPaymentOption",
       option + "/setDefault",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.setDefaultStoredPaymentOption(std::make_shared<QPSetDefaultStoredPaymentOptionRequest>("WALLET"),
                                           kAccno, "SPO-1", note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"getSepaMandate",
       option + "/mandate",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.getSepaMandate(std::make_shared<QPGetSepaMandateRequest>("WALLET"), kAccno, "SPO-1",
                            note<QPGetSepaMandateResponse>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"getProgramAccounts",
       "/account/programAccounts",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.getProgramAccounts(std::make_shared<QPGetProgramAccountsRequest>(),
                                note<QPGetProgramAccountsResponse>(o));
       },
       {}},
      {"getAccountState",
       a + "/state",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.getAccountState(std::make_shared<QPGetAccountStateRequest>("WALLET"), kAccno,
                             note<QPGetAccountStateResponse>(o));
       },
       {{"accnoType", R"("WALLET")"}}},
      {"registerAccountDevice",
       a + "/registerDevice",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.registerAccountDevice(
             std::make_shared<QPRegisterAccountDeviceRequest>("WALLET", QPNumber(1), "dev-1"), kAccno,
             note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"deviceType", "1"}, {"clientId", R"("dev-1")"}}},
      {"unregisterAccountDevice",
       a + "/unregisterDevice",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.unregisterAccountDevice(
             std::make_shared<QPUnregisterAccountDeviceRequest>("WALLET", QPNumber(1), std::nullopt), kAccno,
             note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"deviceType", R"("1")"}}},
      {"verifyTransferRecipient",
       "/account/verifyTransferRecipient",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.verifyTransferRecipient(
             std::make_shared<QPVerifyTransferRecipientRequest>("second@brivane.test"),
             note<QPResponseBase>(o));
       },
       {{"carrierNumber", R"("second@brivane.test")"}}},
      {"verifyMobilePhone",
       a + "/verifyMobilePhone",
       false,
       [](const QPAccountAPI& api, Outcome& o) {
         api.verifyMobilePhone(std::make_shared<QPVerifyMobilePhoneRequest>("WALLET", "654321"), kAccno,
                               note<QPResponseBase>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"mtanCode", R"("654321")"}}},
      {"getTransferRecipients",
       a + "/transferRecipients",
       true,
       [](const QPAccountAPI& api, Outcome& o) {
         api.getTransferRecipients(std::make_shared<QPGetTransferRecipientsRequest>(
                                       "WALLET", std::nullopt, std::nullopt, QPNumber(0)),
                                   kAccno, note<QPGetTransferRecipientsResponse>(o));
       },
       {{"accnoType", R"("WALLET")"}, {"skip", R"("0")"}}},
  };
}

// Every operation reaches its own route (a wrong method or path would be the sandbox's 4040
// "No such operation") with its keys, in order and in their encodings.
TEST(QPAccountAPIWire, EveryOperationSendsItsKeysToItsRoute) {
  SandboxClient client;
  const auto cases = wireCases();
  ASSERT_EQ(cases.size(), 26u);
  for (const WireCase& c : cases) {
    SCOPED_TRACE(c.operation);
    Outcome outcome;
    c.start(*client.provider->accountAPI(), outcome);
    ASSERT_TRUE(QPMainQueue::runUntil([&] { return outcome.calls > 0; }, std::chrono::seconds(10)));
    if (outcome.error) {
      EXPECT_NE(outcome.error->code(), 4040) << outcome.error->toString();
    }
    EXPECT_EQ(received(client.sandbox, c.path, c.get), c.expected);
    if (c.get) {
      EXPECT_EQ(client.sandbox.lastBody(c.path), "");
    }
  }
}

TEST(QPAccountAPIWire, NilRequestOrIdentifierIsAClientErrorAndNothingIsSent) {
  SandboxClient client;
  const auto& api = *client.provider->accountAPI();
  const std::uint64_t before = client.sandbox.requestCount();
  Outcome nilRequest, nilAccno, nilReference;
  api.balanceEnquiry(nullptr, kAccno, note<QPBalanceEnquiryResponse>(nilRequest));
  api.getAccountInformation(std::make_shared<QPGetAccountInformationRequest>("WALLET"), std::nullopt,
                            note<QPGetAccountInformationResponse>(nilAccno));
  api.setDefaultStoredPaymentOption(std::make_shared<QPSetDefaultStoredPaymentOptionRequest>("WALLET"),
                                    kAccno, std::nullopt, note<QPResponseBase>(nilReference));
  ASSERT_TRUE(QPMainQueue::runUntil(
      [&] { return nilRequest.calls > 0 && nilAccno.calls > 0 && nilReference.calls > 0; },
      std::chrono::seconds(10)));
  for (const Outcome* outcome : {&nilRequest, &nilAccno, &nilReference}) {
    EXPECT_EQ(outcome->calls, 1);
    ASSERT_TRUE(outcome->error);
    EXPECT_EQ(outcome->error->domain(), "brivane.client");
    EXPECT_EQ(outcome->error->code(), 1);
  }
  EXPECT_EQ(client.sandbox.requestCount(), before);
}

TEST(QPAccountAPIWire, DatesOfYearOneAndYear9999GoOutAsGivenAndOthersAreRefusedUnsent) {
  using namespace std::chrono;
  SandboxClient client;
  const auto& api = *client.provider->accountAPI();
  auto enquiry = std::make_shared<QPAccountEnquiryRequest>();
  enquiry->startDate = QPDate(year{1} / 1 / 1);
  enquiry->endDate = QPDate(year{9999} / 12 / 31, hours{23} + minutes{59} + seconds{59});
  Outcome sent;
  api.accountEnquiry(enquiry, kAccno, note<QPAccountEnquiryResponse>(sent));
  ASSERT_TRUE(QPMainQueue::runUntil([&] { return sent.calls > 0; }, std::chrono::seconds(10)));
  Pairs dates;
  for (auto& pair : received(client.sandbox, std::string("/account/") + kAccno + "/enquiry", true))
    if (pair.first.ends_with("Date") || pair.first.ends_with("Time")) dates.push_back(pair);
  EXPECT_EQ(dates, (Pairs{{"startDate", R"("0001-01-01")"},
                          {"startTime", R"("000000")"},
                          {"endDate", R"("9999-12-31")"},
                          {"endTime", R"("235959")"}}));

  const std::uint64_t before = client.sandbox.requestCount();
  for (const QPDate& date : {QPDate(year{10000} / 1 / 1), QPDate(year{2023} / 2 / 29)}) {
    auto create = std::make_shared<QPCreateAccountRequest>();
    create->firstName = "Ada";
    create->dob = date;
    Outcome refused;
    api.createAccount(create, note<QPCreateAccountResponse>(refused));
    ASSERT_TRUE(QPMainQueue::runUntil([&] { return refused.calls > 0; }, std::chrono::seconds(10)));
    EXPECT_EQ(refused.calls, 1);
    ASSERT_TRUE(refused.error);
    EXPECT_EQ(refused.error->domain(), "brivane.client");
    EXPECT_EQ(refused.error->code(), QPClientErrorUnsendableDate);
    EXPECT_THAT(refused.error->description().value_or(""), ::testing::HasSubstr("'dob'"));
  }
  EXPECT_EQ(client.sandbox.requestCount(), before);
}

TEST(QPAccountAPIWire, AnAccnoHoldingASlashDeepensThePath) {
  SandboxClient client;
  Outcome outcome;
  client.provider->accountAPI()->balanceEnquiry(std::make_shared<QPBalanceEnquiryRequest>("WALLET"),
                                                "1000000001/extra", note<QPBalanceEnquiryResponse>(outcome));
  ASSERT_TRUE(QPMainQueue::runUntil([&] { return outcome.calls > 0; }, std::chrono::seconds(10)));
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->code(), 4040);  // no such route: the path is one level deeper
  EXPECT_THAT(client.sandbox.lastQuery("/account/1000000001/extra/balance"),
              ::testing::HasSubstr("accnoType=WALLET"));
}

TEST(QPAccountAPIWire, CharactersAUrlCannotCarryAreEscapedIntoThePath) {
  SandboxClient client;
  struct Case {
    const char* accno;
    const char* seenPath;
  };
  const Case cases[] = {
      {"a b", "/account/a b/state"}, {"a?b#c", "/account/a?b#c/state"}, {"", "/account//state"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.accno);
    Outcome outcome;
    client.provider->accountAPI()->getAccountState(std::make_shared<QPGetAccountStateRequest>("WALLET"),
                                                   c.accno, note<QPGetAccountStateResponse>(outcome));
    ASSERT_TRUE(QPMainQueue::runUntil([&] { return outcome.calls > 0; }, std::chrono::seconds(10)));
    EXPECT_THAT(client.sandbox.lastQuery(c.seenPath), ::testing::HasSubstr("accnoType=WALLET"));
  }
}

// Request quirks that need no server: the parameters themselves.
struct ParamsCase {
  const char* name;
  std::function<QPRequestParams()> params;
  std::vector<std::string> present;
  std::vector<std::string> absent;
};

TEST(QPAccountRequests, KeysAreWrittenUnderTheirNamesAndUnsetOnesLeftOut) {
  const std::vector<ParamsCase> cases = {
      {"empty create still carries its three flags",
       [] { return QPCreateAccountRequest().getRequestParams(); },
       {"useDifferentCorrespondenceAddress", "isPep", "isBusinessUser"},
       {"dob", "password", "validFrom", "notifyUser"}},
      {"update sends notifyUser under isBusinessUser only",
       [] { return QPUpdateAccountInformationRequest().getRequestParams(); },
       {"isBusinessUser", "useDifferentCorrespondenceAddress"},
       {"notifyUser", "isPep"}},
      {"enquiry without dates",
       [] { return QPAccountEnquiryRequest().getRequestParams(); },
       {"top", "skip"},
       {"startDate", "startTime", "endDate", "endTime", "sortDirection", "accnoType"}},
      {"expiry month and year 0 are left out",
       [] { return QPCompleteAddStoredPaymentOptionRequest().getRequestParams(); },
       {"useDifferentBillingAddress"},
       {"expiryMonth", "expiryYear", "criteria", "mandateSignedDate", "mandateSignedTime", "addr3"}},
      {"year alone is sent",
       [] {
         QPCompleteAddStoredPaymentOptionRequest r;
         r.expiryYear = 2031;
         return r.getRequestParams();
       },
       {"expiryYear"},
       {"expiryMonth"}},
      {"criteria that cannot be serialised drop only the criteria",
       [] {
         QPInitAddStoredPaymentOptionRequest r("WALLET", "VISA");
         r.criteria = boost::json::object{{"bad", std::numeric_limits<double>::infinity()}};
         r.emailAddress = "a@b.c";
         return r.getRequestParams();
       },
       {"accnoType", "paymentOptionCode", "useDifferentBillingAddress", "emailAddress"},
       {"criteria", "carrierNumber", "phone"}},
      {"recipients without top or skip",
       [] {
         return QPGetTransferRecipientsRequest("WALLET", "x", std::nullopt, std::nullopt).getRequestParams();
       },
       {"accnoType", "recipientId"},
       {"top", "skip"}},
      {"check limits without option or reference",
       [] { return QPCheckLimitsRequest("WALLET", "TRANSFER", QPNumber(1), "EUR").getRequestParams(); },
       {"amount"},
       {"paymentOptionCode", "storedPaymentOptionReference"}},
      {"transfer without program account or client address",
       [] {
         return QPTransferAmountRequest("WALLET", "x", QPNumber(1), "EUR", "u", QPNumber(0))
             .getRequestParams();
       },
       {"transferAmount", "feePayer"},
       {"programAccno", "clientIpAddress", "tansferAmount"}},
      {"verify recipient carries no account type",
       [] { return QPVerifyTransferRecipientRequest("x").getRequestParams(); },
       {"carrierNumber"},
       {"accnoType"}},
      {"verify mobile phone uses mtanCode",
       [] { return QPVerifyMobilePhoneRequest("WALLET", "1").getRequestParams(); },
       {"mtanCode"},
       {"verificationCode"}},
  };
  for (const ParamsCase& c : cases) {
    SCOPED_TRACE(c.name);
    QPRequestParams params = c.params();
    for (const auto& key : c.present) EXPECT_TRUE(params.contains(key)) << key;
    for (const auto& key : c.absent) EXPECT_FALSE(params.contains(key)) << key;
  }
}

TEST(QPAccountRequests, FieldsSetOnlyByConstructorsAreSettableByName) {
  struct Case {
    std::shared_ptr<QPRequestBase> request;
    const char* field;
    const char* text;
    const char* key;
    boost::json::value expected;
  };
  const std::vector<Case> cases = {
      {std::make_shared<QPGetAccountStateRequest>(), "accnoType", "WALLET", "accnoType", "WALLET"},
      {std::make_shared<QPFindAccountRequest>(), "userId", "u@x.y", "userId", "u@x.y"},
      {std::make_shared<QPRegisterAccountDeviceRequest>(), "deviceType", "1", "deviceType", 1},
      {std::make_shared<QPUnregisterAccountDeviceRequest>(), "deviceType", "1", "deviceType", "1"},
      {std::make_shared<QPUpdateAccountInformationRequest>(), "notifyUser", "true", "isBusinessUser", "true"},
      {std::make_shared<QPAccountEnquiryRequest>(), "startDate", "2024-03-03T09:05:07", "startTime",
       "090507"},
      {std::make_shared<QPTransferAmountRequest>(), "transferAmount", "12.25", "transferAmount", "12.25"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.field);
    std::string why;
    ASSERT_TRUE(c.request->setField(c.field, c.text, &why)) << why;
    QPRequestParams params = c.request->getRequestParams();
    ASSERT_TRUE(params.contains(c.key));
    EXPECT_EQ(params.at(c.key), c.expected);
  }
  std::string why;
  EXPECT_FALSE(QPFindAccountRequest().setField("accno", "1", &why));
}

}  // namespace
}  // namespace brivane
