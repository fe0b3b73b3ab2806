#include "brivane/api/core/QPDate.h"

#include <ctime>

namespace brivane {
namespace {

using namespace std::chrono;

// Beyond this many days from 1970 a date is far outside every sendable one; it is held as the
// invalid date 0000-00-00 rather than computed.
constexpr std::int64_t kFarthestDay = 10'000'000;

const year_month_day kInvalidDate{year{0}, month{0}, day{0}};

}  // namespace

QPDate QPDate::now() {
  return QPDate(system_clock::now());
}

bool QPDate::isSendable() const {
  return date_.ok() && date_.year() >= year{1} && date_.year() <= year{9999} && timeOfDay_ >= seconds{0} &&
         timeOfDay_ < days{1};
}

QPDate QPDate::fromUnixSeconds(std::int64_t seconds) {
  const std::time_t time = static_cast<std::time_t>(seconds);
  std::tm local{};
  if (time != seconds || localtime_r(&time, &local) == nullptr || local.tm_year < -kFarthestDay / 366 ||
      local.tm_year > kFarthestDay / 366)
    return QPDate(kInvalidDate);
  // A leap second shows as :60; the date stays, the second is the last one of the minute.
  const int second = local.tm_sec > 59 ? 59 : local.tm_sec;
  return QPDate(year_month_day{year{local.tm_year + 1900}, month{static_cast<unsigned>(local.tm_mon + 1)},
                               day{static_cast<unsigned>(local.tm_mday)}},
                hours{local.tm_hour} + minutes{local.tm_min} + std::chrono::seconds{second});
}

QPDate QPDate::fromLocalSeconds(std::int64_t seconds) {
  const local_seconds reading{std::chrono::seconds{seconds}};
  const local_days day = floor<days>(reading);
  if (day.time_since_epoch().count() < -kFarthestDay || day.time_since_epoch().count() > kFarthestDay)
    return QPDate(kInvalidDate);
  return QPDate(year_month_day{day}, reading - day);
}

}  // namespace brivane
