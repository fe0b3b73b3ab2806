// The sandbox's own pages at "/sandbox/": what the calls did, for the developer at this machine.
// Read-only (GET only), plain server-rendered HTML without scripts, every value escaped; nothing
// secret is shown (no password, no token, no full card number or security code). Only loopback
// clients that name the sandbox by a loopback host get them.

#include <algorithm>
#include <cctype>
#include <string_view>

#include "sandbox/SandboxState.h"
#include "sandbox/domain.h"

namespace brivane::sandbox {

namespace {

constexpr const char* kStyle = R"css(
:root { color-scheme: light dark; --line: #d0d4da; --muted: #5f6670; --head: #f1f3f5; --link: #1f5fbf; }
@media (prefers-color-scheme: dark) {
  :root { --line: #3a3f46; --muted: #a0a7b0; --head: #23272d; --link: #7fb0ff; }
}
body { font: 14px/1.45 system-ui, sans-serif; margin: 0 auto; padding: 1rem 1.5rem 3rem; max-width: 72rem; }
header { display: flex; flex-wrap: wrap; gap: 1rem; align-items: baseline; justify-content: space-between;
         border-bottom: 1px solid var(--line); padding-bottom: .5rem; }
header a.home { font-weight: 600; font-size: 1.15rem; color: inherit; text-decoration: none; }
h2 { font-size: 1.05rem; margin: 1.6rem 0 .4rem; }
a { color: var(--link); }
table { border-collapse: collapse; width: 100%; }
th, td { border-bottom: 1px solid var(--line); padding: .3rem .6rem; text-align: left; vertical-align: top;
         overflow-wrap: anywhere; }
th { background: var(--head); font-weight: 600; }
td.num, th.num { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.muted, .empty { color: var(--muted); }
code { font: 12px/1.4 ui-monospace, monospace; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .2rem 1rem; margin: 0; }
dt { color: var(--muted); }
dd { margin: 0; overflow-wrap: anywhere; }
input[type=search] { font: inherit; padding: .25rem .5rem; width: 24rem; max-width: 60vw; }
button { font: inherit; padding: .25rem .8rem; }
)css";

// A path segment or query value: everything but unreserved characters percent-encoded.
std::string encoded(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string result;
  for (unsigned char c : text) {
    if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
      result += static_cast<char>(c);
    } else {
      result += '%';
      result += kHex[c >> 4];
      result += kHex[c & 15];
    }
  }
  return result;
}

std::string link(const char* kind, const std::string& key, const std::string& label = {}) {
  return "<a href=\"/sandbox/" + std::string(kind) + "/" + htmlEscaped(encoded(key)) + "\">" +
         htmlEscaped(label.empty() ? key : label) + "</a>";
}

// "yyyy-MM-dd HH:mm:ss" of the ledger's and histories' date and "HHmmss" time.
std::string when(const std::string& date, const std::string& time) {
  if (time.size() != 6) return htmlEscaped(date + " " + time);
  return htmlEscaped(date + " " + time.substr(0, 2) + ":" + time.substr(2, 2) + ":" + time.substr(4, 2));
}

std::string money(std::int64_t minor, const std::string& currency) {
  return htmlEscaped(amountText(minor)) + " " + htmlEscaped(currency);
}

// Keys whose values are secrets wherever they appear in what requests carried.
bool secretKey(std::string_view key) {
  std::string lower;
  for (char c : key) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const char* word :
       {"pass", "pin", "cvv", "cvc", "secur", "token", "secret", "mtan", "verificationcode"})
    if (lower.find(word) != std::string::npos) return true;
  return false;
}

// What a request carried, as the pages may show it: secret keys dropped, card numbers and IBANs
// masked wherever they appear.
json::value shown(const json::value& value) {
  if (value.is_string()) {
    const std::string compact = compacted(value.get_string());
    if (luhnValid(compact)) return json::string(maskedCard(compact));
    if (ibanValid(compact)) return json::string(maskedIban(compact));
    return value;
  }
  if (value.is_array()) {
    json::array array;
    for (const json::value& item : value.get_array()) array.push_back(shown(item));
    return array;
  }
  if (value.is_object()) {
    json::object object;
    for (const auto& [key, item] : value.get_object())
      if (!secretKey(key)) object[key] = shown(item);
    return object;
  }
  return value;
}

std::string shownText(const json::value& value) {
  const json::value safe = shown(value);
  return safe.is_string() ? std::string(safe.get_string()) : json::serialize(safe);
}

// A definition list of an object's members, as `shown` lets them through.
std::string members(const json::object& object) {
  std::string html = "<dl>";
  const json::value safe = shown(object);
  for (const auto& [key, value] : safe.get_object())
    html += "<dt>" + htmlEscaped(key) + "</dt><dd>" +
            htmlEscaped(value.is_string() ? std::string(value.get_string()) : json::serialize(value)) +
            "</dd>";
  return html + "</dl>";
}

class Table {
 public:
  explicit Table(std::initializer_list<const char*> headings) {
    html_ = "<table><thead><tr>";
    for (const char* heading : headings) {
      const bool number = heading[0] == '#';
      html_ += std::string("<th") + (number ? " class=\"num\"" : "") + ">" +
               htmlEscaped(number ? heading + 1 : heading) + "</th>";
    }
    html_ += "</tr></thead><tbody>";
    columns_ = headings.size();
  }
  /// Cells are HTML already; a cell starting with '#' is a number, right-aligned.
  void row(std::initializer_list<std::string> cells) {
    html_ += "<tr>";
    for (const std::string& cell : cells)
      html_ +=
          cell.starts_with('#') ? "<td class=\"num\">" + cell.substr(1) + "</td>" : "<td>" + cell + "</td>";
    html_ += "</tr>";
    ++rows_;
  }
  std::string html() const {
    if (rows_ == 0)
      return html_ + "<tr><td class=\"empty\" colspan=\"" + std::to_string(columns_) +
             "\">None.</td></tr></tbody></table>";
    return html_ + "</tbody></table>";
  }

