#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::SandboxClient;

constexpr const char* kDemo = "1000000001";
constexpr const char* kSecond = "1000000002";

// The response type of an account operation taking a request, up to two identifiers and a completion.
template <class>
struct ResponseOf;
template <class R, class Q>
struct ResponseOf<void (QPAccountAPI::*)(std::shared_ptr<const Q>, QPCompletion<R>) const> {
  using type = R;
};
template <class R, class Q, class A>
struct ResponseOf<void (QPAccountAPI::*)(std::shared_ptr<const Q>, A, QPCompletion<R>) const> {
  using type = R;
};
template <class R, class Q, class A, class B>
struct ResponseOf<void (QPAccountAPI::*)(std::shared_ptr<const Q>, A, B, QPCompletion<R>) const> {
  using type = R;
};

// The account platform of the sandbox, driven through the SDK as an integrator would.
class SandboxAccount : public ::testing::Test {
 protected:
  const QPAccountAPI& api() { return *client.provider->accountAPI(); }

  // Starts `operation` with `request` and `ids`; what it captures lives as long as the test.
  template <class Operation, class Request, class... Ids>
  auto& call(Operation operation, std::shared_ptr<Request> request, Ids... ids) {
    auto captured = std::make_shared<Captured<typename ResponseOf<Operation>::type>>();
    kept_.push_back(captured);
    (api().*operation)(std::move(request), ids..., captured->completion());
    return *captured;
  }
  template <class Response>
  std::shared_ptr<Response> ok(Captured<Response>& captured) {
    EXPECT_TRUE(captured.wait());
    EXPECT_FALSE(captured.error) << (captured.error ? captured.error->toString() : "");
    return captured.response;
  }
  template <class Response>
  long refused(Captured<Response>& captured) {
    EXPECT_TRUE(captured.wait());
    EXPECT_EQ(captured.calls, 1);
    return captured.error ? captured.error->code() : 0;
  }

  std::string balance(const char* accno) {
    auto response =
        ok(call(&QPAccountAPI::balanceEnquiry, std::make_shared<QPBalanceEnquiryRequest>("WALLET"), accno));
    return response && response->avlBal ? response->avlBal->description() : "?";
  }
  Captured<QPTransferAmountResponse>& transfer(const char* to, double amount) {
    return call(
        &QPAccountAPI::transferAmount,
        std::make_shared<QPTransferAmountRequest>("WALLET", to, QPNumber(amount), "EUR", "Test", QPNumber(1)),
        kDemo);
  }

  /// Calls from now on as `user` (signed in by password).
  void signIn(const char* user, const char* password) {
    Captured<QPAccessTokenResponse> token;
    client.provider->authenticationAPI()->getAccessTokenWithUserName(user, password, "password",
                                                                     token.completion());
    ASSERT_TRUE(token.wait());
    ASSERT_FALSE(token.error);
    client.tokens->setAccessToken(token.response->access_token.value_or(""));
  }

  /// The codes of the messages in the sandbox's outbox of `kind`, oldest first.
  std::vector<std::string> outbox(const std::string& kind) {
    auto res = httplib::Client(client.sandbox.baseUrl()).Get("/sandbox/outbox");
    std::vector<std::string> codes;
    if (!res) return codes;
    const boost::json::value answer = boost::json::parse(res->body);
    for (const auto& message : answer.at("messages").as_array())
      if (message.at("kind").as_string() == kind) codes.emplace_back(message.at("code").as_string());
    return codes;
  }

  SandboxClient client;

 private:
  std::vector<std::shared_ptr<void>> kept_;
};

TEST_F(SandboxAccount, ATransferMovesMoneyAndChargesTheTransferFee) {
  auto done = ok(transfer(kSecond, 100.25));
  ASSERT_TRUE(done);
  EXPECT_EQ(done->recAccno, kSecond);
  EXPECT_EQ(done->tansferAmount->description(), "100.25");
  ok(transfer("second@brivane.test", 1));  // a recipient by e-mail
  EXPECT_EQ(balance(kDemo), "897.75");     // 1000 - 100.25 - 1 - two fees of 0.50
  signIn("second@brivane.test", "Second-Pass-2");
  EXPECT_EQ(balance(kSecond), "1101.25");
}

TEST_F(SandboxAccount, RefusedTransfersLeaveTheBalanceAlone) {
  const struct {
    const char* to;
    double amount;
    long code;
  } cases[] = {
      {kSecond, 999.75, 4136},     // with the fee more than the balance
      {kSecond, 6000, 4135},       // above the per-transaction limit
      {"nobody@x.test", 1, 4133},  // unknown recipient
      {kDemo, 1, 4134},            // to itself
      {kSecond, -5, 4130},         // not positive
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code);
    EXPECT_EQ(refused(transfer(c.to, c.amount)), c.code);
  }
  EXPECT_EQ(balance(kDemo), "1000");
  signIn("second@brivane.test", "Second-Pass-2");
  EXPECT_EQ(balance(kSecond), "1000");
}

