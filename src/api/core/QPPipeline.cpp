#include "api/core/QPPipeline.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>
#include <exception>
#include <mutex>
#include <random>
#include <stop_token>
#include <string_view>
#include <utility>

#include "api/core/QPErrorMapping.h"
#include "api/core/QPFields.h"
#include "api/core/QPJSONParse.h"
#include "brivane/util/QPUtils.h"
#include "platform/linux/QPMainContext.h"
#include "platform/linux/QPNetworkEngine.h"

namespace brivane::pipeline {
namespace {

constexpr const char* kJSONContentType = "application/json";
constexpr const char* kFormContentType = "application/x-www-form-urlencoded";
// From this size on, an answer is read away from the main context (about a frame's time).
constexpr std::size_t kLargeAnswerBytes = 256u << 10;

// A CR or LF would end the header and start another of the sender's choosing; a NUL cuts it.
bool fitsInHeader(std::string_view value) {
  return std::none_of(value.begin(), value.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

// ASCII with lossy conversion: every non-ASCII character becomes one '?'.
std::string lossyASCII(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      result.push_back(static_cast<char>(c));
      continue;
    }
    result.push_back('?');
    while (i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) ++i;
  }
  return result;
}

// The first field of a raw form body whose key or value holds a separator ("&" or "="); the
// key as messages may show it ("(a key)" when the key itself holds one).
std::optional<std::string> unsendableFormKey(const std::optional<QPFormParams>& params) {
  if (!params) return std::nullopt;
  auto separated = [](std::string_view text) { return text.find_first_of("&=") != std::string_view::npos; };
  for (const auto& [key, value] : *params) {
    if (separated(key)) return std::string("(a key)");
    if (separated(value)) return key;
  }
  return std::nullopt;
}

// authorise: the bearer token of the moment, when there is one.
class Authorise final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    if (const auto& tokens = exchange->transport->accessTokenProvider()) {
      std::optional<std::string> token;
      try {
        token = tokens->getAccessToken();
      } catch (const std::exception& e) {
        return done(Outcome::failure(errors::client(
            QPClientErrorMissingArgument, std::string("The request could not be built: ") + e.what())));
      }
      if (token) {
        if (!fitsInHeader(*token)) return done(Outcome::failure(errors::unsendableHeader("access token")));
        exchange->request.headers.emplace_back("Authorization", "Bearer " + *token);
      }
    }
    next(exchange, std::move(done));
  }
};

// identify: the two parameters every JSON call carries, made afresh for each call; a GET's
// query items take them at their end.
class Identify final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    if (exchange->entry == Exchange::Entry::JSON) {
      const auto& setting = exchange->transport->setting();
      if (!setting || !setting->urlStr())
        return done(Outcome::failure(
            errors::client(QPClientErrorMissingSetting, "The base URL ('url') is not set.")));
      if (!setting->programCode())
        return done(Outcome::failure(
            errors::client(QPClientErrorMissingSetting, "The 'programCode' setting must be set.")));
      // An unset prefix prints as the platform prints a missing object.
      exchange->identifying[0].second =
          setting->partnerReferencePrefix().value_or("(null)") + *QPUtils::genRandomIdWithLength(10);
      exchange->identifying[1].second = *setting->programCode();
      if (auto& items = exchange->components.queryItems) {
        for (const auto& [key, value] : exchange->identifying) items->push_back({key, value});
      }
    }
    next(exchange, std::move(done));
  }
};

