#pragma once

#include <atomic>
#include <coroutine>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "brivane/api/core/QPBaseAPI.h"
#include "brivane/api/core/QPCallOptions.h"
#include "brivane/api/core/QPError.h"
#include "brivane/platform/QPMainQueue.h"

namespace brivane {

/// The outcome of one operation as a value: the error, or the typed response; exactly one is
/// set. Plain value type.
template <class R>
class QPResult {
 public:
  /// A success.
  explicit QPResult(std::shared_ptr<R> response) : response_(std::move(response)) {}
  /// A failure.
  explicit QPResult(QPError error) : error_(std::move(error)) {}

  /// The failure; nil on success.
  const std::optional<QPError>& error() const { return error_; }
  /// The typed response; nil on failure.
  const std::shared_ptr<R>& response() const { return response_; }
  /// True on success.
  explicit operator bool() const { return !error_; }

 private:
  std::optional<QPError> error_;
  std::shared_ptr<R> response_;
};

namespace detail {

template <class Completion>
struct QPCompletionTraits;
template <class R>
struct QPCompletionTraits<QPCompletion<R>> {
  using Response = R;
};

/// The parts of an operation's member function: its family and the response of its completion
/// (the last parameter).
template <class Operation>
struct QPOperationTraits;
template <class F, class... P>
struct QPOperationTraits<void (F::*)(P...) const> {
  using Family = F;
  using Completion = std::tuple_element_t<sizeof...(P) - 1, std::tuple<P...>>;
  using Response = typename QPCompletionTraits<Completion>::Response;
};

template <class R>
QPResult<R> resultOf(std::optional<QPError> error, std::shared_ptr<R> response) {
  return error ? QPResult<R>(std::move(*error)) : QPResult<R>(std::move(response));
}

/// One operation call with its arguments, started later by handing it the completion. The
/// arguments are held as values (`std::ref` holds a reference) and moved into the call, which
/// happens once. `awaiterOf` and `futureOf` take any such starter, so a variant of the entry
/// points (per-call options, say) wraps the starter in its own and adds nothing else.
template <class Family, class Operation, class... Args>
auto bindCall(std::shared_ptr<Family> family, Operation operation, Args&&... args) {
  using R = typename QPOperationTraits<Operation>::Response;
  return [family = std::move(family), operation,
          args = std::make_tuple(std::forward<Args>(args)...)](QPCompletion<R> completion) mutable {
    if (!family) {
      QPMainQueue::post([completion = std::move(completion)] {
        completion(QPError(std::string(QPErrorDomainClient), QPClientErrorMissingArgument,
                           "The 'family' argument must be set."),
                   nullptr);
      });
      return;
    }
    std::apply([&](auto&&... values) { ((*family).*operation)(std::move(values)..., std::move(completion)); },
               std::move(args));
  };
}

/// What an awaiting coroutine and the call's completion share: the result, and the coroutine
/// to resume, cleared once it is resumed or gone.
template <class R>
struct QPCallState {
  std::atomic<void*> waiting{nullptr};
  std::optional<QPResult<R>> result;

  void finish(QPResult<R> outcome) {
    result.emplace(std::move(outcome));
    if (void* address = waiting.exchange(nullptr, std::memory_order_acq_rel))
      std::coroutine_handle<>::from_address(address).resume();
  }
};

/// The awaiter of one call: starts it when the coroutine suspends and resumes the coroutine in
/// the completion, on the main queue. A frame destroyed before the completion is not resumed:
/// the answer is dropped.
template <class R, class Start>
class QPCallAwaiter {
 public:
  explicit QPCallAwaiter(Start start) : start_(std::move(start)) {}
  QPCallAwaiter(QPCallAwaiter&&) = default;
  QPCallAwaiter& operator=(QPCallAwaiter&&) = delete;
  ~QPCallAwaiter() {
    if (state_) state_->waiting.store(nullptr, std::memory_order_release);
  }

  bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> handle) {
    state_ = std::make_shared<QPCallState<R>>();
    state_->waiting.store(handle.address(), std::memory_order_release);
    // Moved out first: a call started on another thread may complete, and the coroutine resume
    // and end, before `start` returns; nothing of this awaiter is touched after it.
    Start start = std::move(*start_);
    start(QPCompletion<R>([state = state_](std::optional<QPError> error, std::shared_ptr<R> response) {
      state->finish(resultOf<R>(std::move(error), std::move(response)));
    }));
  }
  QPResult<R> await_resume() { return std::move(*state_->result); }

 private:
  std::optional<Start> start_;
  std::shared_ptr<QPCallState<R>> state_;
};

/// A starter that starts its call with `options` in force (read once, as the call starts).
template <class Start>
auto withOptions(QPCallOptions options, Start start) {
  return [options = std::move(options), start = std::move(start)](auto completion) mutable {
    QPCallOptionsScope scope(std::move(options));
    start(std::move(completion));
  };
}

template <class R, class Start>
QPCallAwaiter<R, Start> awaiterOf(Start start) {
  return QPCallAwaiter<R, Start>(std::move(start));
}

template <class R, class Start>
std::future<QPResult<R>> futureOf(Start start) {
  auto promise = std::make_shared<std::promise<QPResult<R>>>();
  std::future<QPResult<R>> future = promise->get_future();
  start(QPCompletion<R>([promise](std::optional<QPError> error, std::shared_ptr<R> response) {
    promise->set_value(resultOf<R>(std::move(error), std::move(response)));
  }));
  return future;
}

template <class Operation, class Family, class... Args>
concept QPCallable = requires {
  typename QPOperationTraits<Operation>::Response;
}
&&std::is_invocable_v<Operation, const Family&, std::decay_t<Args>&&...,
                      QPCompletion<typename QPOperationTraits<Operation>::Response>>;

}  // namespace detail

/// The response type of an operation, read from its completion: `QPOperationResponse<decltype(
/// &QPSettingsAPI::getCountries)>` is `QPGetCountriesResponse`.
template <class Operation>
using QPOperationResponse = typename detail::QPOperationTraits<Operation>::Response;

/// Awaits one operation in a C++20 coroutine (any coroutine type):
///
///     brivane::QPResult<brivane::QPGetCountriesResponse> countries =
///         co_await brivane::awaitCall(provider.settingsAPI(), &brivane::QPSettingsAPI::getCountries,
///         request);
///
/// `family` is the family as the provider hands it out; `args` are the operation's arguments
/// without the completion, held by value (use `std::ref` to pass a reference) until the call
/// starts, which is when the coroutine suspends. The coroutine resumes on the main queue with the
/// outcome, whatever thread awaited. A nil family gives `QPClientErrorMissingArgument`.
///
/// Lifetime: the call holds the family only while it starts it, as the completion form does; a
/// provider released meanwhile still lets the answer arrive. A coroutine destroyed while it waits
/// is not resumed: its answer is dropped.
template <class Family, class Operation, class... Args>
requires detail::QPCallable<Operation, Family, Args...>
auto awaitCall(std::shared_ptr<Family> family, Operation operation, Args&&... args) {
  return detail::awaiterOf<QPOperationResponse<Operation>>(
      detail::bindCall(std::move(family), operation, std::forward<Args>(args)...));
}

/// Starts one operation at once and returns the future of its outcome, for hosts that block on
/// a worker thread. The future is fulfilled on the main queue, so waiting on it on the thread
/// that runs the main loop never finishes. Arguments as for `awaitCall`.
template <class Family, class Operation, class... Args>
requires detail::QPCallable<Operation, Family, Args...> std::future<QPResult<QPOperationResponse<Operation>>>
futureCall(std::shared_ptr<Family> family, Operation operation, Args&&... args) {
  return detail::futureOf<QPOperationResponse<Operation>>(
      detail::bindCall(std::move(family), operation, std::forward<Args>(args)...));
}

/// `awaitCall` with `options` for this one call (a time-out, a retry policy, a stop token, a
/// listener), over the provider's own: as a `QPCallOptionsScope` around a completion-style call.
template <class Family, class Operation, class... Args>
requires detail::QPCallable<Operation, Family, Args...>
auto awaitCall(QPCallOptions options, std::shared_ptr<Family> family, Operation operation, Args&&... args) {
  return detail::awaiterOf<QPOperationResponse<Operation>>(detail::withOptions(
      std::move(options), detail::bindCall(std::move(family), operation, std::forward<Args>(args)...)));
}

