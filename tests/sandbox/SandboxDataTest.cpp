#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "sandbox/SandboxState.h"
#include "sandbox/SandboxTestSupport.h"
#include "sandbox/domain.h"
#include "support/RestCaller.h"

namespace brivane::sandbox {
namespace {

using test::jsonText;
using test::RestCaller;
using ::testing::HasSubstr;

// A database path of its own in the temporary directory, removed (with its WAL) at the end.
struct DataFile {
  explicit DataFile(const std::string& name)
      : path((std::filesystem::temp_directory_path() /
              ("brivane-" + name + "-" + std::to_string(getpid()) + ".db"))
                 .string()) {
    remove();
  }
  ~DataFile() { remove(); }
  void remove() const {
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path + suffix);
  }
  std::string path;
};

std::unique_ptr<Sandbox::State> opened(const std::string& path) {
  auto state = std::make_unique<Sandbox::State>();
  state->options.dataFile = path;
  std::lock_guard lock(state->mutex);
  state->openStorage();
  return state;
}

void expectSame(const Sandbox::State& a, const Sandbox::State& b) {
  EXPECT_TRUE(a.store.users == b.store.users) << "users";
  EXPECT_TRUE(a.store.accounts == b.store.accounts) << "accounts";
  EXPECT_TRUE(a.store.paymentOptions == b.store.paymentOptions) << "stored payment options";
  EXPECT_TRUE(a.store.payments == b.store.payments) << "payments";
  EXPECT_TRUE(a.store.ledger == b.store.ledger) << "ledger";
  EXPECT_TRUE(a.store.outbox == b.store.outbox) << "outbox";
  EXPECT_TRUE(a.store.authorizations == b.store.authorizations) << "authorizations";
  EXPECT_EQ(a.store.mainEmails, b.store.mainEmails);
  EXPECT_EQ(a.store.passwordResetCodes, b.store.passwordResetCodes);
  EXPECT_EQ(a.store.nextSequence, b.store.nextSequence);
  EXPECT_EQ(a.accessTokens, b.accessTokens);
  EXPECT_EQ(a.refreshTokens, b.refreshTokens);
  EXPECT_TRUE(a.faults == b.faults) << "faults";
}

// Each kind of state, changed and saved, is there as it was when the file is opened again; so is
// everything changed before it.
TEST(SandboxData, EveryKindOfStateSurvivesAReopen) {
  const std::string odd = "Caf\xC3\xA9 \xFF<b>";  // not UTF-8, kept byte for byte
  const std::pair<const char*, std::function<void(Sandbox::State&)>> changes[] = {
      {"user",
       [&](auto& s) {
         s.store.users["new@x.test"] = User{"new@x.test", "Pw-1", {{"b@x.test", true}}, {"1000000003"}};
       }},
      {"account",
       [&](auto& s) {
         Account account{"1000000003",         "WALLET",       "new@x.test", "USD", "LOCKED",
                         {{"firstName", odd}}, {{"1", "cli"}}, "123456",     true,  "1357"};
         s.store.accounts[account.accno] = account;
       }},
      {"ledger entry",
       [&](auto& s) { book(s.store, "TR-1", "1000000003", -250, "USD", "TRANSFER_OUT", odd, "x"); }},
      {"payment",
       [&](auto& s) {
         s.store.payments["PAY1"] =
             Payment{"PAY1",
                     "new@x.test",
                     "CAPTURED",
                     "1000000003",
                     999,
                     500,
                     "USD",
                     {{"custom1", odd}, {"n", 1.5}},
                     {{"INITIATED", "PUT /payment/initAuthorize", "2030-01-02", "030405"},
                      {"CAPTURED", "POST /payment/PAY1/capture", "2030-01-02", "030406"}}};
       }},
      {"stored option",
       [&](auto& s) {
         s.store.paymentOptions["SPO1"] = {"SPO1",     "1000000003", "VISA",
                                           "VERIFIED", true,         {{"carrierNumber", "411111******1111"}},
                                           "42",       "tok"};
       }},
      {"authorization",
       [&](auto& s) {
         s.store.authorizations["tok"] = {"tok",
                                          Authorization::Kind::StoredPaymentOption,
                                          "SPO1",
                                          "1000000003",
                                          true,
                                          false,
                                          {{"brand", "VISA"}},
                                          "https://host.test/back"};
       }},
      {"outbox message",
       [&](auto& s) {
         s.store.outbox.push_back({"new@x.test", "mtan", "123456", odd});
       }},
      {"main e-mail", [&](auto& s) { s.store.mainEmails["new@x.test"] = "b@x.test"; }},
      {"password reset code", [&](auto& s) { s.store.passwordResetCodes["new@x.test"] = "9876"; }},
      {"access token", [&](auto& s) { s.accessTokens["A1"] = "new@x.test"; }},
      {"refresh token", [&](auto& s) { s.refreshTokens["R1"] = "new@x.test"; }},
      {"fault",
       [&](auto& s) {
         s.faults.push_back({"/payment", Fault::Delay, 3, std::chrono::milliseconds(250)});
       }},
      {"changed user", [&](auto& s) { s.store.users["demo@brivane.test"].password = "Changed-1"; }},
      {"removed option and token",
       [&](auto& s) {
         s.store.paymentOptions.erase("SPO1");
         s.accessTokens.erase("A1");
       }},
      {"fault used up", [&](auto& s) { s.faults.clear(); }},
      {"reset", [&](auto& s) { s.reset(); }},
  };
  DataFile file("kinds");
  for (const auto& [kind, change] : changes) {
    SCOPED_TRACE(kind);
    auto before = opened(file.path);
    ASSERT_EQ(before->storageError, "");
    {
      std::lock_guard lock(before->mutex);
      change(*before);
      before->save();
    }
    auto expected = std::make_unique<Sandbox::State>();
    expected->store = before->store;
    expected->accessTokens = before->accessTokens;
    expected->refreshTokens = before->refreshTokens;
    expected->faults = before->faults;
    before.reset();  // gives the file up
    auto after = opened(file.path);
    ASSERT_EQ(after->storageError, "");
    expectSame(*expected, *after);
  }
}

// Files that are not the sandbox's, or not of this version, or in use, are refused with a message
// that says so; the tool exits non-zero with it.
TEST(SandboxData, ForeignFilesAreRefusedClearly) {
  auto sql = [](const std::string& path, const char* statements) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_exec(db, statements, nullptr, nullptr, nullptr);
    sqlite3_close(db);
  };
  std::unique_ptr<Sandbox> holder;
  const std::pair<const char*, std::function<void(const std::string&)>> cases[] = {
      {"not an SQLite file", [](const std::string& path) { std::ofstream(path) << "id,amount\n1,2\n"; }},
      {"another program", [&](const std::string& path) { sql(path, "CREATE TABLE notes(text TEXT);"); }},
      {"schema version 99",
       [&](const std::string& path) {
         opened(path);
         sql(path, "PRAGMA user_version = 99;");
       }},
      {"in use by another sandbox",
       [&](const std::string& path) {
         SandboxOptions options;
         options.dataFile = path;
         holder = std::make_unique<Sandbox>(options);
       }},
  };
  for (const auto& [message, prepare] : cases) {
    SCOPED_TRACE(message);
    DataFile file("foreign");
    prepare(file.path);
    SandboxOptions options;
    options.dataFile = file.path;
    Sandbox sandbox(options);
    EXPECT_THAT(sandbox.error(), HasSubstr(message));
    EXPECT_FALSE(sandbox.start());

    const auto [status, said] =
        test::runCommand(test::builtTool().string() + " sandbox --port 0 --data " + file.path + " 2>&1");
    EXPECT_EQ(status, 1) << said;
    EXPECT_THAT(said, HasSubstr(message));
    holder.reset();
  }
}

