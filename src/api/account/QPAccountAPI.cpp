#include "brivane/api/account/QPAccountAPI.h"

#include "api/core/QPBaseAPICall.h"

namespace brivane {

void QPAccountAPI::createAccount(std::shared_ptr<const QPCreateAccountRequest> request,
                                 QPCompletion<QPCreateAccountResponse> completion) const {
  call("/account", {}, "PUT", request, std::move(completion));
}

void QPAccountAPI::updateAccountInformation(std::shared_ptr<const QPUpdateAccountInformationRequest> request,
                                            std::optional<std::string> accno,
                                            QPCompletion<QPCreateAccountResponse> completion) const {
  call("/account/%@/updateInfo", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::getAccountInformation(std::shared_ptr<const QPGetAccountInformationRequest> request,
                                         std::optional<std::string> accno,
                                         QPCompletion<QPGetAccountInformationResponse> completion) const {
  call("/account/%@", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::accountEnquiry(std::shared_ptr<const QPAccountEnquiryRequest> request,
                                  std::optional<std::string> accno,
                                  QPCompletion<QPAccountEnquiryResponse> completion) const {
  call("/account/%@/enquiry", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::balanceEnquiry(std::shared_ptr<const QPBalanceEnquiryRequest> request,
                                  std::optional<std::string> accno,
                                  QPCompletion<QPBalanceEnquiryResponse> completion) const {
  call("/account/%@/balance", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::transferAmount(std::shared_ptr<const QPTransferAmountRequest> request,
                                  std::optional<std::string> accno,
                                  QPCompletion<QPTransferAmountResponse> completion) const {
  call("/account/%@/transfer", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::findAccount(std::shared_ptr<const QPFindAccountRequest> request,
                               QPCompletion<QPFindAccountResponse> completion) const {
  call("/account/find", {}, "GET", request, std::move(completion));
}

void QPAccountAPI::calculateFees(std::shared_ptr<const QPCalculateFeesRequest> request,
                                 std::optional<std::string> accno,
                                 QPCompletion<QPCalculateFeesResponse> completion) const {
  call("/account/%@/calculateFees", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::checkLimits(std::shared_ptr<const QPCheckLimitsRequest> request,
                               std::optional<std::string> accno,
                               QPCompletion<QPCheckLimitsResponse> completion) const {
  call("/account/%@/checkLimits", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::getStoredPaymentOptions(std::shared_ptr<const QPGetStoredPaymentOptionsRequest> request,
                                           std::optional<std::string> accno,
                                           QPCompletion<QPGetStoredPaymentOptionsResponse> completion) const {
  call("/account/%@/storedPaymentOptions", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::requestMtan(std::shared_ptr<const QPRequestMtanRequest> request,
                               std::optional<std::string> accno,
                               QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/requestMtan", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::checkPaymentAccessCode(std::shared_ptr<const QPCheckPaymentAccessCodeRequest> request,
                                          std::optional<std::string> accno,
                                          QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/checkPaymentAccessCode", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::initAddStoredPaymentOption(
    std::shared_ptr<const QPInitAddStoredPaymentOptionRequest> request, std::optional<std::string> accno,
    QPCompletion<QPInitAddStoredPaymentOptionResponse> completion) const {
  call("/account/%@/storedPaymentOptions/initAdd", {{"accno", accno}}, "POST", request,
       std::move(completion));
}

void QPAccountAPI::completeAddStoredPaymentOption(
    std::shared_ptr<const QPCompleteAddStoredPaymentOptionRequest> request, std::optional<std::string> accno,
    QPCompletion<QPCompleteAddStoredPaymentOptionResponse> completion) const {
  call("/account/%@/storedPaymentOptions/completeAdd", {{"accno", accno}}, "PUT", request,
       std::move(completion));
}

void QPAccountAPI::deleteStoredPaymentOption(
    std::shared_ptr<const QPDeleteStoredPaymentOptionRequest> request, std::optional<std::string> accno,
    std::optional<std::string> storedPaymentOptionReference, QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/storedPaymentOptions/%@",
       {{"accno", accno}, {"storedPaymentOptionReference", storedPaymentOptionReference}}, "DELETE", request,
       std::move(completion));
}

void QPAccountAPI::initVerifyStoredPaymentOption(
    std::shared_ptr<const QPInitVerifyStoredPaymentOptionRequest> request, std::optional<std::string> accno,
    std::optional<std::string> storedPaymentOptionReference, QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/storedPaymentOptions/%@/initVerify",
       {{"accno", accno}, {"storedPaymentOptionReference", storedPaymentOptionReference}}, "POST", request,
       std::move(completion));
}

void QPAccountAPI::completeVerifyStoredPaymentOption(
    std::shared_ptr<const QPCompleteVerifyStoredPaymentOptionRequest> request,
    std::optional<std::string> accno, std::optional<std::string> storedPaymentOptionReference,
    QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/storedPaymentOptions/%@/completeVerify",
       {{"accno", accno}, {"storedPaymentOptionReference", storedPaymentOptionReference}}, "POST", request,
       std::move(completion));
}

void QPAccountAPI::setDefaultStoredPaymentOption(
    std::shared_ptr<const QPSetDefaultStoredPaymentOptionRequest> request, std::optional<std::string> accno,
    std::optional<std::string> storedPaymentOptionReference, QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/storedPaymentOptions/%@/setDefault",
       {{"accno", accno}, {"storedPaymentOptionReference", storedPaymentOptionReference}}, "POST", request,
       std::move(completion));
}

void QPAccountAPI::getSepaMandate(std::shared_ptr<const QPGetSepaMandateRequest> request,
                                  std::optional<std::string> accno,
                                  std::optional<std::string> storedPaymentOptionReference,
                                  QPCompletion<QPGetSepaMandateResponse> completion) const {
  call("/account/%@/storedPaymentOptions/%@/mandate",
       {{"accno", accno}, {"storedPaymentOptionReference", storedPaymentOptionReference}}, "GET", request,
       std::move(completion));
}

void QPAccountAPI::getProgramAccounts(std::shared_ptr<const QPGetProgramAccountsRequest> request,
                                      QPCompletion<QPGetProgramAccountsResponse> completion) const {
  call("/account/programAccounts", {}, "GET", request, std::move(completion));
}

void QPAccountAPI::getAccountState(std::shared_ptr<const QPGetAccountStateRequest> request,
                                   std::optional<std::string> accno,
                                   QPCompletion<QPGetAccountStateResponse> completion) const {
  call("/account/%@/state", {{"accno", accno}}, "GET", request, std::move(completion));
}

void QPAccountAPI::registerAccountDevice(std::shared_ptr<const QPRegisterAccountDeviceRequest> request,
                                         std::optional<std::string> accno,
                                         QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/registerDevice", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::unregisterAccountDevice(std::shared_ptr<const QPUnregisterAccountDeviceRequest> request,
                                           std::optional<std::string> accno,
                                           QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/unregisterDevice", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::verifyTransferRecipient(std::shared_ptr<const QPVerifyTransferRecipientRequest> request,
                                           QPCompletion<QPResponseBase> completion) const {
  call("/account/verifyTransferRecipient", {}, "GET", request, std::move(completion));
}

void QPAccountAPI::verifyMobilePhone(std::shared_ptr<const QPVerifyMobilePhoneRequest> request,
                                     std::optional<std::string> accno,
                                     QPCompletion<QPResponseBase> completion) const {
  call("/account/%@/verifyMobilePhone", {{"accno", accno}}, "POST", request, std::move(completion));
}

void QPAccountAPI::getTransferRecipients(std::shared_ptr<const QPGetTransferRecipientsRequest> request,
                                         std::optional<std::string> accno,
                                         QPCompletion<QPGetTransferRecipientsResponse> completion) const {
  call("/account/%@/transferRecipients", {{"accno", accno}}, "GET", request, std::move(completion));
}

}  // namespace brivane
