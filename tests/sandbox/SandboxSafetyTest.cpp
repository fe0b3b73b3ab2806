#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"

namespace brivane::sandbox {
namespace {

// AddressSanitizer's shadow memory and its quarantine of freed blocks make the resident size of
// an instrumented process say nothing about what the sandbox keeps.
#if defined(__SANITIZE_ADDRESS__)
#define BRIVANE_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BRIVANE_ADDRESS_SANITIZER 1
#endif
#endif

// The peak resident memory of this process since the last `resetPeakMemory`, in bytes.
std::size_t peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("VmHWM:")) return std::stoull(line.substr(6)) * 1024;
  return 0;
}

void resetPeakMemory() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

// A client that writes what it likes on a connection to the sandbox, byte by byte if need be.
class RawConnection {
 public:
  explicit RawConnection(int port) : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval timeout{30, 0};  // a sandbox that never answers fails the test instead of hanging it
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    connected_ = connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  ~RawConnection() { close(fd_); }
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  bool send(const std::string& data) {
    std::size_t sent = 0;
    while (connected_ && sent < data.size()) {
      ssize_t n = ::send(fd_, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
      if (n <= 0) return false;
      sent += static_cast<std::size_t>(n);
    }
    return connected_;
  }
  /// What the sandbox sends until it closes the connection (or the 30 s receive time-out).
  std::string readAll() {
    std::string all;
    char buffer[4096];
    ssize_t n = 0;
    while ((n = recv(fd_, buffer, sizeof buffer, 0)) > 0) all.append(buffer, static_cast<std::size_t>(n));
    closedBySandbox_ = n == 0 || (n < 0 && errno == ECONNRESET);
    return all;
  }
  /// Whether the last `readAll` ended because the sandbox closed the connection.
  bool closedBySandbox() const { return closedBySandbox_; }
  bool connected() const { return connected_; }

 private:
  int fd_;
  bool connected_ = false;
  bool closedBySandbox_ = false;
};

std::string statusLine(const std::string& answer) {
  return answer.substr(0, answer.find("\r\n"));
}

// Each case runs against a sandbox that keeps its state in memory and one that keeps it in a
// database file: the file changes none of the figures.
class SandboxSafety : public ::testing::TestWithParam<bool> {
 protected:
  SandboxOptions storage() const {
    SandboxOptions options;
    if (GetParam()) options.dataFile = dataFile_;
    return options;
  }
  ~SandboxSafety() override {
    for (const char* suffix : {"", "-wal", "-shm"}) std::remove((dataFile_ + suffix).c_str());
  }

 private:
  std::string dataFile_ = "/tmp/brivane-safety-" + std::to_string(getpid()) + ".db";
};
INSTANTIATE_TEST_SUITE_P(Storage, SandboxSafety, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Database" : "Memory"; });

// The attacks anyone on the machine can make without a token: the sandbox answers each with a
// refusal, keeps what it must keep bounded, and its memory stays under 100 MB through all of them.
TEST_P(SandboxSafety, AttacksWithoutATokenLeaveMemoryBounded) {
  Sandbox sandbox(storage());
  ASSERT_TRUE(sandbox.start());
  httplib::Client http(sandbox.baseUrl());
  http.set_read_timeout(std::chrono::seconds(30));
  ASSERT_TRUE(http.Get("/sandbox/outbox"));
  resetPeakMemory();
  [[maybe_unused]] const std::size_t before = peakMemory();

  // 256 MiB of zeros in a gzip body of a few hundred KiB.
  std::string bomb;
  {
    httplib::detail::gzip_compressor gzip;
    const std::string zeros(1 << 20, '\0');
    for (int i = 0; i < 256; ++i)
      gzip.compress(zeros.data(), zeros.size(), i == 255, [&](const char* data, std::size_t size) {
        bomb.append(data, size);
        return true;
      });
  }
  httplib::Headers gzipped = {{"Content-Encoding", "gzip"}};
  auto refused = http.Post("/account/1000000001/transfer", gzipped, bomb, "application/json");
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, 415);

  // Bodies above 1 MiB, declared or chunked, are refused.
  auto large = http.Post("/account/1000000001/transfer", std::string((1 << 20) + 1, ' '), "application/json");
  ASSERT_TRUE(large);
  EXPECT_EQ(large->status, 413);
  RawConnection chunked(sandbox.port());
  chunked.send("POST /account/1000000001/transfer HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n");
  EXPECT_EQ(statusLine(chunked.readAll()), "HTTP/1.1 411 Length Required");

  // 200,000 headers per request, to new paths.
  std::string headers;
  for (int i = 0; i < 200000; ++i) headers += "X-Filler-" + std::to_string(i % 50) + ": v\r\n";
  for (int i = 0; i < 5; ++i) {
    RawConnection many(sandbox.port());
    ASSERT_TRUE(many.send("GET /probe/" + std::to_string(i) + " HTTP/1.1\r\nHost: x\r\n" + headers + "\r\n"));
    EXPECT_EQ(statusLine(many.readAll()), "HTTP/1.1 431 Request Header Fields Too Large");
  }

  // 1 MiB 3-D Secure posts with unknown tokens: only the latest challenges are kept.
  const std::string data(1000000, 'd');
  for (int i = 0; i < 200; ++i) {
    const std::string body = R"({"method": "card", "cardNumber": "4000000000003220", "expiry": "12/39", )"
                             R"("cvv": "123", "holder": "Ada", "token": "unknown-)" +
                             std::to_string(i) + R"(", "data": ")" + data + "\"}";
    auto answer = http.Post("/providers/authorize", body, "application/json");
    ASSERT_TRUE(answer);
    EXPECT_EQ(boost::json::parse(answer->body).at("outcome"), "challenge") << i;
  }
  auto first =
      http.Post("/providers/3ds/verify", R"({"session": "3ds1", "code": "1234"})", "application/json");
  ASSERT_TRUE(first);
  EXPECT_EQ(boost::json::parse(first->body).at("outcome"), "invalid");