TEST_F(SandboxAccount, TheStatementPagesAndSortsTheLedger) {
  for (double amount : {1.0, 2.0, 3.0}) ok(transfer(kSecond, amount));
  const struct {
    std::int64_t top, skip;
    const char* direction;
    std::vector<std::string> types, amounts;
  } cases[] = {
      // Seven entries: the opening balance, then per transfer the amount and its fee.
      {2, 0, "ASC", {"OPENING_BALANCE", "TRANSFER_OUT"}, {"1000", "1"}},
      {2, 1, "DESC", {"TRANSFER_OUT", "FEE"}, {"3", "0.5"}},
      {0, 5, "ASC", {"TRANSFER_OUT", "FEE"}, {"3", "0.5"}},
      {3, 9, "ASC", {}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.top) + "/" + std::to_string(c.skip) + c.direction);
    auto request = std::make_shared<QPAccountEnquiryRequest>();
    request->accnoType = "WALLET";
    request->top = c.top;
    request->skip = c.skip;
    request->sortDirection = c.direction;
    auto response = ok(call(&QPAccountAPI::accountEnquiry, request, kDemo));
    ASSERT_TRUE(response && response->entries);
    EXPECT_EQ(response->count->description(), "7");
    std::vector<std::string> types, amounts;
    for (const auto& entry : *response->entries) {
      types.push_back(entry->entryType.value_or("?"));
      amounts.push_back(entry->amount ? entry->amount->description() : "?");
    }
    EXPECT_EQ(types, c.types);
    EXPECT_EQ(amounts, c.amounts);
  }
  // A period after every booking holds nothing.
  auto later = std::make_shared<QPAccountEnquiryRequest>();
  later->startDate = std::chrono::system_clock::now() + std::chrono::hours(48);
  auto response = ok(call(&QPAccountAPI::accountEnquiry, later, kDemo));
  ASSERT_TRUE(response && response->entries);
  EXPECT_TRUE(response->entries->empty());
  auto negative = std::make_shared<QPAccountEnquiryRequest>();
  negative->skip = -1;
  EXPECT_EQ(refused(call(&QPAccountAPI::accountEnquiry, negative, kDemo)), 4121);
}

TEST_F(SandboxAccount, AddingACardNeedsTheShopperThenAValidNumber) {
  const std::string token =
      ok(call(&QPAccountAPI::initAddStoredPaymentOption,
              std::make_shared<QPInitAddStoredPaymentOptionRequest>("WALLET", "VISA"), kDemo))
          ->authorizationToken.value_or("");
  ASSERT_FALSE(token.empty());
  auto complete = [&](const char* number, int month, int year) -> auto& {
    auto request = std::make_shared<QPCompleteAddStoredPaymentOptionRequest>();
    request->accnoType = "WALLET";
    request->paymentOptionCode = "VISA";
    request->authorizationToken = token;
    request->carrierNumber = number;
    request->expiryMonth = month;
    request->expiryYear = year;
    request->customerFullName = "Ada Lovelace";
    return call(&QPAccountAPI::completeAddStoredPaymentOption, request, kDemo);
  };
  EXPECT_EQ(refused(complete("4111111111111111", 12, 2099)), 4173);  // page not finished yet
  ASSERT_TRUE(client.sandbox.completeAuthorizationAsShopper(token));
  EXPECT_FALSE(client.sandbox.completeAuthorizationAsShopper("no-such-token"));
  EXPECT_EQ(refused(complete("4111111111111112", 12, 2099)), 4175);  // Luhn
  EXPECT_EQ(refused(complete("4111111111111111", 1, 2001)), 4176);   // expired
  const std::string reference =
      ok(complete("4111111111111111", 12, 2099))->storedPaymentOptionReference.value_or("");
  ASSERT_FALSE(reference.empty());
  EXPECT_EQ(refused(complete("4111111111111111", 12, 2099)), 4174);  // a token stores once

  auto options = ok(call(&QPAccountAPI::getStoredPaymentOptions,
                         std::make_shared<QPGetStoredPaymentOptionsRequest>("WALLET"), kDemo));
  ASSERT_TRUE(options && options->paymentOptions);
  ASSERT_EQ(options->paymentOptions->size(), 1u);
  const auto& card = *options->paymentOptions->front();
  EXPECT_EQ(card.reference, reference);
  EXPECT_EQ(card.carrierNumber, "411111******1111");
  ASSERT_TRUE(card.isDefault() && card.isVerifiable());
  EXPECT_TRUE(card.isDefault()->boolValue());
  EXPECT_TRUE(card.isVerifiable()->boolValue());
  ASSERT_TRUE(card.billingAddress);
  EXPECT_EQ(card.billingAddress->fullName, "Ada Lovelace");

  // Two-step verification with the code from the outbox.
  ok(call(&QPAccountAPI::initVerifyStoredPaymentOption,
          std::make_shared<QPInitVerifyStoredPaymentOptionRequest>("WALLET"), kDemo, reference));
  auto codes = outbox("verifyPaymentOption");
  ASSERT_EQ(codes.size(), 1u);
  auto verify = [&](const std::string& code) -> auto& {
    return call(&QPAccountAPI::completeVerifyStoredPaymentOption,
                std::make_shared<QPCompleteVerifyStoredPaymentOptionRequest>("WALLET", code), kDemo,
                reference);
  };
  EXPECT_EQ(refused(verify(codes[0] == "000000" ? "1" : "000000")), 4182);
  ok(verify(codes[0]));

  ok(call(&QPAccountAPI::deleteStoredPaymentOption,
          std::make_shared<QPDeleteStoredPaymentOptionRequest>("WALLET"), kDemo, reference));
  EXPECT_EQ(
      refused(call(&QPAccountAPI::setDefaultStoredPaymentOption,
                   std::make_shared<QPSetDefaultStoredPaymentOptionRequest>("WALLET"), kDemo, reference)),
      4180);
}

