#include "sandbox/storage.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "sandbox/SandboxState.h"
#include "sandbox/domain.h"

namespace brivane::sandbox {

namespace {

class MemoryStorage final : public Storage {
 public:
  bool load(Sandbox::State&, std::string*) override { return false; }
  std::string save(const Sandbox::State&) override { return {}; }
};

/// Marks a database as the sandbox's ("BRVS"), beside its schema version.
constexpr int kApplicationId = 0x42525653;

constexpr const char* kSchema = R"sql(
CREATE TABLE users(user_id TEXT PRIMARY KEY, data TEXT NOT NULL);
CREATE TABLE accounts(accno TEXT PRIMARY KEY, user_id TEXT NOT NULL, data TEXT NOT NULL);
CREATE TABLE payment_options(reference TEXT PRIMARY KEY, accno TEXT NOT NULL, data TEXT NOT NULL);
CREATE TABLE payments(unique_reference TEXT PRIMARY KEY, user_id TEXT NOT NULL, state TEXT NOT NULL,
                      data TEXT NOT NULL);
CREATE TABLE authorizations(token TEXT PRIMARY KEY, reference TEXT NOT NULL, data TEXT NOT NULL);
CREATE TABLE tokens(token TEXT PRIMARY KEY, kind TEXT NOT NULL, user_id TEXT NOT NULL);
CREATE TABLE ledger(sequence INTEGER PRIMARY KEY, entry_reference TEXT NOT NULL, accno TEXT NOT NULL,
                    amount INTEGER NOT NULL, currency TEXT NOT NULL, type TEXT NOT NULL,
                    description TEXT NOT NULL, counterparty TEXT NOT NULL, date TEXT NOT NULL,
                    time TEXT NOT NULL);
CREATE INDEX ledger_by_account ON ledger(accno);
CREATE TABLE outbox(position INTEGER PRIMARY KEY, recipient TEXT NOT NULL, kind TEXT NOT NULL,
                    code TEXT NOT NULL, text TEXT NOT NULL);
CREATE TABLE settings(name TEXT PRIMARY KEY, value TEXT NOT NULL);
)sql";

// --- the state's parts as JSON ---------------------------------------------------------------

json::value parsed(std::string_view text) {
  json::parse_options options;
  options.allow_invalid_utf8 = true;  // what requests carried is kept byte for byte
  boost::system::error_code ec;
  json::value value = json::parse(text, ec, {}, options);
  return ec ? json::value() : value;
}

std::int64_t integer(const json::object& object, const char* key) {
  const json::value* value = object.if_contains(key);
  return value != nullptr && value->is_int64() ? value->get_int64() : 0;
}

json::object objectOf(const json::object& object, const char* key) {
  const json::value* value = object.if_contains(key);
  return value != nullptr && value->is_object() ? value->get_object() : json::object();
}

json::array arrayOf(const json::object& object, const char* key) {
  const json::value* value = object.if_contains(key);
  return value != nullptr && value->is_array() ? value->get_array() : json::array();
}

json::object toJson(const User& user) {
  json::array emails, accnos;
  for (const SecondaryEmail& email : user.secondaryEmails)
    emails.push_back(json::object{{"emailAddress", email.emailAddress}, {"verified", email.isEmailVerified}});
  for (const std::string& accno : user.accnos) accnos.push_back(json::string(accno));
  return {
      {"userId", user.userId}, {"password", user.password}, {"secondaryEmails", emails}, {"accnos", accnos}};
}

User userOf(const json::object& o) {
  User user{text(o, "userId"), text(o, "password"), {}, {}};
  for (const json::value& email : arrayOf(o, "secondaryEmails"))
    if (email.is_object())
      user.secondaryEmails.push_back(
          {text(email.get_object(), "emailAddress"), text(email.get_object(), "verified") == "true"});
  for (const json::value& accno : arrayOf(o, "accnos"))
    if (accno.is_string()) user.accnos.emplace_back(accno.get_string());
  return user;
}

json::object toJson(const Account& account) {
  json::array devices;
  for (const Device& device : account.devices)
    devices.push_back(json::object{{"deviceType", device.deviceType}, {"clientId", device.clientId}});
  return {{"accno", account.accno},
          {"accnoType", account.accnoType},
          {"userId", account.userId},
          {"currency", account.currency},
          {"state", account.state},
          {"information", account.information},
          {"devices", devices},
          {"pendingMtan", account.pendingMtan},
          {"mobilePhoneVerified", account.mobilePhoneVerified},
          {"paymentAccessCode", account.paymentAccessCode}};
}

Account accountOf(const json::object& o) {
  Account account;
  account.accno = text(o, "accno");
  account.accnoType = text(o, "accnoType");
  account.userId = text(o, "userId");
  account.currency = text(o, "currency");
  account.state = text(o, "state");
  account.information = objectOf(o, "information");
  for (const json::value& device : arrayOf(o, "devices"))
    if (device.is_object())
      account.devices.push_back(
          {text(device.get_object(), "deviceType"), text(device.get_object(), "clientId")});
  account.pendingMtan = text(o, "pendingMtan");
  account.mobilePhoneVerified = text(o, "mobilePhoneVerified") == "true";
  account.paymentAccessCode = text(o, "paymentAccessCode");
  return account;
}

json::object toJson(const StoredPaymentOption& option) {
  return {{"reference", option.reference},
          {"accno", option.accno},
          {"paymentOptionCode", option.paymentOptionCode},
          {"state", option.state},
          {"isDefault", option.isDefault},
          {"details", option.details},
          {"verificationCode", option.verificationCode},
          {"authorizationToken", option.authorizationToken}};
}

StoredPaymentOption optionOf(const json::object& o) {
  return {text(o, "reference"),           text(o, "accno"),
          text(o, "paymentOptionCode"),   text(o, "state"),
          text(o, "isDefault") == "true", objectOf(o, "details"),
          text(o, "verificationCode"),    text(o, "authorizationToken")};
}

json::object toJson(const Payment& payment) {
  json::array history;
  for (const PaymentEvent& event : payment.history)
    history.push_back(json::object{
        {"state", event.state}, {"operation", event.operation}, {"date", event.date}, {"time", event.time}});
  return {{"uniqueReference", payment.uniqueReference},
          {"userId", payment.userId},
          {"state", payment.state},
          {"accno", payment.accno},
          {"amount", payment.amount},
          {"capturedAmount", payment.capturedAmount},
          {"currency", payment.currency},
          {"details", payment.details},
          {"history", history}};
}

Payment paymentOf(const json::object& o) {
  Payment payment{text(o, "uniqueReference"), text(o, "userId"),      text(o, "state"),
                  text(o, "accno"),           integer(o, "amount"),   integer(o, "capturedAmount"),
                  text(o, "currency"),        objectOf(o, "details"), {}};
  for (const json::value& event : arrayOf(o, "history"))
    if (event.is_object()) {
      const json::object& e = event.get_object();
      payment.history.push_back({text(e, "state"), text(e, "operation"), text(e, "date"), text(e, "time")});
    }
  return payment;
}

json::object toJson(const Authorization& authorization) {
  return {{"token", authorization.token},
          {"kind", authorization.kind == Authorization::Kind::Payment ? "payment" : "storedPaymentOption"},
          {"reference", authorization.reference},
          {"accno", authorization.accno},
          {"completedByShopper", authorization.completedByShopper},
          {"declined", authorization.declined},
          {"shopperData", authorization.shopperData},
          {"redirectURL", authorization.redirectURL}};
}

Authorization authorizationOf(const json::object& o) {
  return {
      text(o, "token"),
      text(o, "kind") == "payment" ? Authorization::Kind::Payment : Authorization::Kind::StoredPaymentOption,
      text(o, "reference"),
      text(o, "accno"),
      text(o, "completedByShopper") == "true",
      text(o, "declined") == "true",
      objectOf(o, "shopperData"),
      text(o, "redirectURL")};
}

json::value toJson(const std::map<std::string, std::string>& map) {
  json::object object;
  for (const auto& [key, value] : map) object[key] = value;
  return object;
}

std::map<std::string, std::string> stringMapOf(const json::value& value) {
  std::map<std::string, std::string> map;
  if (value.is_object())
    for (const auto& [key, item] : value.get_object())
      if (item.is_string()) map.emplace(std::string(key), std::string(item.get_string()));
  return map;
}

json::value toJson(const std::vector<PendingFault>& faults) {
  json::array array;
  for (const PendingFault& fault : faults)
    array.push_back(json::object{{"pathPrefix", fault.pathPrefix},
                                 {"fault", static_cast<int>(fault.fault)},
                                 {"remaining", fault.remaining},
                                 {"delayMs", fault.delay.count()}});
  return array;
}

std::vector<PendingFault> faultsOf(const json::value& value) {
  std::vector<PendingFault> faults;
  if (value.is_array())
    for (const json::value& item : value.get_array())
      if (item.is_object()) {
        const json::object& o = item.get_object();
        const std::int64_t kind = integer(o, "fault");
        if (kind < 0 || kind > static_cast<int>(Fault::Reset)) continue;
        faults.push_back({text(o, "pathPrefix"), static_cast<Fault>(kind),
                          static_cast<int>(integer(o, "remaining")),
                          std::chrono::milliseconds(integer(o, "delayMs"))});
      }
  return faults;
}

// --- SQLite ----------------------------------------------------------------------------------

/// One prepared statement, reset after each run.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql) { sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr); }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& bind(int at, std::string_view text) {
    sqlite3_bind_text(statement_, at, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
  }
  Statement& bind(int at, std::int64_t number) {
    sqlite3_bind_int64(statement_, at, number);
    return *this;
  }
  /// Runs a statement that returns no rows; false on failure.
  bool run() {
    const bool ok = statement_ != nullptr && sqlite3_step(statement_) == SQLITE_DONE;
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
    return ok;
  }
  /// Steps to the next row; false at the end.
  bool next() { return statement_ != nullptr && sqlite3_step(statement_) == SQLITE_ROW; }
  std::string text(int column) const {
    const auto* data = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return data == nullptr ? std::string() : std::string(data, sqlite3_column_bytes(statement_, column));
  }
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

// What changed in a map since it was last saved: keys written and keys gone.
template <class Map>
struct MapChanges {
  std::vector<typename Map::const_iterator> written;
  std::vector<std::string> erased;