/// `futureCall` with `options` for this one call, as for `awaitCall`.
template <class Family, class Operation, class... Args>
requires detail::QPCallable<Operation, Family, Args...> std::future<QPResult<QPOperationResponse<Operation>>>
futureCall(QPCallOptions options, std::shared_ptr<Family> family, Operation operation, Args&&... args) {
  return detail::futureOf<QPOperationResponse<Operation>>(detail::withOptions(
      std::move(options), detail::bindCall(std::move(family), operation, std::forward<Args>(args)...)));
}

namespace detail {

template <class T>
struct QPTaskPromiseBase {
  std::coroutine_handle<> continuation;
  std::exception_ptr exception;
  bool started = false;

  std::suspend_always initial_suspend() noexcept { return {}; }
  auto final_suspend() noexcept {
    struct Final {
      bool await_ready() noexcept { return false; }
      std::coroutine_handle<> await_suspend(std::coroutine_handle<>) noexcept {
        if (continuation) return continuation;
        return std::noop_coroutine();
      }
      void await_resume() noexcept {}
      std::coroutine_handle<> continuation;
    };
    return Final{continuation};
  }
  void unhandled_exception() { exception = std::current_exception(); }
  void rethrow() {
    if (exception) std::rethrow_exception(exception);
  }
};

template <class T>
struct QPTaskPromise : QPTaskPromiseBase<T> {
  std::optional<T> value;
  template <class U>
  void return_value(U&& result) {
    value.emplace(std::forward<U>(result));
  }
  T take() {
    this->rethrow();
    return std::move(*value);
  }
};

template <>
struct QPTaskPromise<void> : QPTaskPromiseBase<void> {
  void return_void() {}
  void take() { rethrow(); }
};

}  // namespace detail

/// A coroutine type for hosts that have none: `QPTask<T> checkout() { ... co_await
/// awaitCall(...); ... co_return value; }`.
///
/// Lazy: the body starts when the task is awaited (`co_await task`) or at `start()`. The SDK's
/// errors arrive as `QPResult` values; an exception the host's own body throws reaches whoever
/// awaits the task (or `result()`). The task owns its frame: destroying it destroys the frame,
/// and a call it was waiting for then completes into nothing. Thread rules: start, await and
/// destroy a task on the main queue's thread; do not destroy it from inside its own body.
template <class T = void>
class [[nodiscard]] QPTask {
 public:
  struct promise_type : detail::QPTaskPromise<T> {
    QPTask get_return_object() { return QPTask(std::coroutine_handle<promise_type>::from_promise(*this)); }
  };

  QPTask(QPTask&& other) noexcept : handle_(std::exchange(other.handle_, {})) {}
  QPTask& operator=(QPTask&& other) noexcept {
    if (this != &other) {
      reset();
      handle_ = std::exchange(other.handle_, {});
    }
    return *this;
  }
  ~QPTask() { reset(); }

  /// Runs the body up to its first suspension, without a caller waiting for it. Once only.
  void start() {
    if (handle_ && !handle_.promise().started) {
      handle_.promise().started = true;
      handle_.resume();
    }
  }
  /// Whether the body has finished.
  bool done() const { return handle_ && handle_.done(); }
  /// The value the body returned; only once `done()`.
  T result() { return handle_.promise().take(); }

  auto operator co_await() && noexcept { return Awaiter{handle_}; }
  auto operator co_await() & noexcept { return Awaiter{handle_}; }

 private:
  struct Awaiter {
    std::coroutine_handle<promise_type> handle;
    bool await_ready() const noexcept { return !handle || handle.done(); }
    std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) noexcept {
      handle.promise().continuation = awaiting;
      if (handle.promise().started) return std::noop_coroutine();  // started already: just wait
      handle.promise().started = true;
      return handle;
    }
    T await_resume() { return handle.promise().take(); }
  };

  explicit QPTask(std::coroutine_handle<promise_type> handle) : handle_(handle) {}
  void reset() {
    if (handle_) std::exchange(handle_, {}).destroy();
  }

  std::coroutine_handle<promise_type> handle_;
};

}  // namespace brivane
