#pragma once

#include <memory>
#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/account/QPAccountCreationTypes.h"
#include "brivane/api/account/QPAccountInformationTypes.h"
#include "brivane/api/account/QPDeviceTypes.h"
#include "brivane/api/account/QPStoredPaymentOptionTypes.h"
#include "brivane/api/account/QPTransferTypes.h"
#include "brivane/api/core/QPBaseAPI.h"

namespace brivane {

/// The account family of the platform's API: accounts, statements and balances, stored payment
/// options, transfers with fees and limits, devices, mTAN and access codes.
///
/// Every operation is one call of the common pattern: GET operations send the request's
/// parameters as query items, the others as a JSON body (the DELETE too). Identifiers are put
/// into the path as they are (an `accno` holding "/" deepens the path). A nil request or nil
/// identifier is a client error (`brivane.client`, code 1) through the completion, with nothing
/// sent; an empty identifier is sent as an empty path segment.
/// Thread rules: callable from any thread; the request is read before the call returns; the
/// completion runs once, asynchronously, on the main queue.
class BRIVANE_API QPAccountAPI : public QPBaseAPI {
 public:
  using QPBaseAPI::QPBaseAPI;

  /// PUT "/account".
  void createAccount(std::shared_ptr<const QPCreateAccountRequest> request,
                     QPCompletion<QPCreateAccountResponse> completion) const;

  /// POST "/account/{accno}/updateInfo".
  void updateAccountInformation(std::shared_ptr<const QPUpdateAccountInformationRequest> request,
                                std::optional<std::string> accno,
                                QPCompletion<QPCreateAccountResponse> completion) const;

  /// GET "/account/{accno}".
  void getAccountInformation(std::shared_ptr<const QPGetAccountInformationRequest> request,
                             std::optional<std::string> accno,
                             QPCompletion<QPGetAccountInformationResponse> completion) const;

  /// GET "/account/{accno}/enquiry".
  void accountEnquiry(std::shared_ptr<const QPAccountEnquiryRequest> request,
                      std::optional<std::string> accno,
                      QPCompletion<QPAccountEnquiryResponse> completion) const;

  /// GET "/account/{accno}/balance".
  void balanceEnquiry(std::shared_ptr<const QPBalanceEnquiryRequest> request,
                      std::optional<std::string> accno,
                      QPCompletion<QPBalanceEnquiryResponse> completion) const;

  /// POST "/account/{accno}/transfer".
  void transferAmount(std::shared_ptr<const QPTransferAmountRequest> request,
                      std::optional<std::string> accno,
                      QPCompletion<QPTransferAmountResponse> completion) const;

  /// GET "/account/find".
  void findAccount(std::shared_ptr<const QPFindAccountRequest> request,
                   QPCompletion<QPFindAccountResponse> completion) const;

  /// GET "/account/{accno}/calculateFees".
  void calculateFees(std::shared_ptr<const QPCalculateFeesRequest> request, std::optional<std::string> accno,
                     QPCompletion<QPCalculateFeesResponse> completion) const;

  /// GET "/account/{accno}/checkLimits".
  void checkLimits(std::shared_ptr<const QPCheckLimitsRequest> request, std::optional<std::string> accno,
                   QPCompletion<QPCheckLimitsResponse> completion) const;

  /// GET "/account/{accno}/storedPaymentOptions".
  void getStoredPaymentOptions(std::shared_ptr<const QPGetStoredPaymentOptionsRequest> request,
                               std::optional<std::string> accno,
                               QPCompletion<QPGetStoredPaymentOptionsResponse> completion) const;

