#include "brivane/operation_builders.h"

#include "brivane/api/account/QPAccountAPI.h"

namespace brivane::cli {

void addAccountOperations(std::vector<Operation>& list) {
  list.push_back(pathOperation("account", "createAccount", {}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::createAccount));
  list.push_back(pathOperation("account", "updateAccountInformation", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::updateAccountInformation));
  list.push_back(pathOperation("account", "getAccountInformation", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::getAccountInformation));
  list.push_back(pathOperation("account", "accountEnquiry", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::accountEnquiry));
  list.push_back(pathOperation("account", "balanceEnquiry", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::balanceEnquiry));
  list.push_back(pathOperation("account", "transferAmount", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::transferAmount));
  list.push_back(
      pathOperation("account", "findAccount", {}, &QPApiProvider::accountAPI, &QPAccountAPI::findAccount));
  list.push_back(pathOperation("account", "calculateFees", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::calculateFees));
  list.push_back(pathOperation("account", "checkLimits", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::checkLimits));
  list.push_back(pathOperation("account", "getStoredPaymentOptions", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::getStoredPaymentOptions));
  list.push_back(pathOperation("account", "requestMtan", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::requestMtan));
  list.push_back(pathOperation("account", "checkPaymentAccessCode", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::checkPaymentAccessCode));
  list.push_back(pathOperation("account", "initAddStoredPaymentOption", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::initAddStoredPaymentOption));
  list.push_back(pathOperation("account", "completeAddStoredPaymentOption", {"accno"},
                               &QPApiProvider::accountAPI, &QPAccountAPI::completeAddStoredPaymentOption));
  list.push_back(pathOperation("account", "deleteStoredPaymentOption",
                               {"accno", "storedPaymentOptionReference"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::deleteStoredPaymentOption));
  list.push_back(pathOperation("account", "initVerifyStoredPaymentOption",
                               {"accno", "storedPaymentOptionReference"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::initVerifyStoredPaymentOption));
  list.push_back(pathOperation("account", "completeVerifyStoredPaymentOption",
                               {"accno", "storedPaymentOptionReference"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::completeVerifyStoredPaymentOption));
  list.push_back(pathOperation("account", "setDefaultStoredPaymentOption",
                               {"accno", "storedPaymentOptionReference"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::setDefaultStoredPaymentOption));
  list.push_back(pathOperation("account", "getSepaMandate", {"accno", "storedPaymentOptionReference"},
                               &QPApiProvider::accountAPI, &QPAccountAPI::getSepaMandate));
  list.push_back(pathOperation("account", "getProgramAccounts", {}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::getProgramAccounts));
  list.push_back(pathOperation("account", "getAccountState", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::getAccountState));
  list.push_back(pathOperation("account", "registerAccountDevice", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::registerAccountDevice));
  list.push_back(pathOperation("account", "unregisterAccountDevice", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::unregisterAccountDevice));
  list.push_back(pathOperation("account", "verifyTransferRecipient", {}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::verifyTransferRecipient));
  list.push_back(pathOperation("account", "verifyMobilePhone", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::verifyMobilePhone));
  list.push_back(pathOperation("account", "getTransferRecipients", {"accno"}, &QPApiProvider::accountAPI,
                               &QPAccountAPI::getTransferRecipients));
}

}  // namespace brivane::cli
