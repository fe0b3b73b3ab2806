#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/operation_builders.h"

namespace brivane::cli {

void addPaymentOperations(std::vector<Operation>& list) {
  const auto payment = &QPApiProvider::paymentAPI;
  const std::vector<std::string> reference{"uniqueReference"};
  list.push_back(pathOperation("payment", "initAuthorize", {}, payment, &QPPaymentAPI::initAuthorize));
  list.push_back(
      pathOperation("payment", "completeAuthorize", reference, payment, &QPPaymentAPI::completeAuthorize));
  list.push_back(pathOperation("payment", "authorize", {}, payment, &QPPaymentAPI::authorize));
  list.push_back(pathOperation("payment", "capture", reference, payment, &QPPaymentAPI::capture));
  list.push_back(pathOperation("payment", "cancel", reference, payment, &QPPaymentAPI::cancel));
  list.push_back(pathOperation("payment", "payToAccount", {}, payment, &QPPaymentAPI::payToAccount));
  list.push_back(pathOperation("payment", "lmCompleteAuthorize", reference, payment,
                               &QPPaymentAPI::lmCompleteAuthorize));
  list.push_back(pathOperation("payment", "getPaymentInformation", reference, payment,
                               &QPPaymentAPI::getPaymentInformation));
}

}  // namespace brivane::cli