// Reset, by the route or by the flag at start, brings back the seed data: the balances, no other
// account, and none of the old tokens.
TEST(SandboxData, ResetRestoresTheSeedData) {
  for (const bool byFlag : {false, true}) {
    SCOPED_TRACE(byFlag ? "--reset" : "POST /sandbox/reset");
    DataFile file("reset");
    SandboxOptions options;
    options.dataFile = file.path;
    auto sandbox = std::make_unique<Sandbox>(options);
    ASSERT_TRUE(sandbox->start());
    const std::string token = sandbox->issueAccessToken();
    RestCaller demo(*sandbox, token);
    ASSERT_EQ(
        demo.code("POST", "/account/1000000001/transfer",
                  R"("carrierNumber": "1000000002", "transferAmount": "5.00", "transferCurrCode": "EUR")"),
        "0000");
    ASSERT_EQ(demo.code("PUT", "/account", R"("loginID": "third@x.test", "password": "Third-Pass-3")"),
              "0000");
    ASSERT_NE(sandbox->balance("1000000001"), kOpeningBalance);
    if (byFlag) {
      sandbox.reset();
      options.reset = true;
      sandbox = std::make_unique<Sandbox>(options);
      ASSERT_TRUE(sandbox->start());
    } else {
      httplib::Client http(sandbox->baseUrl());
      auto answer = http.Post("/sandbox/reset", "", "application/json");
      ASSERT_TRUE(answer);
      EXPECT_EQ(answer->status, 200);
    }
    EXPECT_EQ(sandbox->balance("1000000001"), kOpeningBalance);
    EXPECT_EQ(sandbox->balance("1000000002"), kOpeningBalance);
    EXPECT_EQ(sandbox->balance(kProgramAccno), 0);
    EXPECT_EQ(RestCaller(*sandbox, token).code("GET", "/account/1000000001/balance", "accnoType=WALLET"),
              "4001");
    httplib::Client http(sandbox->baseUrl());
    EXPECT_EQ(http.Get("/sandbox/accounts/1000000003")->status, 404);
    EXPECT_EQ(jsonText(test::signIn(sandbox->baseUrl(), "third@x.test", "Third-Pass-3"), "error"),
              "invalid_grant");
  }
}

