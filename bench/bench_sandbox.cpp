// A burst of transfers against a sandbox that keeps its state in memory and one that keeps it in
// a database file (`--data`), side by side.
//
// Each round starts both sandboxes afresh (a new file for the database one) and sends the same
// burst to each, in an order that alternates from round to round: kClients threads, each with a
// kept-alive connection, send kTransfers transfers in all. A round yields the ratio of the two
// wall times, database/memory; the summary prints the median of those ratios with quartiles and
// extremes, and each side's median throughput.
#include <httplib.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "BenchRounds.h"
#include "sandbox/Sandbox.h"

namespace {

constexpr int kRounds = 9;
constexpr int kClients = 4;
constexpr int kTransfers = 400;  // with their fees, within the demo account's balance

// The wall time of one burst, in seconds; -1 when a transfer failed.
double burst(const std::string& dataFile) {
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(dataFile + suffix);
  brivane::sandbox::SandboxOptions options;
  options.dataFile = dataFile;
  brivane::sandbox::Sandbox sandbox(options);
  if (!sandbox.start()) return -1;
  const std::string token = sandbox.issueAccessToken();
  const std::string body =
      R"({"partnerReference": "B1", "programCode": "BRIVANE", "carrierNumber": "1000000002", )"
      R"("transferAmount": "1.37", "transferCurrCode": "EUR"})";
  std::atomic<int> next{0};
  std::atomic<bool> failed{false};
  const bench::Usage start = bench::Usage::now();
  std::vector<std::thread> clients;
  for (int c = 0; c < kClients; ++c)
    clients.emplace_back([&] {
      httplib::Client http(sandbox.baseUrl());
      http.set_keep_alive(true);
      http.set_tcp_nodelay(true);
      http.set_bearer_token_auth(token);
      while (next.fetch_add(1) < kTransfers) {
        auto answer = http.Post("/account/1000000001/transfer", body, "application/json");
        if (!answer || answer->status != 200) failed = true;
      }
    });
  for (std::thread& client : clients) client.join();
  const double seconds = (bench::Usage::now() - start).wallSeconds;
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(dataFile + suffix);
  return failed ? -1 : seconds;
}

}  // namespace

int main() {
  const std::string file =
      (std::filesystem::temp_directory_path() / ("brivane-bench-" + std::to_string(getpid()) + ".db"))
          .string();
  std::vector<double> ratios, memory, database;
  for (int round = 0; round < kRounds; ++round) {
    double inMemory = 0, inFile = 0;
    if (round % 2 == 0) {
      inMemory = burst("");
      inFile = burst(file);
    } else {
      inFile = burst(file);
      inMemory = burst("");
    }
    if (inMemory <= 0 || inFile <= 0) {
      std::fprintf(stderr, "round %d: a transfer failed\n", round + 1);
      return 1;
    }
    ratios.push_back(inFile / inMemory);
    memory.push_back(kTransfers / inMemory);
    database.push_back(kTransfers / inFile);
  }
  std::printf("%d transfers from %d clients, %d rounds\n", kTransfers, kClients, kRounds);
  std::printf("memory:    %s transfers/s\n", bench::describe(bench::spreadOf(memory)).c_str());
  std::printf("database:  %s transfers/s\n", bench::describe(bench::spreadOf(database)).c_str());
  std::printf("time ratio database/memory: %s\n", bench::describe(bench::spreadOf(ratios)).c_str());
  return 0;
}
