#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "sandbox/domain.h"

namespace brivane::sandbox {
namespace {

TEST(SandboxDomain, MaskingHidesAllButTheEndsAndAShortValueEntirely) {
  const std::pair<const char*, const char*> cards[] = {
      {"4111111111111111", "411111******1111"},
      {"378282246310005", "378282*****0005"},
      {"1234567890", "**********"},
      {"", ""},
  };
  for (const auto& [number, shown] : cards) EXPECT_EQ(maskedCard(number), shown) << number;
  const std::pair<const char*, const char*> ibans[] = {
      {"DE89 3704 0044 0532 0130 00", "DE89**************3000"},
      {"at61-1904-3002-3457-3201", "AT61************3201"},
      {"12345678", "********"},
  };
  for (const auto& [iban, shown] : ibans) EXPECT_EQ(maskedIban(iban), shown) << iban;
}

TEST(SandboxDomain, CardNumbersAndIbans) {
  for (const char* valid : {"4111111111111111", "378282246310005", "4000000000003220", "5454545454545454"})
    EXPECT_TRUE(luhnValid(valid)) << valid;
  for (const char* invalid : {"4111111111111112", "4111 1111 1111 1111", "not-a-card-x", "411111******1111",
                              "00000000000", "41111111111111111111", ""})
    EXPECT_FALSE(luhnValid(invalid)) << invalid;
  for (const char* valid : {"DE89370400440532013000", "de89 3704 0044 0532 0130 00", "AT611904300234573201"})
    EXPECT_TRUE(ibanValid(valid)) << valid;
  for (const char* invalid : {"DE89370400440532013001", "DE89", "DE89_370400440532013000", ""})
    EXPECT_FALSE(ibanValid(invalid)) << invalid;
}

TEST(SandboxDomain, AmountsCurrenciesAndExpiries) {
  const std::pair<std::int64_t, const char*> amounts[] = {
      {5, "0.05"}, {50, "0.50"}, {1234, "12.34"}, {-7, "-0.07"}, {99999999999, "999999999.99"}};
  for (const auto& [minor, text] : amounts) EXPECT_EQ(amountText(minor), text) << minor;
  for (const char* code : {"EUR", "USD", "GBP", "CHF", "PLN", "CZK", "HUF", "SEK", "NOK", "DKK"})
    EXPECT_TRUE(knownCurrency(code)) << code;
  for (const char* code : {"XXX", "eur", ""}) EXPECT_FALSE(knownCurrency(code)) << code;

  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const int month = local.tm_mon + 1, year = local.tm_year + 1900;
  EXPECT_TRUE(cardExpiryValid(month, year));  // valid through the month it names
  EXPECT_TRUE(cardExpiryValid(month, year % 100));
  EXPECT_FALSE(cardExpiryValid(month == 1 ? 12 : month - 1, month == 1 ? year - 1 : year));
  EXPECT_FALSE(cardExpiryValid(13, year + 1));
}

TEST(SandboxDomain, TextsBecomeValidUtf8) {
  struct Case {
    std::string in, out;
  };
  const std::string replacement = "\xEF\xBF\xBD";
  const Case cases[] = {
      {"plain", "plain"},
      {"Gr\xC3\xBC\xC3\x9F"
       "e \xE2\x82\xAC \xF0\x9F\x92\xB3",
       "Gr\xC3\xBC\xC3\x9F"
       "e \xE2\x82\xAC \xF0\x9F\x92\xB3"},
      {"\xFF\xFE", replacement + replacement},
      {"a\xC3", "a" + replacement},                                                 // cut short
      {"\xC0\xAF", replacement + replacement},                                      // overlong '/'
      {"\xED\xA0\x80", replacement + replacement + replacement},                    // a surrogate
      {"\xF4\x90\x80\x80", replacement + replacement + replacement + replacement},  // above U+10FFFF
  };
  for (const Case& c : cases) EXPECT_EQ(validUtf8(c.in), c.out) << c.in;
  boost::json::value value = boost::json::object{{"k\xFF", boost::json::array{"v\xFF", 1}}};
  makeValidUtf8(value);
  EXPECT_EQ(boost::json::serialize(value), "{\"k" + replacement + "\":[\"v" + replacement + "\",1]}");
}

}  // namespace
}  // namespace brivane::sandbox
