#pragma once

// Builders for the rows of the operation table: each family's file adds its rows with these, so
// that every operation is one line there and all share one way of reading the command line.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

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

/// The accessor of one family on the provider.
template <class API>
using FamilyAccessor = const std::shared_ptr<API>& (QPApiProvider::*)() const;

/// An operation of the shape (request, completion), the request passed by reference.
template <class API, class Request, class Response>
Operation requestOperation(std::string family, std::string name, FamilyAccessor<API> accessor,
                           void (API::*method)(const Request&, QPCompletion<Response>) const) {
  Operation operation{std::move(family), std::move(name), {}, true, {}};
  operation.start = [accessor, method](const QPApiProvider& provider, const CallInput& input,
                                       std::function<void(CallOutcome)> done, std::string* usage) {
    Request request;
    if (!applyFields(request, input, usage)) return false;
    ((*(provider.*accessor)()).*method)(request, outcomeOf<Response>(std::move(done)));
    return true;
  };
  return operation;
}

/// What an operation of the shape (request, [identifier...,] completion) takes and answers.
template <class Method>
struct PathOperationTraits;

template <class API, class Request, class... Rest>
struct PathOperationTraits<void (API::*)(std::shared_ptr<const Request>, Rest...) const> {
  using RequestType = Request;
  using Completion = std::tuple_element_t<sizeof...(Rest) - 1, std::tuple<Rest...>>;
  static constexpr std::size_t identifierCount = sizeof...(Rest) - 1;
};

template <class Completion>
struct ResponseOf;
template <class Response>
struct ResponseOf<QPCompletion<Response>> {
  using Type = Response;
};

/// An operation of the shape (request, [identifier...,] completion), the request shared and every
/// identifier a path argument named on the command line (--userId, --accno, ...). A path
/// argument that is not given is passed as nil, so the SDK's own check reports it.
template <class API, class Method>
Operation pathOperation(std::string family, std::string name, std::vector<std::string> argumentNames,
                        FamilyAccessor<API> accessor, Method method) {
  using Traits = PathOperationTraits<Method>;
  using Request = typename Traits::RequestType;
  using Response = typename ResponseOf<typename Traits::Completion>::Type;
  Operation operation{std::move(family), std::move(name), argumentNames, true, {}};
  operation.start = [accessor, method, argumentNames](const QPApiProvider& provider, const CallInput& input,
                                                      std::function<void(CallOutcome)> done,
                                                      std::string* usage) {
    auto request = std::make_shared<Request>();
    if (!applyFields(*request, input, usage)) return false;
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      ((*(provider.*accessor)()).*method)(request, argument(input, argumentNames.at(I))...,
                                          outcomeOf<Response>(std::move(done)));
    }
    (std::make_index_sequence<Traits::identifierCount>());
    return true;
  };
  return operation;
}

// Each family's rows, in the order of its header.
void addUserOperations(std::vector<Operation>& list);
void addAccountOperations(std::vector<Operation>& list);
void addPaymentOperations(std::vector<Operation>& list);

}  // namespace brivane::cli