  MapChanges(const Map& now, const Map& saved) {
    auto a = now.begin();
    auto b = saved.begin();
    while (a != now.end() || b != saved.end()) {
      if (b == saved.end() || (a != now.end() && a->first < b->first)) {
        written.push_back(a++);
      } else if (a == now.end() || b->first < a->first) {
        erased.push_back((b++)->first);
      } else {
        if (!(a->second == b->second)) written.push_back(a);
        ++a;
        ++b;
      }
    }
  }
  bool empty() const { return written.empty() && erased.empty(); }
  void applyTo(Map& saved) const {
    for (const auto& it : written) saved[it->first] = it->second;
    for (const std::string& key : erased) saved.erase(key);
  }
};

// Whether an append-only list only grew since it was saved (otherwise it is written anew).
template <class Item>
bool onlyGrew(const std::vector<Item>& now, const std::vector<Item>& saved) {
  return now.size() >= saved.size() && (saved.empty() || now[saved.size() - 1] == saved.back());
}

class Database final : public Storage {
 public:
  Database(sqlite3* db, int lockFd) : db_(db), lockFd_(lockFd) {}
  ~Database() override {
    sqlite3_close_v2(db_);
    close(lockFd_);
  }

  bool load(Sandbox::State& state, std::string* error) override;
  std::string save(const Sandbox::State& state) override;

