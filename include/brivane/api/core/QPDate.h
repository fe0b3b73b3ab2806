#pragma once

#include <chrono>
#include <cstdint>

#include "brivane/QPExport.h"

namespace brivane {

/// A date and time of day as requests send them: the calendar date ("yyyy-MM-dd") and the time
/// of day to the second ("HHmmss") that the user's clock shows.
///
/// Held as calendar fields, not as an instant, so every date from 0001-01-01 to 9999-12-31 is
/// sent exactly as given, with no time-zone arithmetic and no overflow on the way out. A moment
/// of the system clock becomes the date and time that the device's time zone shows at it.
/// A value outside that range (year 10000, 30 February, a time of day of 24:00:00 or more) can
/// be held but not sent: an operation with such a field fails with `QPClientErrorUnsendableDate`
/// and sends nothing.
///
/// Plain value type; any thread.
class BRIVANE_API QPDate {
 public:
  /// 1970-01-01 00:00:00.
  QPDate() = default;
  /// `date` at `timeOfDay` after midnight (midnight by default).
  QPDate(std::chrono::year_month_day date, std::chrono::seconds timeOfDay = std::chrono::seconds{0})
      : date_(date), timeOfDay_(timeOfDay) {}
  /// The date and time that the local clock reading `local` shows (whole seconds, rounded down).
  template <class Duration>
  explicit QPDate(std::chrono::local_time<Duration> local)
      : QPDate(fromLocalSeconds(std::chrono::floor<std::chrono::seconds>(local).time_since_epoch().count())) {
  }
  /// The date and time that the device's time zone shows at `moment` (whole seconds, rounded
  /// down), as when it is taken from `std::chrono::system_clock::now()`.
  template <class Duration>
  QPDate(std::chrono::time_point<std::chrono::system_clock, Duration> moment)  // NOLINT: a moment is a date
      : QPDate(fromUnixSeconds(std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count())) {
  }
  /// Not provided: a `sys_days` is midnight UTC, a moment that is another day west of UTC. A
  /// calendar date is a `year_month_day` (`2099y / 12 / 31`).
  QPDate(std::chrono::sys_days) = delete;

  /// The device's current local date and time.
  static QPDate now();

  std::chrono::year_month_day date() const { return date_; }
  /// Seconds after midnight.
  std::chrono::seconds timeOfDay() const { return timeOfDay_; }

  /// Whether a request can send it: a real date from 0001-01-01 to 9999-12-31 and a time of day
  /// from 00:00:00 to 23:59:59.
  bool isSendable() const;

  bool operator==(const QPDate& other) const = default;

 private:
  static QPDate fromUnixSeconds(std::int64_t seconds);
  static QPDate fromLocalSeconds(std::int64_t seconds);

  std::chrono::year_month_day date_{std::chrono::year{1970}, std::chrono::month{1}, std::chrono::day{1}};
  std::chrono::seconds timeOfDay_{0};
};

}  // namespace brivane
