#pragma once

// Builders for the rows of the operation table: each family's file adds its rows with these, so
// that every operation is one line there and all share one way of reading the command line.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "api/core/QPFields.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/operations.h"

namespace brivane::cli {

/// A typed completion that hands the outcome, printed by field, to `done`.
template <class Response>
QPCompletion<Response> outcomeOf(std::function<void(CallOutcome)> done) {
  return [done = std::move(done)](std::optional<QPError> error, std::shared_ptr<Response> response) {
    CallOutcome outcome;
    outcome.error = std::move(error);
    if (response) outcome.response = response->toJSONObject();
    done(std::move(outcome));
  };
}

/// Sets the --set FIELD=VALUE pairs on `request`; false with a usage message for an unknown field
/// or a value its type cannot take.
bool applyFields(QPRequestBase& request, const CallInput& input, std::string* usage);

/// The --NAME value of an argument, nil when it was not given.
std::optional<std::string> argument(const CallInput& input, const std::string& name);

/// The names of the fields of `Request` that --set takes, in table order, each once.
template <class Request>
std::vector<std::string> requestFieldNames() {
  std::vector<std::string> names;
  for (const auto& entry : Request().fieldList().entries())
    if (std::find(names.begin(), names.end(), entry.name) == names.end()) names.push_back(entry.name);
  return names;
}

/// The accessor of one family on the provider.
template <class API>
using FamilyAccessor = const std::shared_ptr<API>& (QPApiProvider::*)() const;

/// An operation of the shape (request, completion), the request passed by reference.
template <class API, class Request, class Response>
Operation requestOperation(std::string family, std::string name, FamilyAccessor<API> accessor,
                           void (API::*method)(const Request&, QPCompletion<Response>) const) {
  Operation operation{std::move(family), std::move(name), {}, true, requestFieldNames<Request>(), {}};
  operation.start = [accessor, method](const QPApiProvider& provider, const CallInput& input,
                                       std::function<void(CallOutcome)> done, std::string* usage) {
    Request request;
    if (!applyFields(request, input, usage)) return false;
    ((*(provider.*accessor)()).*method)(request, outcomeOf<Response>(std::move(done)));
    return true;
  };
  return operation;
}

/// One path identifier of an operation (the index only spells out how many there are).
template <std::size_t>
using PathIdentifier = std::optional<std::string>;

/// The parts of an operation's member function: the family, the request, the response and how
/// many path identifiers come between request and completion.
template <class Method>
struct PathMethod;

template <class Response>
struct PathMethodResponse;
template <class Response>
struct PathMethodResponse<QPCompletion<Response>> {
  using type = Response;
};

template <class API, class Request, class... Rest>
struct PathMethod<void (API::*)(std::shared_ptr<const Request>, Rest...) const> {
  using Family = API;
  using RequestType = Request;
  using Response =
      typename PathMethodResponse<std::tuple_element_t<sizeof...(Rest) - 1, std::tuple<Rest...>>>::type;
  static constexpr std::size_t identifiers = sizeof...(Rest) - 1;
};

template <class API, class Request, class Response, std::size_t... I>
Operation pathOperationOf(std::index_sequence<I...>, std::string family, std::string name,
                          std::vector<std::string> argumentNames, FamilyAccessor<API> accessor,
                          void (API::*method)(std::shared_ptr<const Request>, PathIdentifier<I>...,
                                              QPCompletion<Response>) const) {
  Operation operation{
      std::move(family), std::move(name), argumentNames, true, requestFieldNames<Request>(), {}};
  operation.start = [accessor, method, argumentNames](const QPApiProvider& provider, const CallInput& input,
                                                      std::function<void(CallOutcome)> done,
                                                      std::string* usage) {
    auto request = std::make_shared<Request>();
    if (!applyFields(*request, input, usage)) return false;
    ((*(provider.*accessor)()).*method)(request, argument(input, argumentNames[I])...,
                                        outcomeOf<Response>(std::move(done)));
    return true;
  };
  return operation;
}

/// An operation of the shape (request, [identifier...,] completion), the request shared and every
/// identifier a path argument named on the command line (--userId, --accno, ...), in the order of
/// `argumentNames`. A path argument that is not given is passed as nil, so the SDK's own check
/// reports it.
template <class API, class Method>
Operation pathOperation(std::string family, std::string name, std::vector<std::string> argumentNames,
                        FamilyAccessor<API> accessor, Method method) {
  using Parts = PathMethod<Method>;
  static_assert(std::is_same_v<typename Parts::Family, API>);
  if (argumentNames.size() != Parts::identifiers) {
    // A row naming more or fewer path arguments than its operation takes: a bug in the table.
    std::fprintf(stderr, "operation table: %s %s names %zu path arguments, takes %zu\n", family.c_str(),
                 name.c_str(), argumentNames.size(), Parts::identifiers);
    std::abort();
  }
  return pathOperationOf<API, typename Parts::RequestType, typename Parts::Response>(
      std::make_index_sequence<Parts::identifiers>(), std::move(family), std::move(name),
      std::move(argumentNames), accessor, method);
}

// Each family's rows, in the order of its header.
void addUserOperations(std::vector<Operation>& list);
void addAccountOperations(std::vector<Operation>& list);
void addPaymentOperations(std::vector<Operation>& list);

}  // namespace brivane::cli
