// The account platform of the sandbox, called over HTTP as any client would.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sandbox/Sandbox.h"
#include "sandbox/SandboxTestSupport.h"

namespace brivane::sandbox {
namespace {

using test::jsonText;
using test::RestCaller;
using test::runSteps;

const std::string kDemo = "/account/1000000001";

std::string transfer(const std::string& to, const std::string& amount) {
  return R"("transferCurrCode": "EUR", "carrierNumber": ")" + to + R"(", "transferAmount": )" + amount;
}

class SandboxAccount : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(sandbox.start()); }

  RestCaller as(const char* user, const char* password) {
    return RestCaller(sandbox, jsonText(test::signIn(sandbox.baseUrl(), user, password), "access_token"));
  }
  /// The codes of the messages in the sandbox's outbox of `kind`, oldest first.
  std::vector<std::string> outbox(const std::string& kind) {
    auto res = httplib::Client(sandbox.baseUrl()).Get("/sandbox/outbox");
    std::vector<std::string> codes;
    const boost::json::value answer = boost::json::parse(res ? res->body : "{}");
    for (const auto& message : answer.at("messages").as_array())
      if (message.at("kind").as_string() == kind) codes.emplace_back(message.at("code").as_string());
    return codes;
  }
  // Announces a stored payment option, has the shopper finish its page and completes it with
  // `fields`: the answer.
  boost::json::value addOption(const std::string& code, const std::string& announce,
                               const std::string& fields, const char* expected = "0000") {
    const std::string token =
        jsonText(demo.call("POST", kDemo + "/storedPaymentOptions/initAdd",
                           R"("accnoType": "WALLET", "paymentOptionCode": ")" + code + "\"" + announce),
                 "authorizationToken");
    const std::string complete =
        R"("paymentOptionCode": ")" + code + R"(", "authorizationToken": ")" + token + "\", " + fields;
    EXPECT_FALSE(token.empty());
    if (code == "VISA")
      runSteps(demo, {{"PUT", kDemo + "/storedPaymentOptions/completeAdd", complete, "4173"}});
    EXPECT_TRUE(sandbox.completeAuthorizationAsShopper(token));
    EXPECT_FALSE(sandbox.completeAuthorizationAsShopper("no-such-token"));
    return runSteps(demo, {{"PUT", kDemo + "/storedPaymentOptions/completeAdd", complete, expected}});
  }

  Sandbox sandbox;
  RestCaller demo{sandbox, sandbox.issueAccessToken()};
};

TEST_F(SandboxAccount, TransfersMoveMoneyAndChargeTheFeeOrChangeNothing) {
  runSteps(demo,
           {
               {"POST",
                kDemo + "/transfer",
                transfer("1000000002", "100.25"),
                "0000",
                {"recAccno=1000000002", "tansferAmount=100.25"}},
               {"POST", kDemo + "/transfer", transfer("second@brivane.test", "1"), "0000"},  // by e-mail
               // 1000 - 100.25 - 1 - two fees of 0.50
               {"GET", kDemo + "/balance", "accnoType=WALLET", "0000", {"avlBal=897.75"}},
               {"POST", kDemo + "/transfer", transfer("1000000002", "897.5"), "4136"},  // with the fee
               {"POST", kDemo + "/transfer", transfer("1000000002", "6000"), "4135"},   // per transaction
               {"POST", kDemo + "/transfer", transfer("nobody@x.test", "1"), "4133"},   // unknown
               {"POST", kDemo + "/transfer", transfer("1000000001", "1"), "4134"},      // to itself
               {"POST", kDemo + "/transfer", transfer("1000000002", "-5"), "4130"},     // not positive
               {"GET", kDemo + "/balance", "accnoType=WALLET", "0000", {"avlBal=897.75"}},
           });
  runSteps(as("second@brivane.test", "Second-Pass-2"),
           {{"GET", "/account/1000000002/balance", "accnoType=WALLET", "0000", {"avlBal=1101.25"}}});
}

