// The account family on the wire, against the fake HTTP client: each operation's method, path and
// parameters in their encodings, and the answer filling its response.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "api/core/QPFields.h"
#include "brivane/api/account/QPAccountAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::FakeClient;
using Done = QPCompletion<QPResponseBase>;
constexpr const char* kAccno = "1000000001";

using Start = std::function<void(const QPAccountAPI&, Done)>;

using Fields = std::vector<std::pair<const char*, const char*>>;

// `request` with the given fields set by name.
template <class R>
std::shared_ptr<R> set(std::shared_ptr<R> request, const Fields& fields) {
  for (const auto& [name, text] : fields) {
    std::string why;
    EXPECT_TRUE(request->setField(name, text, &why)) << name << ": " << why;
  }
  return request;
}
template <class R>
std::function<std::shared_ptr<R>()> with(Fields fields) {
  return [fields] { return set(std::make_shared<R>(), fields); };
}
template <class R>
std::function<std::shared_ptr<R>()> wallet() {
  return [] { return std::make_shared<R>("WALLET"); };
}

// Starts `op` with a request from `make`, the account kAccno and the stored option "SPO-1" as far
// as the operation takes them.
template <class R, class S, class Make>
Start call(void (QPAccountAPI::*op)(std::shared_ptr<const R>, QPCompletion<S>) const, Make make) {
  return [op, make](const QPAccountAPI& api, Done done) { (api.*op)(make(), done); };
}
template <class R, class S, class Make>
Start call(void (QPAccountAPI::*op)(std::shared_ptr<const R>, std::optional<std::string>, QPCompletion<S>)
               const,
           Make make) {
  return [op, make](const QPAccountAPI& api, Done done) { (api.*op)(make(), kAccno, done); };
}
template <class R, class S, class Make>
Start call(void (QPAccountAPI::*op)(std::shared_ptr<const R>, std::optional<std::string>,
                                    std::optional<std::string>, QPCompletion<S>) const,
           Make make) {
  return [op, make](const QPAccountAPI& api, Done done) { (api.*op)(make(), kAccno, "SPO-1", done); };
}

