#include "brivane/operations.h"

#include "brivane/operation_builders.h"

#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"

namespace brivane::cli {

bool applyFields(QPRequestBase& request, const CallInput& input, std::string* usage) {
  for (const auto& [field, text] : input.fieldValues) {
    std::string why;
    if (!request.setField(field, text, &why)) {
      *usage = "--set " + field + ": " + why;
      return false;
    }
  }
  return true;
}

std::optional<std::string> argument(const CallInput& input, const std::string& name) {
  auto it = input.arguments.find(name);
  if (it == input.arguments.end()) return std::nullopt;
  return it->second;
}

namespace {

std::vector<Operation> buildOperations() {
  std::vector<Operation> list;

  Operation password{"auth", "getAccessTokenWithUserName", {"userName", "password", "grantType"}, false, {},
                     {}};
  password.start = [](const QPApiProvider& provider, const CallInput& input,
                      std::function<void(CallOutcome)> done, std::string*) {
    provider.authenticationAPI()->getAccessTokenWithUserName(
        argument(input, "userName"), argument(input, "password"), argument(input, "grantType"),
        outcomeOf<QPAccessTokenResponse>(std::move(done)));
    return true;
  };
  list.push_back(std::move(password));

  Operation refresh{"auth", "getRefreshTokenWithToken", {"token", "grantType"}, false, {}, {}};
  refresh.start = [](const QPApiProvider& provider, const CallInput& input,
                     std::function<void(CallOutcome)> done, std::string*) {
    provider.authenticationAPI()->getRefreshTokenWithToken(argument(input, "token"),
                                                           argument(input, "grantType"),
                                                           outcomeOf<QPAccessTokenResponse>(std::move(done)));
    return true;
  };
  list.push_back(std::move(refresh));

  list.push_back(requestOperation("settings", "getCountries", &QPApiProvider::settingsAPI,
                                  &QPSettingsAPI::getCountries));
  list.push_back(requestOperation("settings", "getgetFinancialInstitutionData", &QPApiProvider::settingsAPI,
                                  &QPSettingsAPI::getgetFinancialInstitutionData));
  addUserOperations(list);
  addAccountOperations(list);
  addPaymentOperations(list);
  return list;
}

}  // namespace

const std::vector<Operation>& operations() {
  static const std::vector<Operation> list = buildOperations();
  return list;
}

const Operation* findOperation(const std::string& family, const std::string& name) {
  for (const Operation& operation : operations())
    if (operation.family == family && operation.name == name) return &operation;
  return nullptr;
}

}  // namespace brivane::cli