// The hard way: a burst of concurrent transfers, the process killed with SIGKILL in the middle,
// then restarted on the same file. The ledger still balances to the cent, every transfer is
// booked whole (both sides and the fee) or not at all, and every transfer answered is kept.
TEST(SandboxData, AKillMidBurstLeavesNoTransferHalfBooked) {
  DataFile file("kill");
  std::atomic<int> answered{0}, attempted{0}, done{0}, events{0};  // events: answers and ends, to wait on
  {
    test::SandboxProcess first({"--data", file.path});
    ASSERT_FALSE(first.url.empty());
    const std::string token =
        jsonText(test::signIn(first.url, "demo@brivane.test", "Demo-Pass-1"), "access_token");
    ASSERT_FALSE(token.empty());
    std::vector<std::thread> senders;
    for (int t = 0; t < 8; ++t)
      senders.emplace_back([&] {
        RestCaller demo(first.url, token);
        for (int i = 0; i < 60; ++i) {  // 480 transfers and their fees fit in the balance
          ++attempted;
          const std::string code = demo.code(
              "POST", "/account/1000000001/transfer",
              R"("carrierNumber": "1000000002", "transferAmount": "1.37", "transferCurrCode": "EUR")");
          if (code != "0000") break;  // the process is gone
          ++answered;
          ++events;
          events.notify_all();
        }
        ++done;
        ++events;
        events.notify_all();
      });
    for (int seen = events; answered < 150 && done < 8; seen = events) events.wait(seen);
    first.stop(SIGKILL);
    for (std::thread& sender : senders) sender.join();
  }
  ASSERT_GT(attempted.load(), answered.load());  // requests were in flight when it died

  test::SandboxProcess second({"--data", file.path});
  ASSERT_FALSE(second.url.empty());
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open_v2(file.path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  auto number = [&](const char* sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &statement, nullptr);
    const std::int64_t value =
        sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : -1;
    sqlite3_finalize(statement);
    return value;
  };
  const struct {
    const char* what;
    const char* sql;
    std::int64_t expected;
  } checks[] = {
      {"all money", "SELECT SUM(amount) FROM ledger", 2 * kOpeningBalance},
      {"references booked other than in balanced pairs",
       "SELECT COUNT(*) FROM (SELECT entry_reference FROM ledger WHERE type != 'OPENING_BALANCE' "
       "GROUP BY entry_reference HAVING COUNT(*) != 2 OR SUM(amount) != 0)",
       0},
      {"transfers without their fee",
       "SELECT COUNT(*) FROM ledger t WHERE t.type = 'TRANSFER_OUT' AND NOT EXISTS "
       "(SELECT 1 FROM ledger f WHERE f.entry_reference = t.entry_reference || '-FEE')",
       0},
      {"fees without their transfer",
       "SELECT COUNT(*) FROM ledger f WHERE f.type = 'FEE' AND f.amount < 0 AND NOT EXISTS "
       "(SELECT 1 FROM ledger t WHERE t.entry_reference || '-FEE' = f.entry_reference)",
       0},
  };
  for (const auto& check : checks) EXPECT_EQ(number(check.sql), check.expected) << check.what;
  const std::int64_t kept = number("SELECT COUNT(*) FROM ledger WHERE type = 'TRANSFER_OUT'");
  EXPECT_GE(kept, answered.load());
  EXPECT_LE(kept, attempted.load());
  // The restarted sandbox serves what the file kept.
  const std::int64_t demoBalance = number("SELECT SUM(amount) FROM ledger WHERE accno = '1000000001'");
  sqlite3_close(db);
  const std::string token =
      jsonText(test::signIn(second.url, "demo@brivane.test", "Demo-Pass-1"), "access_token");
  const boost::json::value balance =
      RestCaller(second.url, token).call("GET", "/account/1000000001/balance", "accnoType=WALLET");
  EXPECT_EQ(boost::json::serialize(balance.at("avlBal")), boost::json::serialize(majorUnits(demoBalance)));
}

}  // namespace
}  // namespace brivane::sandbox