TEST(QPAccountAPIWire, EachOperationsMethodPathParametersAndFilledAnswer) {
  using A = QPAccountAPI;
  struct Case {
    const char* method;
    std::string path;  // after /v1/account
    Start start;
    const char* sent;    // the parameters besides the identifying ones
    const char* answer;  // members of the answer besides responseCode, each filled as it came
  };
  const std::string a = std::string("/") + kAccno, option = a + "/storedPaymentOptions/SPO-1";
  const Case cases[] = {
      {"PUT", "",
       call(&A::createAccount, with<QPCreateAccountRequest>({{"firstName", "Ada"},
                                                             {"dob", "1990-04-05T10:00:00"},
                                                             {"correspondenceCity", "Graz"},  // flag false
                                                             {"validUntil", "2030-01-31T23:59:59"},
                                                             {"password", "Pa55"},
                                                             {"isPep", "true"}})),
       R"({"firstName":"Ada","dob":"1990-04-05","useDifferentCorrespondenceAddress":"false",)"
       R"("correspondenceCity":"Graz","validUntil":"2030-01-31","password":"Pa55","isPep":"true",)"
       R"("isBusinessUser":"false"})",
       R"({"accno":"1000000009","statusCode":"NEW"})"},
      {"POST", a + "/updateInfo",
       call(&A::updateAccountInformation,
            with<QPUpdateAccountInformationRequest>({{"useDifferentCorrespondenceAddress", "true"},
                                                     {"accnoType", "WALLET"},
                                                     {"notifyUser", "true"},
                                                     {"timeZone", "Europe/Vienna"}})),
       R"({"useDifferentCorrespondenceAddress":"true","accnoType":"WALLET","isBusinessUser":"true",)"
       R"("timeZone":"Europe/Vienna"})",
       R"({"accno":"1000000001"})"},
      {"GET", a, call(&A::getAccountInformation, wallet<QPGetAccountInformationRequest>()),
       R"({"accnoType":"WALLET"})", R"({"firstName":"Ada","timeZone":"Europe/Vienna"})"},
      {"GET", a + "/enquiry",
       call(&A::accountEnquiry, with<QPAccountEnquiryRequest>({{"accnoType", "WALLET"},
                                                               {"endDate", "2024-03-03T09:05:07"},
                                                               {"top", "5"},
                                                               {"sortDirection", "DESC"}})),
       R"({"accnoType":"WALLET","endDate":"2024-03-03","endTime":"090507","top":"5","skip":"0",)"
       R"("sortDirection":"DESC"})",
       "{}"},
      {"GET", a + "/balance", call(&A::balanceEnquiry, wallet<QPBalanceEnquiryRequest>()),
       R"({"accnoType":"WALLET"})", R"({"currCode":"EUR"})"},
      {"POST", a + "/transfer",
       call(&A::transferAmount,
            [] {
              return std::make_shared<QPTransferAmountRequest>("WALLET", "1000000002", QPNumber(10.5), "EUR",
                                                               "Rent", QPNumber(1));
            }),
       R"({"accnoType":"WALLET","carrierNumber":"1000000002","transferAmount":"10.5",)"
       R"("transferCurrCode":"EUR","transferUsage":"Rent","feePayer":"1"})",
       "{}"},
      {"GET", "/find",
       call(&A::findAccount, [] { return std::make_shared<QPFindAccountRequest>("demo@brivane.test"); }),
       R"({"userId":"demo@brivane.test"})", R"({"accno":"1000000001"})"},
      {"GET", a + "/calculateFees",
       call(&A::calculateFees,
            [] {
              return std::make_shared<QPCalculateFeesRequest>("WALLET", "VISA", "PAYMENT", QPNumber(20),
                                                              "EUR");
            }),
       R"({"accnoType":"WALLET","paymentOptionCode":"VISA","transactionTypeCode":"PAYMENT","amount":"20",)"
       R"("currCode":"EUR"})",
       "{}"},
      {"GET", a + "/checkLimits",
       call(&A::checkLimits,
            [] { return std::make_shared<QPCheckLimitsRequest>("WALLET", "TRANSFER", QPNumber(7), "EUR"); }),
       R"({"accnoType":"WALLET","transactionTypeCode":"TRANSFER","amount":"7","currCode":"EUR"})", "{}"},
      {"GET", a + "/storedPaymentOptions",
       call(&A::getStoredPaymentOptions, wallet<QPGetStoredPaymentOptionsRequest>()),
       R"({"accnoType":"WALLET"})", "{}"},
      {"POST", a + "/requestMtan", call(&A::requestMtan, wallet<QPRequestMtanRequest>()),
       R"({"accnoType":"WALLET"})", "{}"},
      {"POST", a + "/checkPaymentAccessCode",
       call(&A::checkPaymentAccessCode,
            [] { return std::make_shared<QPCheckPaymentAccessCodeRequest>("WALLET", "2468"); }),
       R"({"accnoType":"WALLET","paymentAccessCode":"2468"})", "{}"},
      {"POST", a + "/storedPaymentOptions/initAdd",
       call(&A::initAddStoredPaymentOption,
            [] {
              return set(std::make_shared<QPInitAddStoredPaymentOptionRequest>("WALLET", "BNKACCT"),
                         {{"mandateReference", "M-1"},
                          {"mandateSignedDate", "2024-03-03T09:05:07"},
                          {"addr3", "Stiege 2"},
                          {"custom1", "c1"},
                          {"criteria", R"({"a":"1"})"}});
            }),
       R"({"accnoType":"WALLET","paymentOptionCode":"BNKACCT","mandateReference":"M-1",)"
       R"("mandateSignedDate":"2024-03-03","mandateSignedTime":"090507","useDifferentBillingAddress":"false",)"
       R"("addr3":"Stiege 2","custom1":"c1","criteria":[{"name":"a","value":"1"}]})",
       "{}"},
      {"PUT", a + "/storedPaymentOptions/completeAdd",
       call(&A::completeAddStoredPaymentOption,
            with<QPCompleteAddStoredPaymentOptionRequest>({{"accnoType", "WALLET"},
                                                           {"authorizationToken", "T"},
                                                           {"carrierNumber", "4111111111111111"},
                                                           {"expiryMonth", "12"},  // the year 0 is not sent
                                                           {"phone", "+43 1"},
                                                           {"criteria", "{}"}})),
       R"({"accnoType":"WALLET","authorizationToken":"T","carrierNumber":"4111111111111111",)"
       R"("expiryMonth":"12","useDifferentBillingAddress":"false","phone":"+43 1","criteria":[]})",
       "{}"},
      {"DELETE", option, call(&A::deleteStoredPaymentOption, wallet<QPDeleteStoredPaymentOptionRequest>()),
       R"({"accnoType":"WALLET"})", "{}"},
      {"POST", option + "/initVerify",
       call(&A::initVerifyStoredPaymentOption,
            with<QPInitVerifyStoredPaymentOptionRequest>(
                {{"accnoType", "WALLET"}, {"programAccno", "9000000001"}})),
       R"({"accnoType":"WALLET","programAccno":"9000000001"})", "{}"},
      {"POST", option + "/completeVerify",
       call(&A::completeVerifyStoredPaymentOption,
            [] { return std::make_shared<QPCompleteVerifyStoredPaymentOptionRequest>("WALLET", "123456"); }),
       R"({"accnoType":"WALLET","verificationCode":"123456"})", "{}"},
      {"POST", option + "/setDefault",
       call(&A::setDefaultStoredPaymentOption, wallet<QPSetDefaultStoredPaymentOptionRequest>()),
       R"({"accnoType":"WALLET"})", "{}"},
      {"GET", option + "/mandate", call(&A::getSepaMandate, wallet<QPGetSepaMandateRequest>()),
       R"({"accnoType":"WALLET"})", "{}"},
      {"GET", "/programAccounts", call(&A::getProgramAccounts, with<QPGetProgramAccountsRequest>({})), "{}",
       "{}"},
      {"GET", a + "/state", call(&A::getAccountState, wallet<QPGetAccountStateRequest>()),
       R"({"accnoType":"WALLET"})", R"({"statusCode":"ACTIVE"})"},
      {"POST", a + "/registerDevice",
       call(&A::registerAccountDevice,
            [] { return std::make_shared<QPRegisterAccountDeviceRequest>("WALLET", QPNumber(1), "dev-1"); }),
       R"({"accnoType":"WALLET","deviceType":1,"clientId":"dev-1"})", "{}"},
      {"POST", a + "/unregisterDevice",
       call(&A::unregisterAccountDevice,
            [] {
              return std::make_shared<QPUnregisterAccountDeviceRequest>("WALLET", QPNumber(1), std::nullopt);
            }),
       R"({"accnoType":"WALLET","deviceType":"1"})", "{}"},
      {"GET", "/verifyTransferRecipient",
       call(&A::verifyTransferRecipient,
            [] { return std::make_shared<QPVerifyTransferRecipientRequest>("second@brivane.test"); }),
       R"({"carrierNumber":"second@brivane.test"})", "{}"},
      {"POST", a + "/verifyMobilePhone",
       call(&A::verifyMobilePhone,
            [] { return std::make_shared<QPVerifyMobilePhoneRequest>("WALLET", "654321"); }),
       R"({"accnoType":"WALLET","mtanCode":"654321"})", "{}"},
      {"GET", a + "/transferRecipients",
       call(&A::getTransferRecipients,
            [] {
              return std::make_shared<QPGetTransferRecipientsRequest>("WALLET", std::nullopt, std::nullopt,
                                                                      QPNumber(0));
            }),
       R"({"accnoType":"WALLET","skip":"0"})", "{}"},
  };
  ASSERT_EQ(std::size(cases), 26u);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.method + (" /account" + c.path));
    FakeClient client;
    boost::json::object answer = boost::json::parse(c.answer).as_object();
    answer["responseCode"] = "0000";
    client.http->respond(c.method, "/account" + c.path, 200, boost::json::serialize(answer));
    auto captured =
        test::run<QPResponseBase>([&](Done done) { c.start(*client.provider->accountAPI(), done); });
    ASSERT_EQ(client.http->requests().size(), 1u);
    const QPRecordedRequest sent = client.http->requests().front();
    EXPECT_EQ(sent.method, c.method);
    EXPECT_EQ(sent.url.substr(0, sent.url.find('?')), "https://api.test/v1/account" + c.path);
    EXPECT_EQ(test::sentFields(sent), c.sent);
    EXPECT_EQ(sent.body.has_value(), c.method != std::string("GET"));
    ASSERT_FALSE(captured.error) << captured.error->toString();
    const boost::json::object filled = captured.response->toJSONObject();
    for (const auto& [key, value] : answer) EXPECT_EQ(filled.at(key), value) << key;
  }
}