  // What the sandbox keeps for test hooks is bounded: old paths are forgotten, big bodies cut.
  for (int i = 0; i < 300; ++i) http.Get("/record/" + std::to_string(i) + "?n=" + std::to_string(i));
  EXPECT_EQ(sandbox.lastQuery("/record/0"), "");
  EXPECT_EQ(sandbox.lastQuery("/record/299"), "n=299");
  http.Get("/record/last?q=1");
  EXPECT_EQ(sandbox.lastQuery("/record/last"), "q=1");

  // Under AddressSanitizer the attacks and their refusals are still checked; its shadow memory
  // and quarantine make the process's peak size meaningless, so the bound is the ordinary build's.
#ifndef BRIVANE_ADDRESS_SANITIZER
  const std::size_t grown = peakMemory() - before;
  EXPECT_LT(grown, 100u << 20) << grown / (1 << 20) << " MiB";
#endif
}

// Clients that drip their requests byte by byte, and delayed answers, occupy the sandbox's
// threads: its own endpoints still answer, and a request gets a whole-request deadline.
TEST_P(SandboxSafety, SlowClientsAndDelaysLeaveTheSandboxsOwnEndpointsAnswering) {
  SandboxOptions options = storage();
  options.requestDeadline = std::chrono::seconds(2);
  Sandbox sandbox(options);
  ASSERT_TRUE(sandbox.start());

  // A delay fault longer than the deadline is no slow client: its answer comes.
  sandbox.injectFault("/settings/country", Fault::Delay, 1, std::chrono::seconds(3));
  httplib::Client patient(sandbox.baseUrl());
  patient.set_read_timeout(std::chrono::seconds(30));
  EXPECT_TRUE(patient.Get("/settings/country"));

  std::vector<std::unique_ptr<RawConnection>> drips;
  for (int i = 0; i < 40; ++i) drips.push_back(std::make_unique<RawConnection>(sandbox.port()));
  std::atomic<bool> dripping{true};
  std::thread dripper([&] {
    const std::string request = "GET /settings/country HTTP/1.1\r\nHost: x\r\nX-Slow: ";
    for (std::size_t at = 0; dripping; ++at) {
      for (auto& drip : drips) drip->send(std::string(1, at < request.size() ? request[at] : 'z'));
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  });
  sandbox.injectFault("/", Fault::Delay, 100, std::chrono::seconds(60));
  std::vector<std::thread> delayed;
  for (int i = 0; i < 40; ++i)
    delayed.emplace_back([&sandbox] {
      httplib::Client client(sandbox.baseUrl());
      client.set_read_timeout(std::chrono::seconds(90));
      client.Get("/settings/country");
    });

  httplib::Client http(sandbox.baseUrl());
  http.set_read_timeout(std::chrono::seconds(30));
  http.set_connection_timeout(std::chrono::seconds(30));
  auto outbox = http.Get("/sandbox/outbox");
  auto cleared = http.Delete("/sandbox/faults");
  EXPECT_TRUE(outbox && outbox->status == 200);
  EXPECT_TRUE(cleared && cleared->status == 200);
  // Every dripping client is cut off at the deadline, however steadily it drips.
  for (std::size_t i = 0; i < drips.size(); ++i) {
    const std::string answer = drips[i]->readAll();
    EXPECT_TRUE(answer.empty() || answer.starts_with("HTTP/1.1 408")) << answer;
    if (!drips[i]->closedBySandbox()) {
      ADD_FAILURE() << "connection " << i << " is still open";
      break;
    }
  }
  dripping = false;
  dripper.join();
  sandbox.stop();  // cuts the delayed answers short
  for (std::thread& thread : delayed) thread.join();
}

TEST(SandboxBinding, ABusyPortIsRefusedNotShared) {
  Sandbox first;
  ASSERT_TRUE(first.start());
  SandboxOptions same;
  same.port = first.port();
  EXPECT_FALSE(Sandbox(same).start()) << "a second sandbox listens on the busy port " << first.port();
  first.stop();  // once the port is free again it can be taken at once
  EXPECT_TRUE(Sandbox(same).start());
}

}  // namespace
}  // namespace brivane::sandbox