// encode: the URL, the content headers and the body, as JSON or as the raw form.
class Encode final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    std::optional<QPError> refused;
    try {
      refused = exchange->entry == Exchange::Entry::JSON ? encodeJSON(*exchange) : encodeForm(*exchange);
    } catch (const std::exception& e) {
      refused = errors::client(QPClientErrorMissingArgument,
                               std::string("The request could not be built: ") + e.what());
    }
    if (refused) return done(Outcome::failure(std::move(*refused)));
    next(exchange, std::move(done));
  }

 private:
  static std::optional<QPError> encodeJSON(Exchange& exchange) {
    QPHttpRequest& request = exchange.request;
    request.url = exchange.transport->composeURL(exchange.components);
    request.headers.emplace_back("Accept", kJSONContentType);
    request.headers.emplace_back("Content-Type", kJSONContentType);
    const auto& params = exchange.params;
    if (!params) return std::nullopt;
    if (const boost::json::value* ip = params->if_contains("X-Ip-Address")) {
      std::string address = errors::textOf(*ip);
      if (!fitsInHeader(address)) return errors::unsendableHeader("'X-Ip-Address' value");
      request.headers.emplace_back("X-Ip-Address", std::move(address));
    }
    if (!params->empty()) {
      boost::json::object body = *params;
      fields::eraseKey(body, "X-Ip-Address");
      for (const auto& [key, value] : exchange.identifying) body[key] = value;
      request.body = boost::json::serialize(body);
    }
    return std::nullopt;
  }

  static std::optional<QPError> encodeForm(Exchange& exchange) {
    const auto& setting = exchange.transport->setting();
    if (!setting || !setting->urlStr())
      return errors::client(QPClientErrorMissingSetting, "The base URL ('url') is not set.");
    if (std::optional<std::string> key = unsendableFormKey(exchange.form)) {
      // A value holding "&" or "=" would split into other fields on the server (a user name
      // "bob&grant_type=x" adds a grant type): refused, and the value is not repeated.
      return errors::client(QPClientErrorUnsendableFormValue,
                            "The form field '" + *key +
                                "' holds '&' or '=', which the form body cannot carry; nothing was sent.");
    }
    QPHttpRequest& request = exchange.request;
    request.url = exchange.transport->composeURL(exchange.components);
    request.headers.emplace_back("Accept", kJSONContentType);
    request.headers.emplace_back("Content-Type", kFormContentType);
    if (exchange.form && !exchange.form->empty()) {
      std::string text;
      for (const auto& [key, value] : *exchange.form) text += key + "=" + value + "&";  // the last "&" stays
      std::string bytes = lossyASCII(text);
      request.headers.emplace_back("Content-Length", std::to_string(bytes.size()));
      request.body = std::move(bytes);
    }
    return std::nullopt;
  }
};

// map: turns what came back into JSON or an error (the failure table, networking failures,
// the client's own stops). A small answer is read where it arrived, on the main context; a
// large one on the networking's worker, so that the main loop does not stall while it is
// parsed and filled.
class Map final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    std::weak_ptr<const QPTransportLayer> owner = exchange->owner;
    next(exchange, [owner = std::move(owner), reader = exchange->reader,
                    done = std::move(done)](Outcome&& outcome) mutable {
      if (!outcome.result || outcome.error) return done(std::move(outcome));
      if (outcome.result->body.size() < kLargeAnswerBytes)
        return read(owner, reader.get(), std::move(outcome), done);
      platform::NetworkEngine::shared()->offload(
          [owner, reader = std::move(reader), outcome = std::move(outcome),
           done = std::move(done)]() mutable { read(owner, reader.get(), std::move(outcome), done); });
    });
  }

 private:
  // With a reader, a successful body is read into the family's response where it is parsed.
  static void read(const std::weak_ptr<const QPTransportLayer>& owner, detail::AnswerReader* reader,
                   Outcome&& outcome, const Done& done) {
    QPHttpResult& result = *outcome.result;
    std::optional<QPError> error = errors::fromNetwork(result);
    const std::string body = std::move(result.body);
    std::optional<QPHTTPResponse> response = errors::responseOf(result);
    // Released meanwhile: the status is not judged, but a networking failure is still one.
    if (auto transport = owner.lock())
      error = transport->errorFromResponse(response ? &*response : nullptr, error, &body);
    if (!error) {
      if (reader != nullptr) {
        error = reader->read(body);
      } else {
        outcome.json = parseJSON(body, &error);
      }
    }
    outcome.error = std::move(error);
    if (response) {  // what steps above may still read of the answer: status and headers
      result.status = response->statusCode;
      result.headers = std::move(response->headerFields);
    }
    done(std::move(outcome));
  }
};