TEST(QPAccountAPIWire, DatesOfYearOneAndYear9999GoOutAsGivenAndOthersAreRefusedUnsent) {
  using namespace std::chrono;
  FakeClient client;
  const auto& api = *client.provider->accountAPI();
  auto enquiry = std::make_shared<QPAccountEnquiryRequest>();
  enquiry->startDate = QPDate(year{1} / 1 / 1);
  enquiry->endDate = QPDate(year{9999} / 12 / 31, hours{23} + minutes{59} + seconds{59});
  test::run<QPResponseBase>([&](Done done) { api.accountEnquiry(enquiry, kAccno, done); });
  ASSERT_EQ(client.http->requests().size(), 1u);
  EXPECT_EQ(test::sentFields(client.http->requests().front()),
            R"({"startDate":"0001-01-01","startTime":"000000","endDate":"9999-12-31","endTime":"235959",)"
            R"("top":"0","skip":"0"})");
  for (const QPDate& date : {QPDate(year{10000} / 1 / 1), QPDate(year{2023} / 2 / 29)}) {
    auto create = std::make_shared<QPCreateAccountRequest>();
    create->dob = date;
    auto refused = test::run<QPResponseBase>([&](Done done) { api.createAccount(create, done); });
    EXPECT_EQ(refused.calls, 1);
    ASSERT_TRUE(refused.error);
    EXPECT_EQ(refused.error->domain(), QPErrorDomainClient);
    EXPECT_EQ(refused.error->code(), QPClientErrorUnsendableDate);
    EXPECT_THAT(refused.error->description().value_or(""), ::testing::HasSubstr("'dob'"));
  }
  EXPECT_EQ(client.http->requests().size(), 1u);
}