 private:
  bool exec(const char* sql) { return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }
  std::string problem() const { return sqlite3_errmsg(db_); }
  bool write(const Sandbox::State& state);

  sqlite3* db_;
  int lockFd_;
  // The state as last saved.
  Store saved_;
  std::map<std::string, std::string> savedAccess_, savedRefresh_;
  std::vector<PendingFault> savedFaults_;
};

bool Database::load(Sandbox::State& state, std::string* error) {
  Store& store = state.store;
  std::map<std::string, std::string> settings;
  {
    Statement rows(db_, "SELECT name, value FROM settings");
    while (rows.next()) settings[rows.text(0)] = rows.text(1);
  }
  if (!settings.contains("nextSequence")) return false;  // a new file: nothing kept yet
  auto each = [&](const char* sql, const std::function<void(Statement&)>& take) {
    Statement rows(db_, sql);
    while (rows.next()) take(rows);
  };
  auto object = [&](Statement& rows, int column) {
    json::value value = parsed(rows.text(column));
    if (!value.is_object()) {
      *error = "a row of the database is damaged (" + rows.text(0) + ")";
      return json::object();
    }
    return value.get_object();
  };
  each("SELECT user_id, data FROM users",
       [&](Statement& r) { store.users[r.text(0)] = userOf(object(r, 1)); });
  each("SELECT accno, data FROM accounts",
       [&](Statement& r) { store.accounts[r.text(0)] = accountOf(object(r, 1)); });
  each("SELECT reference, data FROM payment_options",
       [&](Statement& r) { store.paymentOptions[r.text(0)] = optionOf(object(r, 1)); });
  each("SELECT unique_reference, data FROM payments",
       [&](Statement& r) { store.payments[r.text(0)] = paymentOf(object(r, 1)); });
  each("SELECT token, data FROM authorizations",
       [&](Statement& r) { store.authorizations[r.text(0)] = authorizationOf(object(r, 1)); });
  each("SELECT token, kind, user_id FROM tokens", [&](Statement& r) {
    (r.text(1) == "refresh" ? state.refreshTokens : state.accessTokens)[r.text(0)] = r.text(2);
  });
  each(
      "SELECT entry_reference, accno, amount, currency, type, description, counterparty, date, time, "
      "sequence "
      "FROM ledger ORDER BY sequence",
      [&](Statement& r) {
        store.ledger.push_back({r.text(0), r.text(1), r.integer(2), r.text(3), r.text(4), r.text(5),
                                r.text(6), r.text(7), r.text(8), static_cast<std::uint64_t>(r.integer(9))});
      });
  each("SELECT recipient, kind, code, text FROM outbox ORDER BY position", [&](Statement& r) {
    store.outbox.push_back({r.text(0), r.text(1), r.text(2), r.text(3)});
  });
  store.mainEmails = stringMapOf(parsed(settings["mainEmails"]));
  store.passwordResetCodes = stringMapOf(parsed(settings["passwordResetCodes"]));
  store.nextSequence =
      static_cast<std::uint64_t>(std::strtoull(settings["nextSequence"].c_str(), nullptr, 10));
  state.faults = faultsOf(parsed(settings["faults"]));
  saved_ = store;
  savedAccess_ = state.accessTokens;
  savedRefresh_ = state.refreshTokens;
  savedFaults_ = state.faults;
  return true;
}

std::string Database::save(const Sandbox::State& state) {
  const Store& store = state.store;
  MapChanges users(store.users, saved_.users);
  MapChanges accounts(store.accounts, saved_.accounts);
  MapChanges options(store.paymentOptions, saved_.paymentOptions);
  MapChanges payments(store.payments, saved_.payments);
  MapChanges authorizations(store.authorizations, saved_.authorizations);
  MapChanges access(state.accessTokens, savedAccess_);
  MapChanges refresh(state.refreshTokens, savedRefresh_);
  const bool ledgerGrew = onlyGrew(store.ledger, saved_.ledger);
  const bool outboxGrew = onlyGrew(store.outbox, saved_.outbox);
  const bool settingsChanged =
      store.nextSequence != saved_.nextSequence || store.mainEmails != saved_.mainEmails ||
      store.passwordResetCodes != saved_.passwordResetCodes || state.faults != savedFaults_;
  if (users.empty() && accounts.empty() && options.empty() && payments.empty() && authorizations.empty() &&
      access.empty() && refresh.empty() && ledgerGrew && store.ledger.size() == saved_.ledger.size() &&
      outboxGrew && store.outbox.size() == saved_.outbox.size() && !settingsChanged)
    return {};

  if (!exec("BEGIN IMMEDIATE")) return problem();
  bool ok = true;
  auto keyed = [&](const char* insert, const char* erase, const auto& changes, const auto& row) {
    Statement put(db_, insert);
    for (const auto& it : changes.written) ok = ok && row(put, it->first, it->second).run();
    Statement remove(db_, erase);
    for (const std::string& key : changes.erased) ok = ok && remove.bind(1, key).run();
  };
  auto data = [](const auto& item) { return json::serialize(toJson(item)); };
  keyed("INSERT OR REPLACE INTO users VALUES (?1, ?2)", "DELETE FROM users WHERE user_id = ?1", users,
        [&](Statement& s, const std::string& key, const User& user) -> Statement& {
          return s.bind(1, key).bind(2, data(user));
        });
  keyed("INSERT OR REPLACE INTO accounts VALUES (?1, ?2, ?3)", "DELETE FROM accounts WHERE accno = ?1",
        accounts, [&](Statement& s, const std::string& key, const Account& account) -> Statement& {
          return s.bind(1, key).bind(2, account.userId).bind(3, data(account));
        });
  keyed("INSERT OR REPLACE INTO payment_options VALUES (?1, ?2, ?3)",
        "DELETE FROM payment_options WHERE reference = ?1", options,
        [&](Statement& s, const std::string& key, const StoredPaymentOption& option) -> Statement& {
          return s.bind(1, key).bind(2, option.accno).bind(3, data(option));
        });
  keyed("INSERT OR REPLACE INTO payments VALUES (?1, ?2, ?3, ?4)",
        "DELETE FROM payments WHERE unique_reference = ?1", payments,
        [&](Statement& s, const std::string& key, const Payment& payment) -> Statement& {
          return s.bind(1, key).bind(2, payment.userId).bind(3, payment.state).bind(4, data(payment));
        });
  keyed("INSERT OR REPLACE INTO authorizations VALUES (?1, ?2, ?3)",
        "DELETE FROM authorizations WHERE token = ?1", authorizations,
        [&](Statement& s, const std::string& key, const Authorization& authorization) -> Statement& {
          return s.bind(1, key).bind(2, authorization.reference).bind(3, data(authorization));
        });
  for (auto [changes, kind] : {std::pair{&access, "access"}, std::pair{&refresh, "refresh"}})
    keyed("INSERT OR REPLACE INTO tokens VALUES (?1, ?2, ?3)", "DELETE FROM tokens WHERE token = ?1",
          *changes,
          [&, kind = kind](Statement& s, const std::string& key, const std::string& userId) -> Statement& {
            return s.bind(1, key).bind(2, std::string_view(kind)).bind(3, userId);
          });

  std::size_t ledgerFrom = saved_.ledger.size();
  if (!ledgerGrew) {
    ok = ok && exec("DELETE FROM ledger");
    ledgerFrom = 0;
  }
  Statement entry(db_, "INSERT INTO ledger VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)");
  for (std::size_t i = ledgerFrom; ok && i < store.ledger.size(); ++i) {
    const LedgerEntry& e = store.ledger[i];
    ok = entry.bind(1, static_cast<std::int64_t>(e.sequence))
             .bind(2, e.entryReference)
             .bind(3, e.accno)
             .bind(4, e.amount)
             .bind(5, e.currency)
             .bind(6, e.type)
             .bind(7, e.description)
             .bind(8, e.counterparty)
             .bind(9, e.date)
             .bind(10, e.time)
             .run();
  }
  std::size_t outboxFrom = saved_.outbox.size();
  if (!outboxGrew) {
    ok = ok && exec("DELETE FROM outbox");
    outboxFrom = 0;
  }
  Statement message(db_, "INSERT INTO outbox VALUES (?1, ?2, ?3, ?4, ?5)");
  for (std::size_t i = outboxFrom; ok && i < store.outbox.size(); ++i) {
    const OutboxMessage& m = store.outbox[i];
    ok = message.bind(1, static_cast<std::int64_t>(i))
             .bind(2, m.to)
             .bind(3, m.kind)
             .bind(4, m.code)
             .bind(5, m.text)
             .run();
  }
  if (settingsChanged) {
    Statement setting(db_, "INSERT OR REPLACE INTO settings VALUES (?1, ?2)");
    for (const auto& [name, value] :
         {std::pair<const char*, std::string>{"nextSequence", std::to_string(store.nextSequence)},
          {"mainEmails", json::serialize(toJson(store.mainEmails))},
          {"passwordResetCodes", json::serialize(toJson(store.passwordResetCodes))},
          {"faults", json::serialize(toJson(state.faults))}})
      ok = ok && setting.bind(1, std::string_view(name)).bind(2, value).run();
  }
  if (!ok || !exec("COMMIT")) {
    std::string what = problem();
    exec("ROLLBACK");
    return what;
  }

  users.applyTo(saved_.users);
  accounts.applyTo(saved_.accounts);
  options.applyTo(saved_.paymentOptions);
  payments.applyTo(saved_.payments);
  authorizations.applyTo(saved_.authorizations);
  access.applyTo(savedAccess_);
  refresh.applyTo(savedRefresh_);
  if (!ledgerGrew) saved_.ledger.clear();
  saved_.ledger.insert(saved_.ledger.end(), store.ledger.begin() + saved_.ledger.size(), store.ledger.end());
  if (!outboxGrew) saved_.outbox.clear();
  saved_.outbox.insert(saved_.outbox.end(), store.outbox.begin() + saved_.outbox.size(), store.outbox.end());
  saved_.nextSequence = store.nextSequence;
  saved_.mainEmails = store.mainEmails;
  saved_.passwordResetCodes = store.passwordResetCodes;
  savedFaults_ = state.faults;
  return {};
}

std::string refusal(const std::string& path, const std::string& why) {
  return "'" + path + "' " + why;
}

}  // namespace

