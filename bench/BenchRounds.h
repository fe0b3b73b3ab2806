// Shared by the benchmark programs: per-round ratios summarised as median and spread, and the
// process's CPU time and context switches around a measured stretch.
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace bench {

/// Median, quartiles and extremes of a set of per-round values.
struct Spread {
  double median = 0, p25 = 0, p75 = 0, min = 0, max = 0;
};

inline double quantile(const std::vector<double>& sorted, double q) {
  if (sorted.empty()) return 0;
  double position = q * static_cast<double>(sorted.size() - 1);
  auto low = static_cast<std::size_t>(position);
  std::size_t high = std::min(low + 1, sorted.size() - 1);
  double fraction = position - static_cast<double>(low);
  return sorted[low] + (sorted[high] - sorted[low]) * fraction;
}

inline Spread spreadOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  Spread spread;
  if (values.empty()) return spread;
  spread.median = quantile(values, 0.5);
  spread.p25 = quantile(values, 0.25);
  spread.p75 = quantile(values, 0.75);
  spread.min = values.front();
  spread.max = values.back();
  return spread;
}

inline std::string describe(const Spread& s) {
  char text[160];
  std::snprintf(text, sizeof text, "%.3f (IQR %.3f-%.3f, range %.3f-%.3f)", s.median, s.p25, s.p75, s.min,
                s.max);
  return text;
}

/// Wall time, CPU time of the whole process (all threads) and its context switches.
struct Usage {
  double wallSeconds = 0;
  double cpuSeconds = 0;
  double contextSwitches = 0;

  static Usage now() {
    Usage usage;
    usage.wallSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    timespec cpu{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
    usage.cpuSeconds = static_cast<double>(cpu.tv_sec) + static_cast<double>(cpu.tv_nsec) * 1e-9;
    rusage self{};
    getrusage(RUSAGE_SELF, &self);
    usage.contextSwitches = static_cast<double>(self.ru_nvcsw + self.ru_nivcsw);
    return usage;
  }

  Usage operator-(const Usage& earlier) const {
    return {wallSeconds - earlier.wallSeconds, cpuSeconds - earlier.cpuSeconds,
            contextSwitches - earlier.contextSwitches};
  }
};

}  // namespace bench