// send: the one step that touches the wire, through the call's HTTP client.
class Send final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next&, Done done) const override {
    QPHttpRequest request = exchange->resent ? exchange->request : std::move(exchange->request);
    exchange->client->send(std::move(request), [done = std::move(done)](QPHttpResult result) {
      Outcome outcome;
      outcome.result = std::move(result);
      done(std::move(outcome));
    });
  }
};

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds since(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

// Runs a listener's method; what it throws is logged and dropped.
void tell(const std::shared_ptr<QPCallListener>& listener, void (QPCallListener::*event)(const QPCallInfo&),
          const QPCallInfo& info) {
  platform::runGuarded([&] { ((*listener).*event)(info); }, "a call listener");
}

// watch the call: the listener hears of its start and its end. What it is told holds no
// identifier, value, token, header value or body: the path template, and errors reduced to
// domain and code (an answer's error, whose domain is the request URL, names the base URL and
// the template instead).
class WatchCall final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    std::shared_ptr<QPCallListener> listener = exchange->options.listener;
    if (!listener) return next(exchange, std::move(done));
    QPCallInfo info;
    info.method = exchange->request.method;
    info.pathTemplate = exchange->components.pathTemplate.value_or(exchange->components.path.value_or(""));
    std::string answerDomain;
    if (const auto& setting = exchange->transport->setting(); setting && setting->urlStr()) {
      std::string_view base = *setting->urlStr();
      if (base.ends_with('/') && info.pathTemplate.starts_with('/')) base.remove_suffix(1);
      answerDomain = errors::withoutUserinfo(base) + info.pathTemplate;
    }
    tell(listener, &QPCallListener::onCallStarted, info);
    next(exchange, [exchange, listener, info = std::move(info), answerDomain = std::move(answerDomain),
                    start = Clock::now(), done = std::move(done)](Outcome&& outcome) mutable {
      info.attempt = exchange->attempts;
      info.duration = since(start);
      if (outcome.result && outcome.result->answered()) info.status = outcome.result->status;
      if (outcome.error) {
        const std::string& domain = outcome.error->domain();
        info.error = QPError(domain.starts_with("brivane.") ? domain : answerDomain, outcome.error->code(),
                             std::nullopt);
      }
      tell(listener, &QPCallListener::onCallFinished, info);
      done(std::move(outcome));
    });
  }
};

// cancel: a stopped call completes once, with `brivane.client` 7, and sends nothing more; the
// client hears of the stop through the request and ends its transfer. Whichever comes first,
// the answer or the stop, is what the call completes with.
class Cancel final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    const std::stop_token& stop = exchange->options.stop;
    if (!stop.stop_possible()) return next(exchange, std::move(done));
    if (stop.stop_requested()) return done(Outcome::failure(errors::cancelled()));
    exchange->request.stop = stop;
    auto state = std::make_shared<State>();
    state->done = std::move(done);
    std::function<void()> onStop = [weak = std::weak_ptr<State>(state)] {
      std::shared_ptr<State> stopped = weak.lock();
      if (!stopped || !stopped->claim()) return;
      // On the thread that stopped: the completion goes to the main context.
      platform::NetworkEngine::shared()->dispatch(
          [stopped] { stopped->finish(Outcome::failure(errors::cancelled())); });
    };
    {
      // A stop on another thread may finish the call before the callback is stored.
      std::lock_guard lock(state->mutex);
      state->onStop = std::make_unique<std::stop_callback<std::function<void()>>>(stop, std::move(onStop));
    }
    next(exchange, [state](Outcome&& outcome) {
      if (state->claim()) state->finish(std::move(outcome));
    });
  }

 private:
  struct State {
    std::atomic<bool> settled{false};
    Done done;
    std::mutex mutex;  // guards `onStop`
    std::unique_ptr<std::stop_callback<std::function<void()>>> onStop;

    bool claim() { return !settled.exchange(true, std::memory_order_acq_rel); }
    void finish(Outcome outcome) {
      std::unique_ptr<std::stop_callback<std::function<void()>>> ending;
      {
        std::lock_guard lock(mutex);
        ending = std::move(onStop);
      }
      ending.reset();  // waits for a stop running on another thread, which finds the call settled
      Done finished = std::move(done);
      finished(std::move(outcome));
    }
  };
};

