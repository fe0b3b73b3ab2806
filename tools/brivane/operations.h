#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/api/user/QPUserAPI.h"

namespace brivane::cli {

/// What one call of an operation produced: the error, or the typed response printed by field.
struct CallOutcome {
  std::optional<QPError> error;
  boost::json::object response;
};

/// The inputs of one call from the command line.
struct CallInput {
  std::map<std::string, std::string> arguments;                  ///< --NAME VALUE
  std::vector<std::pair<std::string, std::string>> fieldValues;  ///< --set FIELD=VALUE
};

/// One operation the `call` command can run. `start` returns false with a usage message when the
/// input does not fit; otherwise `done` is called once, on the main queue.
struct Operation {
  std::string family;
  std::string name;
  std::vector<std::string> argumentNames;  ///< the --NAME arguments besides the request
  bool hasRequest = false;
  std::vector<std::string> fieldNames;  ///< the request's fields that --set takes, in table order
  std::function<bool(const QPApiProvider&, const CallInput&, std::function<void(CallOutcome)>, std::string*)>
      start;
};

/// Every operation, by family, in the order they are listed in help texts.
const std::vector<Operation>& operations();
const Operation* findOperation(const std::string& family, const std::string& name);

}  // namespace brivane::cli