  /// POST "/account/{accno}/requestMtan".
  void requestMtan(std::shared_ptr<const QPRequestMtanRequest> request, std::optional<std::string> accno,
                   QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/checkPaymentAccessCode".
  void checkPaymentAccessCode(std::shared_ptr<const QPCheckPaymentAccessCodeRequest> request,
                              std::optional<std::string> accno,
                              QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/storedPaymentOptions/initAdd".
  void initAddStoredPaymentOption(std::shared_ptr<const QPInitAddStoredPaymentOptionRequest> request,
                                  std::optional<std::string> accno,
                                  QPCompletion<QPInitAddStoredPaymentOptionResponse> completion) const;

  /// PUT "/account/{accno}/storedPaymentOptions/completeAdd".
  void completeAddStoredPaymentOption(
      std::shared_ptr<const QPCompleteAddStoredPaymentOptionRequest> request,
      std::optional<std::string> accno,
      QPCompletion<QPCompleteAddStoredPaymentOptionResponse> completion) const;

  /// DELETE "/account/{accno}/storedPaymentOptions/{storedPaymentOptionReference}".
  void deleteStoredPaymentOption(std::shared_ptr<const QPDeleteStoredPaymentOptionRequest> request,
                                 std::optional<std::string> accno,
                                 std::optional<std::string> storedPaymentOptionReference,
                                 QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/storedPaymentOptions/{storedPaymentOptionReference}/initVerify".
  void initVerifyStoredPaymentOption(std::shared_ptr<const QPInitVerifyStoredPaymentOptionRequest> request,
                                     std::optional<std::string> accno,
                                     std::optional<std::string> storedPaymentOptionReference,
                                     QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/storedPaymentOptions/{storedPaymentOptionReference}/completeVerify".
  void completeVerifyStoredPaymentOption(
      std::shared_ptr<const QPCompleteVerifyStoredPaymentOptionRequest> request,
      std::optional<std::string> accno, std::optional<std::string> storedPaymentOptionReference,
      QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/storedPaymentOptions/{storedPaymentOptionReference}/setDefault".
  void setDefaultStoredPaymentOption(std::shared_ptr<const QPSetDefaultStoredPaymentOptionRequest> request,
                                     std::optional<std::string> accno,
                                     std::optional<std::string> storedPaymentOptionReference,
                                     QPCompletion<QPResponseBase> completion) const;

  /// GET "/account/{accno}/storedPaymentOptions/{storedPaymentOptionReference}/mandate".
  void getSepaMandate(std::shared_ptr<const QPGetSepaMandateRequest> request,
                      std::optional<std::string> accno,
                      std::optional<std::string> storedPaymentOptionReference,
                      QPCompletion<QPGetSepaMandateResponse> completion) const;

  /// GET "/account/programAccounts".
  void getProgramAccounts(std::shared_ptr<const QPGetProgramAccountsRequest> request,
                          QPCompletion<QPGetProgramAccountsResponse> completion) const;

  /// GET "/account/{accno}/state".
  void getAccountState(std::shared_ptr<const QPGetAccountStateRequest> request,
                       std::optional<std::string> accno,
                       QPCompletion<QPGetAccountStateResponse> completion) const;

  /// POST "/account/{accno}/registerDevice".
  void registerAccountDevice(std::shared_ptr<const QPRegisterAccountDeviceRequest> request,
                             std::optional<std::string> accno, QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/unregisterDevice".
  void unregisterAccountDevice(std::shared_ptr<const QPUnregisterAccountDeviceRequest> request,
                               std::optional<std::string> accno,
                               QPCompletion<QPResponseBase> completion) const;

  /// GET "/account/verifyTransferRecipient".
  void verifyTransferRecipient(std::shared_ptr<const QPVerifyTransferRecipientRequest> request,
                               QPCompletion<QPResponseBase> completion) const;

  /// POST "/account/{accno}/verifyMobilePhone".
  void verifyMobilePhone(std::shared_ptr<const QPVerifyMobilePhoneRequest> request,
                         std::optional<std::string> accno, QPCompletion<QPResponseBase> completion) const;

  /// GET "/account/{accno}/transferRecipients".
  void getTransferRecipients(std::shared_ptr<const QPGetTransferRecipientsRequest> request,
                             std::optional<std::string> accno,
                             QPCompletion<QPGetTransferRecipientsResponse> completion) const;
};

}  // namespace brivane