// retry: tries a failed attempt again, by the call's policy, and hands up the last attempt's
// result only.
class Retry final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    const std::optional<QPRetryPolicy>& policy = exchange->options.retry;
    if (!policy || policy->maxAttempts <= 1 ||
        (exchange->request.method != "GET" && !policy->retryNonIdempotent))
      return next(exchange, std::move(done));
    exchange->resent = true;
    auto state = std::make_shared<State>(State{exchange, next, std::move(done), *policy, Clock::now()});
    attempt(state);
  }

 private:
  struct State {
    std::shared_ptr<Exchange> exchange;
    Next next;
    Done done;
    QPRetryPolicy policy;
    Clock::time_point start;
    int made = 0;
  };

  static void attempt(const std::shared_ptr<State>& state) {
    ++state->made;
    state->next(state->exchange, [state](Outcome&& outcome) {
      std::optional<std::chrono::milliseconds> wait = waitBeforeNext(*state, outcome);
      if (!wait) return state->done(std::move(outcome));
      platform::NetworkEngine::shared()->after(*wait, [state] {
        // Stopped meanwhile: the cancel step has completed the call; nothing more is sent.
        if (state->exchange->request.stop.stop_requested())
          return state->done(Outcome::failure(errors::cancelled()));
        attempt(state);
      });
    });
  }

  static bool retryable(const QPHttpResult& result) {
    if (result.stop != QPHttpResult::Stop::None) return false;
    if (!result.answered()) {
      for (int code : {6, 7, 28, 52, 56})
        if (result.code == code) return true;
      return false;
    }
    for (long status : {408L, 429L, 500L, 502L, 503L, 504L})
      if (result.status == status) return true;
    return false;
  }

  // "Retry-After" as seconds or as an HTTP date ("Sun, 06 Nov 1994 08:49:37 GMT", read without
  // the process's locale); nil when absent or neither.
  static std::optional<std::chrono::milliseconds> retryAfter(const QPHttpResult& result) {
    for (const auto& [name, value] : result.headers) {
      if (name.size() != 11 || !std::equal(name.begin(), name.end(), "retry-after", [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) == b;
          }))
        continue;
      long long seconds = -1;
      auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), seconds);
      if (ec == std::errc() && end == value.data() + value.size() && seconds >= 0)
        return std::chrono::milliseconds(std::min<long long>(seconds, 1LL << 30) * 1000);
      if (std::optional<std::chrono::sys_seconds> date = httpDate(value)) {
        auto ahead = *date - std::chrono::system_clock::now();
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::max(ahead, decltype(ahead)::zero()));
      }
      return std::nullopt;
    }
    return std::nullopt;
  }

  // An IMF-fixdate, the form HTTP servers send.
  static std::optional<std::chrono::sys_seconds> httpDate(std::string_view text) {
    static constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (text.size() != 29 || text[3] != ',' || text.substr(25) != " GMT") return std::nullopt;
    auto number = [&](std::size_t at, std::size_t count) -> int {
      int value = 0;
      auto [end, ec] = std::from_chars(text.data() + at, text.data() + at + count, value);
      return ec == std::errc() && end == text.data() + at + count ? value : -1;
    };
    const std::size_t month = kMonths.find(text.substr(8, 3));
    const int day = number(5, 2), year = number(12, 4), hour = number(17, 2), minute = number(20, 2),
              second = number(23, 2);
    if (month == std::string_view::npos || month % 3 != 0 || day < 1 || year < 0 || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 60)
      return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month / 3 + 1)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days{date} + std::chrono::hours{hour} + std::chrono::minutes{minute} +
           std::chrono::seconds{second};
  }

  static std::optional<std::chrono::milliseconds> waitBeforeNext(const State& state, const Outcome& outcome) {
    const QPRetryPolicy& policy = state.policy;
    if (state.made >= policy.maxAttempts || !outcome.result || !retryable(*outcome.result) ||
        state.exchange->request.stop.stop_requested())
      return std::nullopt;
    std::chrono::milliseconds wait;
    if (std::optional<std::chrono::milliseconds> asked = retryAfter(*outcome.result)) {
      wait = std::min(*asked, policy.maxBackoff);
    } else {
      double ceiling = static_cast<double>(policy.initialBackoff.count()) *
                       std::pow(std::max(policy.multiplier, 1.0), state.made - 1);
      ceiling = std::min(ceiling, static_cast<double>(policy.maxBackoff.count()));
      thread_local std::mt19937_64 random{std::random_device{}()};
      wait = std::chrono::milliseconds(static_cast<long long>(
          std::uniform_real_distribution<double>(0.0, std::max(ceiling, 0.0))(random)));
    }
    if (since(state.start) + wait > policy.maxTotal) return std::nullopt;
    return wait;
  }
};