TEST_F(SandboxAccount, ABankAccountNeedsAValidIbanAndGivesAMandatePdf) {
  auto announce = std::make_shared<QPInitAddStoredPaymentOptionRequest>("WALLET", "BNKACCT");
  announce->mandateReference = "MNDT-TEST-1";
  const std::string token =
      ok(call(&QPAccountAPI::initAddStoredPaymentOption, announce, kDemo))->authorizationToken.value_or("");
  ASSERT_TRUE(client.sandbox.completeAuthorizationAsShopper(token));
  auto complete = [&](const char* iban) -> auto& {
    auto request = std::make_shared<QPCompleteAddStoredPaymentOptionRequest>();
    request->paymentOptionCode = "BNKACCT";
    request->authorizationToken = token;
    request->carrierNumber = iban;
    return call(&QPAccountAPI::completeAddStoredPaymentOption, request, kDemo);
  };
  EXPECT_EQ(refused(complete("DE89370400440532013001")), 4177);
  const std::string reference =
      ok(complete("DE89370400440532013000"))->storedPaymentOptionReference.value_or("");
  const std::string fileData = ok(call(&QPAccountAPI::getSepaMandate,
                                       std::make_shared<QPGetSepaMandateRequest>("WALLET"), kDemo, reference))
                                   ->fileData.value_or("");
  EXPECT_EQ(fileData.rfind("JVBERi0xLj", 0), 0u) << fileData.substr(0, 16);  // base64 of "%PDF-1."

  auto options = ok(call(&QPAccountAPI::getStoredPaymentOptions,
                         std::make_shared<QPGetStoredPaymentOptionsRequest>("WALLET"), kDemo));
  ASSERT_TRUE(options && options->paymentOptions && options->paymentOptions->size() == 1);
  ASSERT_TRUE(options->paymentOptions->front()->mandate);
  EXPECT_EQ(options->paymentOptions->front()->mandate->mandateReference, "MNDT-TEST-1");
}

TEST_F(SandboxAccount, DevicesMtanAndAccessCode) {
  auto add = std::make_shared<QPRegisterAccountDeviceRequest>("WALLET", QPNumber(1), "phone-1");
  auto remove = std::make_shared<QPUnregisterAccountDeviceRequest>("WALLET", QPNumber(1), "phone-1");
  ok(call(&QPAccountAPI::registerAccountDevice, add, kDemo));
  EXPECT_EQ(refused(call(&QPAccountAPI::registerAccountDevice, add, kDemo)), 4191);  // the same device twice
  ok(call(&QPAccountAPI::unregisterAccountDevice, remove, kDemo));  // the text form of the type finds it
  EXPECT_EQ(refused(call(&QPAccountAPI::unregisterAccountDevice, remove, kDemo)), 4192);

  auto verify = [&](const std::string& code) -> auto& {
    return call(&QPAccountAPI::verifyMobilePhone,
                std::make_shared<QPVerifyMobilePhoneRequest>("WALLET", code), kDemo);
  };
  EXPECT_EQ(refused(verify("1")), 4162);  // before a code was sent
  ok(call(&QPAccountAPI::requestMtan, std::make_shared<QPRequestMtanRequest>("WALLET"), kDemo));
  auto codes = outbox("mtan");
  ASSERT_EQ(codes.size(), 1u);
  EXPECT_EQ(refused(verify(codes[0] + "9")), 4161);
  ok(verify(codes[0]));
  auto info = ok(call(&QPAccountAPI::getAccountInformation,
                      std::make_shared<QPGetAccountInformationRequest>("WALLET"), kDemo));
  ASSERT_TRUE(info);
  EXPECT_TRUE(info->isMobilePhoneVerified());
  EXPECT_EQ(info->accno, kDemo);

  auto accessCode = [&](const char* code) -> auto& {
    return call(&QPAccountAPI::checkPaymentAccessCode,
                std::make_shared<QPCheckPaymentAccessCodeRequest>("WALLET", code), kDemo);
  };
  EXPECT_EQ(refused(accessCode("0000")), 4160);
  ok(accessCode("2468"));
}

