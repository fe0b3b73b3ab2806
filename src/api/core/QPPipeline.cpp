#include "api/core/QPPipeline.h"

#include <atomic>
#include <exception>
#include <string_view>
#include <utility>

#include "api/core/QPErrorMapping.h"
#include "api/core/QPFields.h"
#include "api/core/QPJSONParse.h"
#include "brivane/util/QPUtils.h"
#include "platform/linux/QPNetworkEngine.h"

namespace brivane::pipeline {
namespace {

constexpr const char* kJSONContentType = "application/json";
constexpr const char* kFormContentType = "application/x-www-form-urlencoded";
// From this size on, an answer is read away from the main context (about a frame's time).
constexpr std::size_t kLargeAnswerBytes = 256u << 10;

// A CR or LF would end the header and start another of the sender's choosing; a NUL cuts it.
bool fitsInHeader(std::string_view value) {
  return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
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
      exchange->identifying["partnerReference"] =
          setting->partnerReferencePrefix().value_or("(null)") + *QPUtils::genRandomIdWithLength(10);
      exchange->identifying["programCode"] = *setting->programCode();
      if (auto& items = exchange->components.queryItems) {
        for (const auto& [key, value] : exchange->identifying)
          items->push_back({std::string(key), std::string(value.get_string())});
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
    next(exchange, [owner = std::move(owner), done = std::move(done)](Outcome outcome) mutable {
      if (!outcome.result || outcome.error) return done(std::move(outcome));
      if (outcome.result->body.size() < kLargeAnswerBytes) return read(owner, std::move(outcome), done);
      platform::NetworkEngine::shared()->offload(
          [owner, outcome = std::move(outcome), done = std::move(done)]() mutable {
            read(owner, std::move(outcome), done);
          });
    });
  }

 private:
  static void read(const std::weak_ptr<const QPTransportLayer>& owner, Outcome outcome, const Done& done) {
    QPHttpResult& result = *outcome.result;
    std::optional<QPError> error = errors::fromNetwork(result);
    const std::string body = std::move(result.body);
    std::optional<QPHTTPResponse> response = errors::responseOf(result);
    // Released meanwhile: the status is not judged, but a networking failure is still one.
    if (auto transport = owner.lock())
      error = transport->errorFromResponse(response ? &*response : nullptr, error, &body);
    if (!error) outcome.json = parseJSON(body, &error);
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
    exchange->client->send(exchange->request, [done = std::move(done)](QPHttpResult result) {
      Outcome outcome;
      outcome.result = std::move(result);
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
  auto returned = std::make_shared<std::atomic<bool>>(false);
  Next(steps_, 0)(exchange, [returned, done = std::move(done)](Outcome outcome) mutable {
    if (returned->load(std::memory_order_acquire)) return done(std::move(outcome));
    platform::NetworkEngine::shared()->dispatch(
        [done = std::move(done), outcome = std::move(outcome)]() mutable { done(std::move(outcome)); });
  });
  returned->store(true, std::memory_order_release);
}

std::shared_ptr<const Pipeline> Pipeline::standard() {
  static const std::shared_ptr<const Pipeline> pipeline = [] {
    Steps steps;
    steps.push_back(std::make_unique<Authorise>());
    steps.push_back(std::make_unique<Identify>());
    steps.push_back(std::make_unique<Encode>());
    steps.push_back(std::make_unique<Map>());
    steps.push_back(std::make_unique<Send>());
    return std::make_shared<const Pipeline>(std::move(steps));
  }();
  return pipeline;
}

}  // namespace brivane::pipeline