// watch the attempt: the listener hears of each attempt's end, its status or networking error.
class WatchAttempt final : public Step {
 public:
  void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const override {
    ++exchange->attempts;
    std::shared_ptr<QPCallListener> listener = exchange->options.listener;
    if (!listener) return next(exchange, std::move(done));
    QPCallInfo info;
    info.method = exchange->request.method;
    info.pathTemplate = exchange->components.pathTemplate.value_or(exchange->components.path.value_or(""));
    info.attempt = exchange->attempts;
    next(exchange, [listener, info = std::move(info), start = Clock::now(), stop = exchange->request.stop,
                    done = std::move(done)](Outcome&& outcome) mutable {
      info.duration = since(start);
      if (outcome.result) {
        if (outcome.result->answered()) {
          info.status = outcome.result->status;
        } else if (std::optional<QPError> failed = errors::fromNetwork(*outcome.result)) {
          info.error = QPError(failed->domain(), failed->code(), std::nullopt);
        }
      }
      // An attempt cut by the call's stop is not reported: the call has finished already.
      if (!stop.stop_requested()) tell(listener, &QPCallListener::onAttempt, info);
      done(std::move(outcome));
    });
  }
};

}  // namespace

void Next::operator()(const std::shared_ptr<Exchange>& exchange, Done done) const {
  steps_[index_]->process(exchange, Next(steps_, index_ + 1), std::move(done));
}

void Pipeline::run(const std::shared_ptr<Exchange>& exchange, Done done) const {
  // A call that ends while the steps still run on the caller's thread (refused before sending,
  // or a client that answers at once) completes later, on the main context.
  Next(steps_, 0)(exchange, [exchange, done = std::move(done)](Outcome&& outcome) mutable {
    if (exchange->started.load(std::memory_order_acquire)) return done(std::move(outcome));
    platform::NetworkEngine::shared()->dispatch(
        [done = std::move(done), outcome = std::move(outcome)]() mutable { done(std::move(outcome)); });
  });
  exchange->started.store(true, std::memory_order_release);
}

std::shared_ptr<const Pipeline> Pipeline::standard() {
  static const std::shared_ptr<const Pipeline> pipeline = [] {
    Steps steps;
    steps.push_back(std::make_unique<WatchCall>());
    steps.push_back(std::make_unique<Authorise>());
    steps.push_back(std::make_unique<Identify>());
    steps.push_back(std::make_unique<Encode>());
    steps.push_back(std::make_unique<Cancel>());
    steps.push_back(std::make_unique<Map>());
    steps.push_back(std::make_unique<Retry>());
    steps.push_back(std::make_unique<WatchAttempt>());
    steps.push_back(std::make_unique<Send>());
    return std::make_shared<const Pipeline>(std::move(steps));
  }();
  return pipeline;
}

}  // namespace brivane::pipeline