std::unique_ptr<Storage> memoryStorage() {
  return std::make_unique<MemoryStorage>();
}

std::unique_ptr<Storage> openDatabase(const std::string& path, std::string* error) {
  // Refuse what is not an SQLite file before SQLite touches it.
  {
    std::ifstream file(path, std::ios::binary);
    char header[16] = {};
    file.read(header, sizeof header);
    if (file.gcount() > 0 && (file.gcount() < 16 || std::memcmp(header, "SQLite format 3", 16) != 0)) {
      *error =
          refusal(path, "is not a sandbox database (not an SQLite file); give a new file or a sandbox's");
      return nullptr;
    }
  }
  const int lockFd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lockFd < 0) {
    *error = refusal(path, std::string("cannot be opened: ") + std::strerror(errno));
    return nullptr;
  }
  if (flock(lockFd, LOCK_EX | LOCK_NB) != 0) {
    close(lockFd);
    *error = refusal(path, "is in use by another sandbox; one sandbox at a time may use a database");
    return nullptr;
  }
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
    *error = refusal(path, std::string("cannot be opened: ") + sqlite3_errmsg(db));
    sqlite3_close_v2(db);
    close(lockFd);
    return nullptr;
  }
  auto storage = std::make_unique<Database>(db, lockFd);
  auto number = [&](const char* sql) -> std::optional<std::int64_t> {
    Statement query(db, sql);
    if (!query.next()) return std::nullopt;
    return query.integer(0);
  };
  const auto application = number("PRAGMA application_id");
  const auto version = number("PRAGMA user_version");
  const auto tables = number("SELECT count(*) FROM sqlite_master");
  if (!application || !version || !tables) {
    *error = refusal(path, std::string("is not a sandbox database: ") + sqlite3_errmsg(db));
    return nullptr;
  }
  if (*application == 0 && *tables == 0) {  // a new file: the sandbox's schema
    const std::string create = std::string("BEGIN;") + kSchema +
                               "PRAGMA application_id = " + std::to_string(kApplicationId) +
                               "; PRAGMA user_version = " + std::to_string(kDatabaseVersion) + "; COMMIT;";
    if (sqlite3_exec(db, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
      *error = refusal(path, std::string("cannot be set up as a sandbox database: ") + sqlite3_errmsg(db));
      return nullptr;
    }
  } else if (*application != kApplicationId) {
    *error = refusal(path, "is an SQLite database of another program, not a sandbox database");
    return nullptr;
  } else if (*version != kDatabaseVersion) {
    *error = refusal(path, "is a sandbox database of schema version " + std::to_string(*version) +
                               "; this brivane reads version " + std::to_string(kDatabaseVersion) +
                               " only: use the brivane that wrote it, or start on a new file");
    return nullptr;
  }
  // One writer (this process, holding the lock), the write-ahead log, and a commit that survives
  // the process being killed (not a power cut: that would need FULL).
  if (sqlite3_exec(db, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;", nullptr, nullptr,
                   nullptr) != SQLITE_OK) {
    *error = refusal(path, std::string("cannot be written: ") + sqlite3_errmsg(db));
    return nullptr;
  }
  return storage;
}

}  // namespace brivane::sandbox
