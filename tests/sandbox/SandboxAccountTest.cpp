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

// The account platform of the sandbox, driven through the SDK as an integrator would.
class SandboxAccount : public ::testing::Test {
 protected:
  const QPAccountAPI& api() { return *client.provider->accountAPI(); }

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
    Captured<QPBalanceEnquiryResponse> captured;
    api().balanceEnquiry(std::make_shared<QPBalanceEnquiryRequest>("WALLET"), accno, captured.completion());
    auto response = ok(captured);
    return response && response->avlBal ? response->avlBal->description() : "?";
  }

  Captured<QPTransferAmountResponse>& transfer(const char* to, double amount) {
    transfers_.push_back(std::make_unique<Captured<QPTransferAmountResponse>>());
    api().transferAmount(
        std::make_shared<QPTransferAmountRequest>("WALLET", to, QPNumber(amount), "EUR", "Test", QPNumber(1)),
        kDemo, transfers_.back()->completion());
    return *transfers_.back();
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
    httplib::Client http(client.sandbox.baseUrl());
    auto res = http.Get("/sandbox/outbox");
    std::vector<std::string> codes;
    if (!res) return codes;
    const boost::json::value answer = boost::json::parse(res->body);
    for (const auto& message : answer.at("messages").as_array())
      if (message.at("kind").as_string() == kind) codes.emplace_back(message.at("code").as_string());
    return codes;
  }

  SandboxClient client;

 private:
  std::vector<std::unique_ptr<Captured<QPTransferAmountResponse>>> transfers_;
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
  struct Case {
    const char* to;
    double amount;
    long code;
  };
  const Case cases[] = {
      {kSecond, 999.75, 4136},     // with the fee more than the balance
      {kSecond, 6000, 4135},       // above the per-transaction limit
      {"nobody@x.test", 1, 4133},  // unknown recipient
      {kDemo, 1, 4134},            // to itself
      {kSecond, -5, 4130},         // not positive
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.code);
    EXPECT_EQ(refused(transfer(c.to, c.amount)), c.code);
  }
  EXPECT_EQ(balance(kDemo), "1000");
  signIn("second@brivane.test", "Second-Pass-2");
  EXPECT_EQ(balance(kSecond), "1000");
}