TEST_F(SandboxAccount, TheStatementPagesAndSortsTheLedger) {
  for (const char* amount : {"1", "2", "3"})
    runSteps(demo, {{"POST", kDemo + "/transfer", transfer("1000000002", amount), "0000"}});
  // Seven entries: the opening balance, then per transfer the amount and its fee.
  runSteps(demo, {
                     {"GET",
                      kDemo + "/enquiry",
                      "top=2&skip=0&sortDirection=ASC",
                      "0000",
                      {"count=7", "entries.#=2", "entries.0.entryType=OPENING_BALANCE",
                       "entries.0.amount=1000", "entries.1.entryType=TRANSFER_OUT", "entries.1.amount=1"}},
                     {"GET",
                      kDemo + "/enquiry",
                      "top=2&skip=1&sortDirection=DESC",
                      "0000",
                      {"count=7", "entries.#=2", "entries.0.entryType=TRANSFER_OUT", "entries.0.amount=3",
                       "entries.1.entryType=FEE", "entries.1.amount=0.5"}},
                     {"GET",
                      kDemo + "/enquiry",
                      "top=0&skip=5&sortDirection=ASC",
                      "0000",
                      {"count=7", "entries.#=2", "entries.0.entryType=TRANSFER_OUT", "entries.0.amount=3",
                       "entries.1.entryType=FEE", "entries.1.amount=0.5"}},
                     {"GET", kDemo + "/enquiry", "top=3&skip=9&sortDirection=ASC", "0000", {"entries.#=0"}},
                     // A period after every booking holds nothing.
                     {"GET", kDemo + "/enquiry", "startDate=2099-12-31", "0000", {"entries.#=0"}},
                     {"GET", kDemo + "/enquiry", "skip=-1", "4121"},
                 });
}

TEST_F(SandboxAccount, ACardNeedsTheShopperThenAValidNumberAndIsVerifiedByCode) {
  const std::string card = R"("expiryMonth": 12, "expiryYear": 2099, "customerFullName": "Ada Lovelace", )";
  const std::string reference = jsonText(
      addOption("VISA", "", card + R"("carrierNumber": "4111111111111111")"), "storedPaymentOptionReference");
  ASSERT_FALSE(reference.empty());
  const std::string option = kDemo + "/storedPaymentOptions/" + reference;
  runSteps(demo, {
                     {"GET",
                      kDemo + "/storedPaymentOptions",
                      "accnoType=WALLET",
                      "0000",
                      {"paymentOptions.#=1", "paymentOptions.0.reference=" + reference,
                       "paymentOptions.0.carrierNumber=411111******1111", "paymentOptions.0.isDefault=true",
                       "paymentOptions.0.isVerifiable=true",
                       "paymentOptions.0.billingAddress.fullName=Ada Lovelace"}},
                     {"POST", option + "/initVerify", "", "0000"},
                 });
  const auto codes = outbox("verifyPaymentOption");
  ASSERT_EQ(codes.size(), 1u);
  const std::string wrong = codes[0] == "000000" ? "1" : "000000";
  runSteps(demo,
           {
               {"POST", option + "/completeVerify", R"("verificationCode": ")" + wrong + "\"", "4182"},
               {"POST", option + "/completeVerify", R"("verificationCode": ")" + codes[0] + "\"", "0000"},
               {"DELETE", option, "", "0000"},
               {"POST", option + "/setDefault", "", "4180"},
           });
}

TEST_F(SandboxAccount, ACardIsRefusedIfItFailsLuhnHasExpiredOrItsTokenWasUsed) {
  const std::string valid = R"("expiryMonth": 12, "expiryYear": 2099, "carrierNumber": "4111111111111111")";
  addOption("VISA", "", R"("expiryMonth": 12, "expiryYear": 2099, "carrierNumber": "4111111111111112")",
            "4175");
  addOption("VISA", "", R"("expiryMonth": 1, "expiryYear": 2001, "carrierNumber": "4111111111111111")",
            "4176");
  const std::string token = jsonText(demo.call("POST", kDemo + "/storedPaymentOptions/initAdd",
                                               R"("accnoType": "WALLET", "paymentOptionCode": "VISA")"),
                                     "authorizationToken");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(token));
  const std::string again =
      R"("paymentOptionCode": "VISA", "authorizationToken": ")" + token + "\", " + valid;
  runSteps(demo,
           {{"PUT", kDemo + "/storedPaymentOptions/completeAdd", again, "0000"},
            {"PUT", kDemo + "/storedPaymentOptions/completeAdd", again, "4174"}});  // a token stores once
}

TEST_F(SandboxAccount, ABankAccountNeedsAValidIbanAndGivesAMandatePdf) {
  const std::string mandate = R"(, "mandateReference": "MNDT-TEST-1")";
  addOption("BNKACCT", mandate, R"("carrierNumber": "DE89370400440532013001")", "4177");
  const std::string reference =
      jsonText(addOption("BNKACCT", mandate, R"("carrierNumber": "DE89370400440532013000")"),
               "storedPaymentOptionReference");
  const std::string fileData = jsonText(
      demo.call("GET", kDemo + "/storedPaymentOptions/" + reference + "/mandate", "accnoType=WALLET"),
      "fileData");
  EXPECT_EQ(fileData.rfind("JVBERi0xLj", 0), 0u) << fileData.substr(0, 16);  // base64 of "%PDF-1."
  runSteps(demo, {{"GET",
                   kDemo + "/storedPaymentOptions",
                   "accnoType=WALLET",
                   "0000",
                   {"paymentOptions.#=1", "paymentOptions.0.mandate.mandateReference=MNDT-TEST-1"}}});
}

