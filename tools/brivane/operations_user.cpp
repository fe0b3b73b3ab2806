#include "brivane/api/user/QPUserAPI.h"
#include "brivane/operation_builders.h"

namespace brivane::cli {

void addUserOperations(std::vector<Operation>& list) {
  const auto user = &QPApiProvider::userAPI;
  list.push_back(
      pathOperation("user", "sendPasswordResetCode", {"userId"}, user, &QPUserAPI::sendPasswordResetCode));
  list.push_back(pathOperation("user", "changePassword", {"userId"}, user, &QPUserAPI::changePassword));
  list.push_back(
      pathOperation("user", "checkUserUniqueness", {"userId"}, user, &QPUserAPI::checkUserUniqueness));
  list.push_back(pathOperation("user", "validatePassword", {}, user, &QPUserAPI::validatePassword));
  list.push_back(
      pathOperation("user", "getSecondaryEmails", {"userId"}, user, &QPUserAPI::getSecondaryEmails));
  list.push_back(
      pathOperation("user", "createSecondaryEmail", {"userId"}, user, &QPUserAPI::createSecondaryEmail));
  list.push_back(
      pathOperation("user", "editSecondaryEmail", {"userId"}, user, &QPUserAPI::editSecondaryEmail));
  list.push_back(
      pathOperation("user", "deleteSecondaryEmail", {"userId"}, user, &QPUserAPI::deleteSecondaryEmail));
  list.push_back(pathOperation("user", "setMainEmail", {"userId"}, user, &QPUserAPI::setMainEmail));
}

}  // namespace brivane::cli