TEST_F(SandboxAccount, TheStatementPagesAndSortsTheLedger) {
  for (double amount : {1.0, 2.0, 3.0}) ok(transfer(kSecond, amount));
  struct Case {
    std::int64_t top, skip;
    const char* direction;
    std::vector<std::string> types;
    std::vector<std::string> amounts;
  };
  // Seven entries: the opening balance, then per transfer the amount and its fee.
  const std::vector<Case> cases = {
      {2, 0, "ASC", {"OPENING_BALANCE", "TRANSFER_OUT"}, {"1000", "1"}},
      {2, 1, "DESC", {"TRANSFER_OUT", "FEE"}, {"3", "0.5"}},
      {0, 5, "ASC", {"TRANSFER_OUT", "FEE"}, {"3", "0.5"}},
      {3, 9, "ASC", {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.top) + "/" + std::to_string(c.skip) + c.direction);
    auto request = std::make_shared<QPAccountEnquiryRequest>();
    request->accnoType = "WALLET";
    request->top = c.top;
    request->skip = c.skip;
    request->sortDirection = c.direction;
    Captured<QPAccountEnquiryResponse> captured;
    api().accountEnquiry(request, kDemo, captured.completion());
    auto response = ok(captured);
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
  Captured<QPAccountEnquiryResponse> none;
  api().accountEnquiry(later, kDemo, none.completion());
  auto response = ok(none);
  ASSERT_TRUE(response && response->entries);
  EXPECT_TRUE(response->entries->empty());

  auto negative = std::make_shared<QPAccountEnquiryRequest>();
  negative->skip = -1;
  Captured<QPAccountEnquiryResponse> refusedPage;
  api().accountEnquiry(negative, kDemo, refusedPage.completion());
  EXPECT_EQ(refused(refusedPage), 4121);
}

TEST_F(SandboxAccount, AddingACardNeedsTheShopperThenAValidNumber) {
  Captured<QPInitAddStoredPaymentOptionResponse> init;
  api().initAddStoredPaymentOption(std::make_shared<QPInitAddStoredPaymentOptionRequest>("WALLET", "VISA"),
                                   kDemo, init.completion());
  auto token = ok(init)->authorizationToken.value_or("");
  ASSERT_FALSE(token.empty());

  auto complete = [&](const char* number, int month, int year) {
    auto request = std::make_shared<QPCompleteAddStoredPaymentOptionRequest>();
    request->accnoType = "WALLET";
    request->paymentOptionCode = "VISA";
    request->authorizationToken = token;
    request->carrierNumber = number;
    request->expiryMonth = month;
    request->expiryYear = year;
    request->customerFullName = "Ada Lovelace";
    auto captured = std::make_shared<Captured<QPCompleteAddStoredPaymentOptionResponse>>();
    api().completeAddStoredPaymentOption(request, kDemo, captured->completion());
    return captured;
  };
  EXPECT_EQ(refused(*complete("4111111111111111", 12, 2099)), 4173);  // page not finished yet
  ASSERT_TRUE(client.sandbox.completeAuthorizationAsShopper(token));
  EXPECT_FALSE(client.sandbox.completeAuthorizationAsShopper("no-such-token"));
  EXPECT_EQ(refused(*complete("4111111111111112", 12, 2099)), 4175);  // Luhn
  EXPECT_EQ(refused(*complete("4111111111111111", 1, 2001)), 4176);   // expired
  auto stored = complete("4111111111111111", 12, 2099);
  auto reference = ok(*stored)->storedPaymentOptionReference.value_or("");
  ASSERT_FALSE(reference.empty());
  EXPECT_EQ(refused(*complete("4111111111111111", 12, 2099)), 4174);  // a token stores once

  Captured<QPGetStoredPaymentOptionsResponse> list;
  api().getStoredPaymentOptions(std::make_shared<QPGetStoredPaymentOptionsRequest>("WALLET"), kDemo,
                                list.completion());
  auto options = ok(list);
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
  Captured<QPResponseBase> initVerify, wrong, right;
  api().initVerifyStoredPaymentOption(std::make_shared<QPInitVerifyStoredPaymentOptionRequest>("WALLET"),
                                      kDemo, reference, initVerify.completion());
  ok(initVerify);
  auto codes = outbox("verifyPaymentOption");
  ASSERT_EQ(codes.size(), 1u);
  api().completeVerifyStoredPaymentOption(std::make_shared<QPCompleteVerifyStoredPaymentOptionRequest>(
                                              "WALLET", codes[0] == "000000" ? "1" : "000000"),
                                          kDemo, reference, wrong.completion());
  EXPECT_EQ(refused(wrong), 4182);
  api().completeVerifyStoredPaymentOption(
      std::make_shared<QPCompleteVerifyStoredPaymentOptionRequest>("WALLET", codes[0]), kDemo, reference,
      right.completion());
  ok(right);

  Captured<QPResponseBase> removed, again;
  api().deleteStoredPaymentOption(std::make_shared<QPDeleteStoredPaymentOptionRequest>("WALLET"), kDemo,
                                  reference, removed.completion());
  ok(removed);
  api().setDefaultStoredPaymentOption(std::make_shared<QPSetDefaultStoredPaymentOptionRequest>("WALLET"),
                                      kDemo, reference, again.completion());
  EXPECT_EQ(refused(again), 4180);
}

TEST_F(SandboxAccount, ABankAccountNeedsAValidIbanAndGivesAMandatePdf) {
  Captured<QPInitAddStoredPaymentOptionResponse> init;
  auto announce = std::make_shared<QPInitAddStoredPaymentOptionRequest>("WALLET", "BNKACCT");
  announce->mandateReference = "MNDT-TEST-1";
  api().initAddStoredPaymentOption(announce, kDemo, init.completion());
  auto token = ok(init)->authorizationToken.value_or("");
  ASSERT_TRUE(client.sandbox.completeAuthorizationAsShopper(token));
  auto complete = [&](const char* iban) {
    auto request = std::make_shared<QPCompleteAddStoredPaymentOptionRequest>();
    request->paymentOptionCode = "BNKACCT";
    request->authorizationToken = token;
    request->carrierNumber = iban;
    auto captured = std::make_shared<Captured<QPCompleteAddStoredPaymentOptionResponse>>();
    api().completeAddStoredPaymentOption(request, kDemo, captured->completion());
    return captured;
  };
  EXPECT_EQ(refused(*complete("DE89370400440532013001")), 4177);
  auto reference = ok(*complete("DE89370400440532013000"))->storedPaymentOptionReference.value_or("");
  Captured<QPGetSepaMandateResponse> mandate;
  api().getSepaMandate(std::make_shared<QPGetSepaMandateRequest>("WALLET"), kDemo, reference,
                       mandate.completion());
  auto fileData = ok(mandate)->fileData.value_or("");
  EXPECT_EQ(fileData.rfind("JVBERi0xLj", 0), 0u) << fileData.substr(0, 16);  // base64 of "%PDF-1."

  Captured<QPGetStoredPaymentOptionsResponse> list;
  api().getStoredPaymentOptions(std::make_shared<QPGetStoredPaymentOptionsRequest>("WALLET"), kDemo,
                                list.completion());
  auto options = ok(list);
  ASSERT_TRUE(options && options->paymentOptions && options->paymentOptions->size() == 1);
  ASSERT_TRUE(options->paymentOptions->front()->mandate);
  EXPECT_EQ(options->paymentOptions->front()->mandate->mandateReference, "MNDT-TEST-1");
}

TEST_F(SandboxAccount, DevicesMtanAndAccessCode) {
  auto device = [&](bool add) {
    auto captured = std::make_shared<Captured<QPResponseBase>>();
    if (add)
      api().registerAccountDevice(
          std::make_shared<QPRegisterAccountDeviceRequest>("WALLET", QPNumber(1), "phone-1"), kDemo,
          captured->completion());
    else
      api().unregisterAccountDevice(
          std::make_shared<QPUnregisterAccountDeviceRequest>("WALLET", QPNumber(1), "phone-1"), kDemo,
          captured->completion());
    return captured;
  };
  ok(*device(true));
  EXPECT_EQ(refused(*device(true)), 4191);  // the same device twice
  ok(*device(false));                       // the text form of the type finds it
  EXPECT_EQ(refused(*device(false)), 4192);

  Captured<QPResponseBase> early, request, wrong, right, badCode, goodCode;
  api().verifyMobilePhone(std::make_shared<QPVerifyMobilePhoneRequest>("WALLET", "1"), kDemo,
                          early.completion());
  EXPECT_EQ(refused(early), 4162);
  api().requestMtan(std::make_shared<QPRequestMtanRequest>("WALLET"), kDemo, request.completion());
  ok(request);
  auto codes = outbox("mtan");
  ASSERT_EQ(codes.size(), 1u);
  api().verifyMobilePhone(std::make_shared<QPVerifyMobilePhoneRequest>("WALLET", codes[0] + "9"), kDemo,
                          wrong.completion());
  EXPECT_EQ(refused(wrong), 4161);
  api().verifyMobilePhone(std::make_shared<QPVerifyMobilePhoneRequest>("WALLET", codes[0]), kDemo,
                          right.completion());
  ok(right);
  Captured<QPGetAccountInformationResponse> information;
  api().getAccountInformation(std::make_shared<QPGetAccountInformationRequest>("WALLET"), kDemo,
                              information.completion());
  auto info = ok(information);
  ASSERT_TRUE(info);
  EXPECT_TRUE(info->isMobilePhoneVerified());
  EXPECT_EQ(info->accno, kDemo);

  api().checkPaymentAccessCode(std::make_shared<QPCheckPaymentAccessCodeRequest>("WALLET", "0000"), kDemo,
                               badCode.completion());
  EXPECT_EQ(refused(badCode), 4160);
  api().checkPaymentAccessCode(std::make_shared<QPCheckPaymentAccessCodeRequest>("WALLET", "2468"), kDemo,
                               goodCode.completion());
  ok(goodCode);
}

TEST_F(SandboxAccount, ANewAccountsUserCanSignInAndOnlyHoldsItsOwnAccount) {
  auto request = std::make_shared<QPCreateAccountRequest>();
  request->emailAddress = "new@brivane.test";
  request->password = "New-Pass-3";
  request->firstName = "Nora";
  Captured<QPCreateAccountResponse> created, duplicate;
  api().createAccount(request, created.completion());
  auto account = ok(created);
  ASSERT_TRUE(account && account->accno);
  EXPECT_EQ(*account->accno, "1000000003");
  api().createAccount(request, duplicate.completion());
  EXPECT_EQ(refused(duplicate), 4112);

  signIn("new@brivane.test", "New-Pass-3");

  Captured<QPFindAccountResponse> found;
  api().findAccount(std::make_shared<QPFindAccountRequest>("new@brivane.test"), found.completion());
  EXPECT_EQ(ok(found)->accno, account->accno);
  EXPECT_EQ(balance(account->accno->c_str()), "0");

  auto update = std::make_shared<QPUpdateAccountInformationRequest>();
  update->lastName = "Lovelace";
  update->city = "London";
  Captured<QPCreateAccountResponse> updated;
  api().updateAccountInformation(update, account->accno, updated.completion());
  EXPECT_EQ(ok(updated)->accno, account->accno);
  Captured<QPGetAccountInformationResponse> information;
  api().getAccountInformation(std::make_shared<QPGetAccountInformationRequest>("WALLET"), account->accno,
                              information.completion());
  auto info = ok(information);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->firstName, "Nora");  // kept from the creation
  EXPECT_EQ(info->lastName, "Lovelace");
  EXPECT_EQ(info->city, "London");
  EXPECT_EQ(info->emailAddress, "new@brivane.test");
  EXPECT_FALSE(info->isMobilePhoneVerified());
  ASSERT_TRUE(info->getIsMobilePhoneVerified());
  Captured<QPBalanceEnquiryResponse> foreign;
  api().balanceEnquiry(std::make_shared<QPBalanceEnquiryRequest>("WALLET"), kDemo, foreign.completion());
  EXPECT_EQ(refused(foreign), 4102);
}

