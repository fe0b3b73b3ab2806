#include "brivane/api/core/QPCallOptions.h"

#include <utility>

namespace brivane {
namespace {

thread_local const QPCallOptionsScope* innermost = nullptr;

}  // namespace

QPCallListener::~QPCallListener() = default;
void QPCallListener::onCallStarted(const QPCallInfo&) {}
void QPCallListener::onAttempt(const QPCallInfo&) {}
void QPCallListener::onCallFinished(const QPCallInfo&) {}

QPCallOptions QPCallOptions::overriddenBy(const QPCallOptions& overrides) const {
  QPCallOptions merged = *this;
  if (overrides.timeout) merged.timeout = overrides.timeout;
  if (overrides.retry) merged.retry = overrides.retry;
  if (overrides.stop.stop_possible()) merged.stop = overrides.stop;
  if (overrides.listener) merged.listener = overrides.listener;
  return merged;
}

QPCallOptionsScope::QPCallOptionsScope(QPCallOptions options) : outer_(innermost) {
  options_ = outer_ != nullptr ? outer_->options_.overriddenBy(options) : std::move(options);
  innermost = this;
}

QPCallOptionsScope::~QPCallOptionsScope() {
  innermost = outer_;
}

const QPCallOptions* QPCallOptionsScope::current() {
  return innermost != nullptr ? &innermost->options_ : nullptr;
}

}  // namespace brivane
