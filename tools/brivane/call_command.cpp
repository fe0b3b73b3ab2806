#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "api/core/QPFields.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/commands.h"
#include "brivane/json_output.h"
#include "brivane/operations.h"
#include "brivane/options.h"
#include "brivane/platform/QPMainQueue.h"
#include "sandbox/Sandbox.h"

namespace brivane::cli {
namespace {

void printUsage(std::FILE* out) {
  std::fputs(
      "usage: brivane call FAMILY OPERATION [--url URL] [--program CODE] [--prefix TEXT] [--token TOKEN]\n"
      "                    [--NAME VALUE]... [--set FIELD=VALUE]... [--set-file FIELD=FILE]...\n"
      "\n"
      "--url takes an http or https URL. Secrets need not be arguments (visible in the process list):\n"
      "--password-file FILE and --token-file FILE read --password and --token from a file, and\n"
      "--set-file FIELD=FILE reads any request field (oldPass, newPass, password, ...) from one;\n"
      "FILE '-' is standard input, which one option at most may read; one trailing line break is\n"
      "removed. Without --token the bearer token is taken from the environment variable\n"
      "BRIVANE_TOKEN when it is set.\n"
      "\n"
      "Without --url the call goes to an embedded sandbox, with its program code and a fresh token.\n"
      "--NAME VALUE passes an argument of the operation by its parameter name (for\n"
      "getRefreshTokenWithToken, --token is that argument); --set FIELD=VALUE sets a request field:\n"
      "true/false, decimal numbers, dates as yyyy-MM-ddTHH:mm:ss or yyyy-MM-dd (0001-01-01 to\n"
      "9999-12-31), JSON for dictionaries; a later value of a field wins.\n"
      "Prints {\"response\": {...}} and exits 0, or {\"error\": {...}} and exits 1; usage errors exit 2.\n"
      "The output is strict JSON (bytes a server sent that are not UTF-8 print as U+FFFD); an output\n"
      "that cannot be written exits 1.\n"
      "\noperations:\n",
      out);
  for (const Operation& operation : operations()) {
    std::string line = "  " + operation.family + " " + operation.name;
    for (const std::string& name : operation.argumentNames) line += " --" + name + " VALUE";
    if (!operation.fieldNames.empty()) {
      line += " [--set FIELD=VALUE | --set-file FIELD=FILE]...\n      fields:";
      for (const std::string& field : operation.fieldNames) line += " " + field;
    }
    std::fprintf(out, "%s\n", line.c_str());
  }
}

int usageError(const std::string& message) {
  std::fprintf(stderr, "brivane call: %s\n\n", message.c_str());
  printUsage(stderr);
  return 2;
}

// Options whose value is a secret and may come from a file ("--NAME-file FILE", "-" for
// standard input) instead of the command line.
constexpr const char* kSecretOptions[] = {"password", "token"};

// The contents of `path` ("-": standard input) without one trailing line break; nil when it
// cannot be read.
std::optional<std::string> readSecret(const std::string& path) {
  std::FILE* file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
  if (file == nullptr) return std::nullopt;
  std::string text;
  char buffer[4096];
  std::size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, read);
  const bool failed = std::ferror(file) != 0;
  if (file != stdin) std::fclose(file);
  if (failed) return std::nullopt;
  if (text.ends_with('\n')) text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  return text;
}

// Replaces every "--NAME-file FILE" of a secret option by "--NAME <contents>" and every
// "--set-file FIELD=FILE" by "--set FIELD=<contents>", in place, so that the order of the
// options stays; a usage error's message when a file cannot be read or standard input is asked
// for twice.
std::optional<std::string> readSecretFiles(std::vector<std::pair<std::string, std::string>>& named) {
  bool stdinUsed = false;
  for (auto& [name, value] : named) {
    std::string target, prefix, path;
    if (name == "set-file") {
      const std::size_t equals = value.find('=');
      if (equals == std::string::npos || equals == 0)
        return "--set-file takes FIELD=FILE, got '" + value + "'";
      target = "set";
      prefix = value.substr(0, equals + 1);
      path = value.substr(equals + 1);
    } else {
      for (const char* secret : kSecretOptions)
        if (name == std::string(secret) + "-file") target = secret;
      if (target.empty()) continue;
      path = value;
    }
    if (path == "-" && std::exchange(stdinUsed, true)) return "only one option can read standard input";
    std::optional<std::string> contents = readSecret(path);
    if (!contents) return "--" + name + ": cannot read '" + path + "'";
    name = std::move(target);
    value = prefix + *contents;
  }
  return std::nullopt;
}

bool isHttpURL(const std::string& url) {
  std::string scheme = url.substr(0, url.find(':'));
  for (char& c : scheme) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return (scheme == "http" || scheme == "https") && url.compare(scheme.size(), 3, "://") == 0 &&
         url.size() > scheme.size() + 3;
}

}  // namespace

