#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace brivane {

/// The validation exchange with the page: ask the visible inputs whether they are empty (when
/// one is, click the page's own submit button so that it shows its errors, and wait), ask the
/// page to validate, wait, clear the errors of hidden inputs, answer once. GTK main thread only.
class FieldValidation {
 public:
  /// What the exchange needs of the form. The form calls the answers and the timers only while
  /// it exists, so a form that is gone ends the exchange without an answer.
  struct Page {
    std::function<void(const std::string& script)> evaluate;
    /// `done` gets whether the script's answer is the value true (a script error is not).
    std::function<void(const std::string& script, std::function<void(bool)> done)> evaluateIsTrue;
    std::function<void(std::function<void()> work, unsigned delayMs)> later;
  };
  using Callback = std::function<void(std::uint64_t element, bool valid)>;

  /// The wait after the page's submit click and after the validation queries.
  static constexpr unsigned kWaitMs = 300;

  /// Validates `element` (0 to 3, or 4 for all) with the inputs of `visibleElements` shown;
  /// `callback` is called once, on the main loop.
  static void start(Page page, std::set<std::uint64_t> visibleElements, std::uint64_t element,
                    Callback callback);
};

}  // namespace brivane