// Nil requests and identifiers of the account, user and payment families (the token endpoint's
// are with the authentication tests): a client error, later on the main queue, and
// nothing sent.
TEST(QPAccountAPIWire, NilArgumentsOfEveryFamilyAreClientErrorsAndNothingIsSent) {
  FakeClient client;
  QPApiProvider& p = *client.provider;
  const std::function<void(Done)> calls[] = {
      [&](Done d) { p.accountAPI()->balanceEnquiry(nullptr, kAccno, d); },
      [&](Done d) {
        p.accountAPI()->getAccountInformation(std::make_shared<QPGetAccountInformationRequest>(),
                                              std::nullopt, d);
      },
      [&](Done d) {
        p.accountAPI()->setDefaultStoredPaymentOption(
            std::make_shared<QPSetDefaultStoredPaymentOptionRequest>(), kAccno, std::nullopt, d);
      },
      [&](Done d) { p.userAPI()->changePassword(nullptr, "u", d); },
      [&](Done d) {
        p.userAPI()->changePassword(std::make_shared<QPChangePasswordRequest>("a", "b"), std::nullopt, d);
      },
      [&](Done d) { p.userAPI()->validatePassword(nullptr, d); },
      [&](Done d) {
        p.userAPI()->getSecondaryEmails(std::make_shared<QPGetSecondaryEmailsRequest>(), std::nullopt, d);
      },
      [&](Done d) { p.paymentAPI()->initAuthorize(nullptr, d); },
      [&](Done d) { p.paymentAPI()->capture(std::make_shared<QPCaptureRequest>(), std::nullopt, d); },
      [&](Done d) { p.paymentAPI()->getPaymentInformation(nullptr, std::string("PAY1"), d); },
  };
  for (const auto& call : calls) {
    SCOPED_TRACE(&call - calls);
    test::Captured<QPResponseBase> captured;
    call(captured.completion());
    EXPECT_EQ(captured.calls, 0) << "reported later, on the main queue";
    ASSERT_TRUE(captured.wait());
    EXPECT_TRUE(captured.onMainThread);
    ASSERT_TRUE(captured.error);
    EXPECT_EQ(captured.error->domain(), QPErrorDomainClient);
    EXPECT_EQ(captured.error->code(), QPClientErrorMissingArgument);
  }
  EXPECT_TRUE(client.http->requests().empty());
}

// Request quirks that need no server: the parameters themselves (those the wire table shows
// exactly are not repeated).
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