TEST_F(SandboxAccount, DevicesMtanAndAccessCode) {
  const std::string device = R"("accnoType": "WALLET", "clientId": "phone-1", "deviceType": )";
  runSteps(demo,
           {
               {"POST", kDemo + "/registerDevice", device + "1", "0000"},
               {"POST", kDemo + "/registerDevice", device + "1", "4191"},        // the same device twice
               {"POST", kDemo + "/unregisterDevice", device + "\"1\"", "0000"},  // the text form finds it
               {"POST", kDemo + "/unregisterDevice", device + "1", "4192"},
               {"POST", kDemo + "/verifyMobilePhone", R"("mtanCode": "1")", "4162"},  // none requested
               {"POST", kDemo + "/requestMtan", "", "0000"},
           });
  const auto codes = outbox("mtan");
  ASSERT_EQ(codes.size(), 1u);
  runSteps(demo,
           {
               {"POST", kDemo + "/verifyMobilePhone", R"("mtanCode": ")" + codes[0] + "9\"", "4161"},
               {"POST", kDemo + "/verifyMobilePhone", R"("mtanCode": ")" + codes[0] + "\"", "0000"},
               {"GET", kDemo, "accnoType=WALLET", "0000", {"isMobilePhoneVerified=true", "accno=1000000001"}},
               {"POST", kDemo + "/checkPaymentAccessCode", R"("paymentAccessCode": "0000")", "4160"},
               {"POST", kDemo + "/checkPaymentAccessCode", R"("paymentAccessCode": "2468")", "0000"},
           });
}

TEST_F(SandboxAccount, ANewAccountsUserCanSignInAndOnlyHoldsItsOwnAccount) {
  const std::string create =
      R"("emailAddress": "new@brivane.test", "password": "New-Pass-3", "firstName": "Nora")";
  runSteps(demo,
           {{"PUT", "/account", create, "0000", {"accno=1000000003"}}, {"PUT", "/account", create, "4112"}});
  runSteps(as("new@brivane.test", "New-Pass-3"),
           {
               {"GET", "/account/find", "userId=new%40brivane.test", "0000", {"accno=1000000003"}},
               {"GET", "/account/1000000003/balance", "accnoType=WALLET", "0000", {"avlBal=0"}},
               {"POST",
                "/account/1000000003/updateInfo",
                R"("lastName": "Lovelace", "city": "London")",
                "0000",
                {"accno=1000000003"}},
               {"GET",
                "/account/1000000003",
                "accnoType=WALLET",
                "0000",
                {"firstName=Nora", "lastName=Lovelace", "city=London", "emailAddress=new@brivane.test",
                 "isMobilePhoneVerified=false"}},
               {"GET", kDemo + "/balance", "accnoType=WALLET", "4102"},
           });
}

TEST_F(SandboxAccount, FeesLimitsAndRecipientsFollowThePublishedTables) {
  const std::string limits = kDemo + "/checkLimits";
  runSteps(demo,
           {
               {"GET",
                kDemo + "/calculateFees",
                "paymentOptionCode=VISA&transactionTypeCode=PAYMENT&amount=100&currCode=USD",
                "0000",
                {"fees.#=1", "fees.0.feeAmount=1.5", "currencyConversionFee.percentageValue=2"}},  // 1.5 %
               {"POST", kDemo + "/transfer", transfer("1000000002", "10"), "0000"},
               {"GET",
                limits,
                "transactionTypeCode=TRANSFER&amount=500&currCode=EUR",
                "0000",
                {"limits.#=2", "limits.0.isError=false", "limits.1.isError=false"}},
               {"GET",
                limits,
                "transactionTypeCode=TRANSFER&amount=5500&currCode=EUR",
                "0000",
                {"limits.#=2", "limits.0.isError=true", "limits.1.isError=false"}},
               {"GET",
                limits,
                "transactionTypeCode=TRANSFER&amount=9995&currCode=EUR",
                "0000",  // + today's 10
                {"limits.#=2", "limits.0.isError=true", "limits.1.isError=true"}},
               {"GET",
                kDemo + "/transferRecipients",
                "top=5",
                "0000",
                {"recipients.#=1", "recipients.0.accno=1000000002",
                 "recipients.0.emailAddress=second@brivane.test"}},
               {"GET", "/account/verifyTransferRecipient", "carrierNumber=1000000002", "0000"},
               {"GET", "/account/verifyTransferRecipient", "carrierNumber=x%40y.z", "4133"},
           });
}

}  // namespace
}  // namespace brivane::sandbox