 private:
  std::string html_;
  std::size_t columns_ = 0;
  std::size_t rows_ = 0;
};

std::string page(const std::string& title, const std::string& body, const std::string& query = {}) {
  return "<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\">"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"><title>" +
         htmlEscaped(title) + " · Brivane sandbox</title><style>" + kStyle +
         "</style></head><body><header><a class=\"home\" href=\"/sandbox/\">Brivane sandbox</a>"
         "<form method=\"get\" action=\"/sandbox/search\"><input type=\"search\" name=\"q\" value=\"" +
         htmlEscaped(query) +
         "\" placeholder=\"Account number, user or payment reference\" aria-label=\"Search\"> "
         "<button>Search</button></form></header><h1 style=\"font-size:1.3rem\">" +
         htmlEscaped(title) + "</h1>" + body +
         "<p class=\"muted\">Read-only view of this sandbox's state. Secrets (passwords, tokens, card "
         "numbers, security codes) are never shown.</p></body></html>";
}

const char* faultName(Fault fault) {
  switch (fault) {
    case Fault::ServiceUnavailable:
      return "503";
    case Fault::NotFoundHtml:
      return "404-html";
    case Fault::NotJson:
      return "not-json";
    case Fault::NoContent:
      return "204";
    case Fault::Delay:
      return "delay";
    case Fault::Reset:
      return "reset";
  }
  return "";
}

std::string holderName(const Account& account) {
  for (const char* key : {"companyName", "lastName", "firstName"})
    if (std::string name = text(account.information, key); !name.empty()) {
      if (std::string first = text(account.information, "firstName");
          std::string_view(key) == "lastName" && !first.empty())
        return first + " " + name;
      return name;
    }
  return "";
}

std::string userCell(const Store& store, const std::string& userId) {
  if (userId.empty()) return "<span class=\"muted\">(the program)</span>";
  return store.users.contains(userId) ? link("users", userId) : htmlEscaped(userId);
}

std::string accountCell(const Store& store, const std::string& accno) {
  return store.accounts.contains(accno) ? link("accounts", accno) : htmlEscaped(accno);
}

std::string accountsTable(const Store& store, const std::vector<const Account*>& accounts) {
  Table table({"Account", "Type", "Holder", "User", "State", "#Balance"});
  for (const Account* account : accounts)
    table.row({link("accounts", account->accno), htmlEscaped(account->accnoType),
               htmlEscaped(holderName(*account)), userCell(store, account->userId),
               htmlEscaped(account->state),
               "#" + money(balanceOf(store, account->accno), account->currency)});
  return table.html();
}

std::string paymentsTable(const Store& store, const std::vector<const Payment*>& payments) {
  Table table({"Payment", "User", "Account", "State", "#Amount", "#Captured", "Last change"});
  for (const Payment* payment : payments) {
    const std::string last =
        payment->history.empty() ? "" : when(payment->history.back().date, payment->history.back().time);
    table.row({link("payments", payment->uniqueReference), userCell(store, payment->userId),
               accountCell(store, payment->accno), htmlEscaped(payment->state),
               "#" + money(payment->amount, payment->currency),
               "#" + money(payment->capturedAmount, payment->currency), last});
  }
  return table.html();
}

std::string optionsTable(const Store& store, const std::vector<const StoredPaymentOption*>& options) {
  Table table({"Reference", "Account", "Kind", "State", "Default", "Number"});
  for (const StoredPaymentOption* option : options) {
    std::string number;
    for (const char* key : {"carrierNumber", "iban", "IBAN", "accountNumber"})
      if (const json::value* value = option->details.if_contains(key)) {
        number = shownText(*value);
        break;
      }
    table.row({htmlEscaped(option->reference), accountCell(store, option->accno),
               htmlEscaped(option->paymentOptionCode), htmlEscaped(option->state),
               option->isDefault ? "yes" : "", "<code>" + htmlEscaped(number) + "</code>"});
  }
  return table.html();
}

std::string outboxTable(const std::vector<OutboxMessage>& messages) {
  Table table({"##", "To", "Kind", "Message"});
  std::size_t number = 0;
  for (const OutboxMessage& message : messages)
    table.row({"#" + std::to_string(++number), htmlEscaped(message.to), htmlEscaped(message.kind),
               htmlEscaped(message.text)});
  return table.html();
}

template <class Map>
auto all(const Map& map) {
  std::vector<const typename Map::mapped_type*> items;
  for (const auto& [key, item] : map) items.push_back(&item);
  return items;
}

std::string overview(const Sandbox::State& state) {
  const Store& store = state.store;
  std::string body;
  Table faults({"Path prefix", "Fault", "#Requests left", "#Delay (ms)"});
  for (const PendingFault& fault : state.faults)
    faults.row({"<code>" + htmlEscaped(fault.pathPrefix) + "</code>", htmlEscaped(faultName(fault.fault)),
                "#" + std::to_string(fault.remaining), "#" + std::to_string(fault.delay.count())});
  body += "<h2 id=\"faults\">Faults in force</h2>" + faults.html();

  Table users({"User", "Main e-mail", "Accounts"});
  for (const auto& [userId, user] : store.users) {
    std::string accounts;
    for (const std::string& accno : user.accnos)
      accounts += (accounts.empty() ? "" : ", ") + accountCell(store, accno);
    auto main = store.mainEmails.find(userId);
    users.row({link("users", userId), htmlEscaped(main == store.mainEmails.end() ? userId : main->second),
               accounts});
  }
  body += "<h2 id=\"users\">Users</h2>" + users.html();
  body += "<h2 id=\"accounts\">Accounts</h2>" + accountsTable(store, all(store.accounts));
  body += "<h2 id=\"payments\">Payments</h2>" + paymentsTable(store, all(store.payments));
  body += "<h2 id=\"options\">Stored payment options</h2>" + optionsTable(store, all(store.paymentOptions));
  body += "<h2 id=\"outbox\">Outbox</h2>" + outboxTable(store.outbox);
  return page("Overview", body);
}

std::string accountPage(const Store& store, const Account& account) {
  std::string body = "<dl><dt>Account</dt><dd>" + htmlEscaped(account.accno) + "</dd><dt>Type</dt><dd>" +
                     htmlEscaped(account.accnoType) + "</dd><dt>User</dt><dd>" +
                     userCell(store, account.userId) + "</dd><dt>State</dt><dd>" +
                     htmlEscaped(account.state) + "</dd><dt>Balance</dt><dd>" +
                     money(balanceOf(store, account.accno), account.currency) + "</dd></dl>";
  body += "<h2>Holder</h2>" + members(account.information);
  Table ledger({"##", "Date", "Reference", "Type", "Description", "Counterparty", "#Amount", "#Balance"});
  std::int64_t running = 0;
  for (const LedgerEntry& entry : store.ledger) {
    if (entry.accno != account.accno) continue;
    running += entry.amount;
    ledger.row({"#" + std::to_string(entry.sequence), when(entry.date, entry.time),
                htmlEscaped(entry.entryReference), htmlEscaped(entry.type), htmlEscaped(entry.description),
                accountCell(store, entry.counterparty), "#" + money(entry.amount, entry.currency),
                "#" + htmlEscaped(amountText(running))});
  }
  body += "<h2>Ledger</h2>" + ledger.html();
  std::vector<const Payment*> payments;
  for (const auto& [reference, payment] : store.payments)
    if (payment.accno == account.accno) payments.push_back(&payment);
  body += "<h2>Payments</h2>" + paymentsTable(store, payments);
  std::vector<const StoredPaymentOption*> options;
  for (const auto& [reference, option] : store.paymentOptions)
    if (option.accno == account.accno) options.push_back(&option);
  body += "<h2>Stored payment options</h2>" + optionsTable(store, options);
  Table devices({"Device type", "Client"});
  for (const Device& device : account.devices)
    devices.row({htmlEscaped(device.deviceType), htmlEscaped(device.clientId)});
  body += "<h2>Devices</h2>" + devices.html();
  return page("Account " + account.accno, body);
}

std::string paymentPage(const Store& store, const Payment& payment) {
  std::string body = "<dl><dt>Reference</dt><dd>" + htmlEscaped(payment.uniqueReference) +
                     "</dd><dt>User</dt><dd>" + userCell(store, payment.userId) +
                     "</dd><dt>Account</dt><dd>" + accountCell(store, payment.accno) +
                     "</dd><dt>State</dt><dd>" + htmlEscaped(payment.state) + "</dd><dt>Amount</dt><dd>" +
                     money(payment.amount, payment.currency) + "</dd><dt>Captured</dt><dd>" +
                     money(payment.capturedAmount, payment.currency) + "</dd></dl>";
  Table history({"Date", "State", "Call"});
  for (const PaymentEvent& event : payment.history)
    history.row({when(event.date, event.time), htmlEscaped(event.state),
                 "<code>" + htmlEscaped(event.operation) + "</code>"});
  body += "<h2>History</h2>" + history.html();
  Table ledger({"##", "Date", "Account", "Type", "Description", "#Amount"});
  for (const LedgerEntry& entry : store.ledger)
    if (entry.entryReference.ends_with("-" + payment.uniqueReference))
      ledger.row({"#" + std::to_string(entry.sequence), when(entry.date, entry.time),
                  accountCell(store, entry.accno), htmlEscaped(entry.type), htmlEscaped(entry.description),
                  "#" + money(entry.amount, entry.currency)});
  body += "<h2>Bookings</h2>" + ledger.html();
  body += "<h2>Details</h2>" + members(payment.details);
  return page("Payment " + payment.uniqueReference, body);
}

std::string userPage(const Store& store, const User& user) {
  auto main = store.mainEmails.find(user.userId);
  std::string body = "<dl><dt>User</dt><dd>" + htmlEscaped(user.userId) + "</dd><dt>Main e-mail</dt><dd>" +
                     htmlEscaped(main == store.mainEmails.end() ? user.userId : main->second) + "</dd></dl>";
  Table emails({"Secondary e-mail", "Verified"});
  for (const SecondaryEmail& email : user.secondaryEmails)
    emails.row({htmlEscaped(email.emailAddress), email.isEmailVerified ? "yes" : "no"});
  body += "<h2>Secondary e-mails</h2>" + emails.html();
  std::vector<const Account*> accounts;
  for (const std::string& accno : user.accnos)
    if (auto it = store.accounts.find(accno); it != store.accounts.end()) accounts.push_back(&it->second);
  body += "<h2>Accounts</h2>" + accountsTable(store, accounts);
  std::vector<const Payment*> payments;
  for (const auto& [reference, payment] : store.payments)
    if (payment.userId == user.userId) payments.push_back(&payment);
  body += "<h2>Payments</h2>" + paymentsTable(store, payments);
  return page("User " + user.userId, body);
}

std::string searchPage(const Store& store, const std::string& query) {
  auto matches = [&](const std::string& value) {
    if (query.empty()) return false;
    auto found = std::search(value.begin(), value.end(), query.begin(), query.end(), [](char a, char b) {
      return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    });
    return found != value.end();
  };
  std::vector<const Account*> accounts;
  for (const auto& [accno, account] : store.accounts)
    if (matches(accno) || matches(account.userId)) accounts.push_back(&account);
  Table users({"User", "Accounts"});
  for (const auto& [userId, user] : store.users) {
    auto main = store.mainEmails.find(userId);
    if (!matches(userId) && !(main != store.mainEmails.end() && matches(main->second))) continue;
    std::string held;
    for (const std::string& accno : user.accnos)
      held += (held.empty() ? "" : ", ") + accountCell(store, accno);
    users.row({link("users", userId), held});
  }
  std::vector<const Payment*> payments;
  for (const auto& [reference, payment] : store.payments)
    if (matches(reference)) payments.push_back(&payment);
  std::string body = "<h2>Accounts</h2>" + accountsTable(store, accounts) + "<h2>Users</h2>" + users.html() +
                     "<h2>Payments</h2>" + paymentsTable(store, payments);
  return page("Search: " + query, body, query);
}

// Whether the request may see the pages: from this machine, naming the sandbox by a loopback
// host (a page of another site that renamed itself to 127.0.0.1 names its own host).
bool local(const httplib::Request& req) {
  const std::string peer = req.remote_addr;
  if (!peer.starts_with("127.") && peer != "::1" && !peer.starts_with("::ffff:127.")) return false;
  std::string host = req.get_header_value("Host");
  if (host.starts_with('[')) {
    host = host.substr(0, host.find(']') + 1);
  } else {
    host = host.substr(0, host.find(':'));
  }
  return host == "localhost" || host == "[::1]" ||
         (host.starts_with("127.") && std::all_of(host.begin(), host.end(), [](char c) {
            return std::isdigit(static_cast<unsigned char>(c)) || c == '.';
          }));
}

void sendPage(httplib::Response& res, int status, const std::string& html) {
  res.status = status;
  res.set_header("Content-Security-Policy",
                 "default-src 'none'; style-src 'unsafe-inline'; form-action 'self'; base-uri 'none'; "
                 "frame-ancestors 'none'");
  res.set_header("X-Content-Type-Options", "nosniff");
  res.set_header("Referrer-Policy", "no-referrer");
  res.set_header("Cache-Control", "no-store");
  res.set_content(html, "text/html; charset=utf-8");
}

using Render = std::string (*)(const Sandbox::State& state, const httplib::Request& req, int* status);

void serve(Sandbox::State& state, const char* pattern, Render render) {
  state.server.Get(pattern, [&state, render](const httplib::Request& req, httplib::Response& res) {
    if (!local(req)) {
      sendPage(res, 403, page("Not here", "<p>These pages are for this machine only.</p>"));
      return;
    }
    int status = 200;
    std::string html;
    {
      std::lock_guard lock(state.mutex);
      html = render(state, req, &status);
    }
    sendPage(res, status, html);
  });
}

std::string notFound(const char* kind, const std::string& key, int* status) {
  *status = 404;
  return page("Not found", "<p>The sandbox has no " + std::string(kind) + " '" + htmlEscaped(key) + "'.</p>");
}

}  // namespace

void registerInspectorPages(Sandbox::State& state) {
  state.server.Get("/sandbox",
                   [](const httplib::Request&, httplib::Response& res) { res.set_redirect("/sandbox/"); });
  serve(state, "/sandbox/",
        [](const Sandbox::State& s, const httplib::Request&, int*) { return overview(s); });
  serve(state, "/sandbox/accounts/(.+)",
        [](const Sandbox::State& s, const httplib::Request& req, int* status) {
          const std::string accno = req.matches[1].str();
          auto it = s.store.accounts.find(accno);
          return it == s.store.accounts.end() ? notFound("account", accno, status)
                                              : accountPage(s.store, it->second);
        });
  serve(state, "/sandbox/payments/(.+)",
        [](const Sandbox::State& s, const httplib::Request& req, int* status) {
          const std::string reference = req.matches[1].str();
          auto it = s.store.payments.find(reference);
          return it == s.store.payments.end() ? notFound("payment", reference, status)
                                              : paymentPage(s.store, it->second);
        });
  serve(state, "/sandbox/users/(.+)", [](const Sandbox::State& s, const httplib::Request& req, int* status) {
    const std::string userId = req.matches[1].str();
    auto it = s.store.users.find(userId);
    return it == s.store.users.end() ? notFound("user", userId, status) : userPage(s.store, it->second);
  });
  serve(state, "/sandbox/search", [](const Sandbox::State& s, const httplib::Request& req, int*) {
    return searchPage(s.store, req.get_param_value("q"));
  });
}

}  // namespace brivane::sandbox