int runCall(const std::vector<std::string>& args) {
  ParsedOptions options;
  std::string error;
  if (!parseOptions(args, {"help"}, &options, &error)) return usageError(error);
  if (options.has("help")) {
    printUsage(stdout);
    return 0;
  }
  if (options.positional.size() != 2) return usageError("expected FAMILY and OPERATION");
  const Operation* operation = findOperation(options.positional[0], options.positional[1]);
  if (operation == nullptr)
    return usageError("unknown operation '" + options.positional[0] + " " + options.positional[1] + "'");

  if (auto problem = readSecretFiles(options.named)) return usageError(*problem);
  const std::set<std::string> parameters(operation->argumentNames.begin(), operation->argumentNames.end());
  CallInput input;
  QPApiProviderOption option;
  std::optional<std::string> bearer;
  for (const auto& [name, value] : options.named) {
    if (parameters.contains(name)) {
      input.arguments[name] = value;
    } else if (name == "set") {
      auto equals = value.find('=');
      if (equals == std::string::npos || equals == 0)
        return usageError("--set takes FIELD=VALUE, got '" + value + "'");
      if (!operation->hasRequest) return usageError(operation->name + " takes no request fields");
      input.fieldValues.emplace_back(value.substr(0, equals), value.substr(equals + 1));
    } else if (name == "url") {
      if (!isHttpURL(value)) return usageError("--url takes an http:// or https:// URL, not '" + value + "'");
      option.url = value;
    } else if (name == "program") {
      option.programCode = value;
    } else if (name == "prefix") {
      option.partnerReferencePrefix = value;
    } else if (name == "token") {
      bearer = value;
    } else {
      return usageError("unknown option --" + name + " for " + operation->name);
    }
  }

  if (!bearer) {
    if (const char* fromEnvironment = std::getenv("BRIVANE_TOKEN");
        fromEnvironment != nullptr && *fromEnvironment)
      bearer = std::string(fromEnvironment);
  }

  // Without a server of its own the call goes to an embedded sandbox, ready to answer.
  std::unique_ptr<sandbox::Sandbox> embedded;
  if (!option.url) {
    embedded = std::make_unique<sandbox::Sandbox>();
    if (!embedded->start()) {
      std::fputs("brivane call: the embedded sandbox could not start\n", stderr);
      return 1;
    }
    option.url = embedded->baseUrl();
    if (!option.programCode) option.programCode = embedded->options().programCode;
    if (!bearer) bearer = embedded->issueAccessToken();
  }
  if (!option.partnerReferencePrefix) option.partnerReferencePrefix = "CLI";
  auto tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  tokens->setAccessToken(bearer);
  option.accessTokenProvider = tokens;
  QPApiProvider provider(option);

  std::optional<CallOutcome> outcome;
  std::string usage;
  if (!operation->start(
          provider, input, [&outcome](CallOutcome result) { outcome = std::move(result); }, &usage))
    return usageError(usage);
  QPMainQueue::runUntil([&outcome] { return outcome.has_value(); }, std::chrono::seconds(75));
  if (!outcome) {
    std::fputs("brivane call: no answer arrived\n", stderr);
    return 1;
  }
  boost::json::object printed;
  if (outcome->error) {
    const QPError& e = *outcome->error;
    printed["error"] =
        boost::json::object{{"domain", e.domain()},
                            {"code", e.code()},
                            {"description", e.description() ? boost::json::value(*e.description())
                                                            : boost::json::value(nullptr)}};
  } else {
    printed["response"] = std::move(outcome->response);
  }
  // JSON has no text for infinities: a value kept as received prints them as null.
  std::printf("%s\n", printedJSON(printed).c_str());
  return outcome->error ? 1 : 0;
}

}  // namespace brivane::cli