TEST_F(SandboxAccount, FeesLimitsAndRecipientsFollowThePublishedTables) {
  Captured<QPCalculateFeesResponse> fees;
  api().calculateFees(
      std::make_shared<QPCalculateFeesRequest>("WALLET", "VISA", "PAYMENT", QPNumber(100), "USD"), kDemo,
      fees.completion());
  auto feeAnswer = ok(fees);
  ASSERT_TRUE(feeAnswer && feeAnswer->fees && feeAnswer->fees->size() == 1);
  EXPECT_EQ(feeAnswer->fees->front()->feeAmount->description(), "1.5");  // 1.5 % of 100
  ASSERT_TRUE(feeAnswer->currencyConversionFee);
  EXPECT_EQ(feeAnswer->currencyConversionFee->percentageAmount->description(), "2");

  ok(transfer(kSecond, 10));
  struct LimitCase {
    double amount;
    bool perTransaction, perDay;
  };
  for (const LimitCase& c : {LimitCase{500, false, false}, LimitCase{5500, true, false},
                             LimitCase{9995, true, true}}) {  // with today's 10: 10,005 > 10,000
    SCOPED_TRACE(c.amount);
    Captured<QPCheckLimitsResponse> limits;
    api().checkLimits(std::make_shared<QPCheckLimitsRequest>("WALLET", "TRANSFER", QPNumber(c.amount), "EUR"),
                      kDemo, limits.completion());
    auto limitAnswer = ok(limits);
    ASSERT_TRUE(limitAnswer && limitAnswer->limits && limitAnswer->limits->size() == 2);
    EXPECT_EQ((*limitAnswer->limits)[0]->isError(), c.perTransaction);
    EXPECT_EQ((*limitAnswer->limits)[1]->isError(), c.perDay);
  }

  Captured<QPGetTransferRecipientsResponse> recipients;
  api().getTransferRecipients(
      std::make_shared<QPGetTransferRecipientsRequest>("WALLET", std::nullopt, QPNumber(5), std::nullopt),
      kDemo, recipients.completion());
  auto recipientAnswer = ok(recipients);
  ASSERT_TRUE(recipientAnswer && recipientAnswer->recipients && recipientAnswer->recipients->size() == 1);
  EXPECT_EQ(recipientAnswer->recipients->front()->accno, kSecond);
  EXPECT_EQ(recipientAnswer->recipients->front()->emailAddress, "second@brivane.test");

  Captured<QPResponseBase> known, unknown;
  api().verifyTransferRecipient(std::make_shared<QPVerifyTransferRecipientRequest>(kSecond),
                                known.completion());
  ok(known);
  api().verifyTransferRecipient(std::make_shared<QPVerifyTransferRecipientRequest>("x@y.z"),
                                unknown.completion());
  EXPECT_EQ(refused(unknown), 4133);
}

}  // namespace
}  // namespace brivane