TEST_F(SandboxAccount, ANewAccountsUserCanSignInAndOnlyHoldsItsOwnAccount) {
  auto request = std::make_shared<QPCreateAccountRequest>();
  request->emailAddress = "new@brivane.test";
  request->password = "New-Pass-3";
  request->firstName = "Nora";
  auto account = ok(call(&QPAccountAPI::createAccount, request));
  ASSERT_TRUE(account && account->accno);
  EXPECT_EQ(*account->accno, "1000000003");
  EXPECT_EQ(refused(call(&QPAccountAPI::createAccount, request)), 4112);

  signIn("new@brivane.test", "New-Pass-3");
  EXPECT_EQ(
      ok(call(&QPAccountAPI::findAccount, std::make_shared<QPFindAccountRequest>("new@brivane.test")))->accno,
      account->accno);
  EXPECT_EQ(balance(account->accno->c_str()), "0");

  auto update = std::make_shared<QPUpdateAccountInformationRequest>();
  update->lastName = "Lovelace";
  update->city = "London";
  EXPECT_EQ(ok(call(&QPAccountAPI::updateAccountInformation, update, account->accno))->accno, account->accno);
  auto info = ok(call(&QPAccountAPI::getAccountInformation,
                      std::make_shared<QPGetAccountInformationRequest>("WALLET"), account->accno));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->firstName, "Nora");  // kept from the creation
  EXPECT_EQ(info->lastName, "Lovelace");
  EXPECT_EQ(info->city, "London");
  EXPECT_EQ(info->emailAddress, "new@brivane.test");
  EXPECT_FALSE(info->isMobilePhoneVerified());
  ASSERT_TRUE(info->getIsMobilePhoneVerified());
  EXPECT_EQ(refused(call(&QPAccountAPI::balanceEnquiry, std::make_shared<QPBalanceEnquiryRequest>("WALLET"),
                         kDemo)),
            4102);
}

TEST_F(SandboxAccount, FeesLimitsAndRecipientsFollowThePublishedTables) {
  auto fees = ok(call(
      &QPAccountAPI::calculateFees,
      std::make_shared<QPCalculateFeesRequest>("WALLET", "VISA", "PAYMENT", QPNumber(100), "USD"), kDemo));
  ASSERT_TRUE(fees && fees->fees && fees->fees->size() == 1);
  EXPECT_EQ(fees->fees->front()->feeAmount->description(), "1.5");  // 1.5 % of 100
  ASSERT_TRUE(fees->currencyConversionFee);
  EXPECT_EQ(fees->currencyConversionFee->percentageAmount->description(), "2");

  ok(transfer(kSecond, 10));
  const struct {
    double amount;
    bool perTransaction, perDay;
  } cases[] = {{500, false, false}, {5500, true, false}, {9995, true, true}};  // with today's 10: 10,005
  for (const auto& c : cases) {
    SCOPED_TRACE(c.amount);
    auto limits = ok(
        call(&QPAccountAPI::checkLimits,
             std::make_shared<QPCheckLimitsRequest>("WALLET", "TRANSFER", QPNumber(c.amount), "EUR"), kDemo));
    ASSERT_TRUE(limits && limits->limits && limits->limits->size() == 2);
    EXPECT_EQ((*limits->limits)[0]->isError(), c.perTransaction);
    EXPECT_EQ((*limits->limits)[1]->isError(), c.perDay);
  }

  auto recipients = ok(call(
      &QPAccountAPI::getTransferRecipients,
      std::make_shared<QPGetTransferRecipientsRequest>("WALLET", std::nullopt, QPNumber(5), std::nullopt),
      kDemo));
  ASSERT_TRUE(recipients && recipients->recipients && recipients->recipients->size() == 1);
  EXPECT_EQ(recipients->recipients->front()->accno, kSecond);
  EXPECT_EQ(recipients->recipients->front()->emailAddress, "second@brivane.test");
  ok(call(&QPAccountAPI::verifyTransferRecipient,
          std::make_shared<QPVerifyTransferRecipientRequest>(kSecond)));
  EXPECT_EQ(refused(call(&QPAccountAPI::verifyTransferRecipient,
                         std::make_shared<QPVerifyTransferRecipientRequest>("x@y.z"))),
            4133);
}

}  // namespace
}  // namespace brivane
