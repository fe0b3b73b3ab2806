#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>

#include "api/core/QPFields.h"
#include "brivane/api/account/QPStoredPaymentOptionTypes.h"
#include "brivane/api/auth/QPAccessTokenResponse.h"
#include "brivane/api/core/QPApiClientModule.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/settings/QPSettingsTypes.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using ::testing::ElementsAre;

// A request exercising every conversion of the table.
class SampleRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override {
    using L = QPFieldList<QPRequestBase>;
    static const L list{
        L::field("name", &SampleRequest::name),
        L::field("amount", &SampleRequest::amount),
        L::field("count", &SampleRequest::count),
        L::field("rate", &SampleRequest::rate, QPParamEncoding::Double),
        L::field("flag", &SampleRequest::flag),
        L::field("birthDate", &SampleRequest::birthDate, QPParamEncoding::LocalDate),
        L::named("birthDate", "birthTime", &SampleRequest::birthDate, QPParamEncoding::LocalTime),
        L::field("localDate", &SampleRequest::overrideDate),  // a later key of the same name wins
        L::field("extra", &SampleRequest::extra),
    };
    return list;
  }
  std::optional<std::string> name;
  std::optional<QPNumber> amount;
  std::int64_t count = 0;
  double rate = 1.5;
  bool flag = false;
  std::optional<QPDate> birthDate;
  std::optional<std::string> overrideDate;
  std::optional<boost::json::object> extra;
};

// Runs in Vienna's time zone, restoring the process's own afterwards.
class LocalTime : public ::testing::Test {
 protected:
  void SetUp() override { zone("Europe/Vienna"); }
  void TearDown() override { zone(saved_ ? saved_->c_str() : nullptr); }
  static void zone(const char* tz) {
    tz ? setenv("TZ", tz, 1) : unsetenv("TZ");
    tzset();
  }
  const std::optional<std::string> saved_ =
      std::getenv("TZ") ? std::optional<std::string>(std::getenv("TZ")) : std::nullopt;
};

TEST_F(LocalTime, DatesAndTimesAreLocalAndZeroPadded) {
  using namespace std::chrono;
  // 08:05:07 UTC is 09:05:07 in Vienna in March; 23:30 UTC on 31 December is already the next year.
  for (auto [moment, date, time] :
       {std::tuple{QPDate(sys_days{year{2024} / 3 / 3} + 8h + 5min + 7s), "2024-03-03", "090507"},
        std::tuple{QPDate(sys_days{year{2023} / 12 / 31} + 23h + 30min), "2024-01-01", "003000"}}) {
    EXPECT_EQ(QPRequestBase::convertLocalDate(moment), date);
    EXPECT_EQ(QPRequestBase::convertLocalTime(moment), time);
  }
  EXPECT_FALSE(QPRequestBase::convertLocalDate(std::nullopt));
}

TEST_F(LocalTime, BaseParametersComeFromOneMoment) {
  // Read as one local moment, date and time lie between the clock before and after the call; a
  // date of one moment and a time of another (across midnight) would lie a day away.
  const std::time_t before = std::time(nullptr);
  boost::json::object params = QPRequestBase().getRequestParams();
  const std::time_t after = std::time(nullptr);
  ASSERT_EQ(params.size(), 2u);
  std::tm tm{};
  const std::string moment =
      std::string(params.at("localDate").as_string()) + " " + std::string(params.at("localTime").as_string());
  ASSERT_NE(strptime(moment.c_str(), "%Y-%m-%d %H%M%S", &tm), nullptr) << moment;
  tm.tm_isdst = -1;
  const std::time_t sent = std::mktime(&tm);
  EXPECT_LE(before, sent) << moment;
  EXPECT_LE(sent, after) << moment;
}

TEST_F(LocalTime, DatesFromYearOneToYear9999AreSentAsGivenAndOthersRefused) {
  // The text set, the date and the time sent.
  const char* sent[][3] = {
      {"0001-01-01T00:00:00", "0001-01-01", "000000"}, {"0001-01-01", "0001-01-01", "000000"},
      {"1677-09-21T00:12:43", "1677-09-21", "001243"}, {"1816-03-29T05:56:08", "1816-03-29", "055608"},
      {"1969-12-31T23:59:59", "1969-12-31", "235959"}, {"2024-02-29T12:00:00", "2024-02-29", "120000"},
      {"2024-03-31T02:30:00", "2024-03-31", "023000"},  // Vienna's clocks skip this half hour
      {"2262-04-12T00:00:00", "2262-04-12", "000000"}, {"9999-12-31", "9999-12-31", "000000"},
      {"9999-12-31T23:59:59", "9999-12-31", "235959"}};
  for (auto [text, date, time] : sent) {
    SampleRequest request;
    ASSERT_TRUE(request.setField("birthDate", text, nullptr)) << text;
    boost::json::object params = request.getRequestParams();
    EXPECT_EQ(params.at("birthDate"), date) << text;
    EXPECT_EQ(params.at("birthTime"), time) << text;
  }
  for (const char* text :
       {"10000-01-01T00:00:00", "0000-12-31", "2023-02-29", "2024-04-31T00:00:00", "2024-01-01T24:00:00",
        "2024-01-01T23:59:60", "2024-1-01", "+024-01-01", "2024-01-01T00:00", "2024-01-01 00:00:00"}) {
    SampleRequest request;
    std::string why;
    ASSERT_FALSE(request.setField("birthDate", text, &why)) << text;
    EXPECT_THAT(why, ::testing::HasSubstr(text));
    EXPECT_FALSE(request.birthDate) << text;
  }
}

TEST_F(LocalTime, DatesSetByTheHostAreSentAsGivenOrRefused) {
  using namespace std::chrono;
  // Sent as "yyyy-MM-dd HHmmss", or refused (nullptr).
  const std::pair<QPDate, const char*> cases[] = {
      {QPDate(year{9999} / 12 / 31, 23h + 59min + 59s), "9999-12-31 235959"},
      {QPDate(year{1} / 1 / 1), "0001-01-01 000000"},
      {QPDate(local_days{year{2262} / 4 / 12} + 1h + 999ms), "2262-04-12 010000"},
      {QPDate(local_days{year{1} / 1 / 1} - 1s), nullptr},
      {QPDate(year{10000} / 1 / 1), nullptr},
      {QPDate(year{0} / 12 / 31), nullptr},
      {QPDate(year{2023} / 2 / 29), nullptr},
      {QPDate(year{2024} / 1 / 1, 24h), nullptr},
      {QPDate(year{2024} / 1 / 1, -1s), nullptr},
      {QPDate(sys_seconds{seconds{std::numeric_limits<std::int64_t>::max() / 2}}), nullptr}};
  for (auto [date, sent] : cases) {
    SampleRequest request;
    request.birthDate = date;
    SCOPED_TRACE(fields::printLocalDateTime(date));
    EXPECT_EQ(sent != nullptr, date.isSendable());
    if (sent == nullptr) {
      EXPECT_THROW(request.getRequestParams(), std::out_of_range);
      EXPECT_FALSE(QPRequestBase::convertLocalDate(date));
    } else {
      boost::json::object params = request.getRequestParams();
      EXPECT_EQ(
          std::string(params.at("birthDate").as_string()) + " " + params.at("birthTime").as_string().c_str(),
          sent);
    }
  }
}

TEST(QPRequestEncoding, ScalarConversions) {
  EXPECT_EQ(QPRequestBase::convertBoolean(true), "true");
  EXPECT_EQ(QPRequestBase::convertBoolean(false), "false");
  EXPECT_EQ(QPRequestBase::convertInteger(-42), "-42");
  EXPECT_EQ(QPRequestBase::convertNumber(QPNumber(10)), "10");
  EXPECT_EQ(QPRequestBase::convertNumber(QPNumber(10.5)), "10.5");
  EXPECT_EQ(QPRequestBase::convertNumber(QPNumber(10.0)), "10");
  EXPECT_EQ(QPRequestBase::convertNumber(QPNumber(0.1)), "0.1");
  EXPECT_EQ(QPRequestBase::convertNumber(QPNumber::boolean(true)), "1");
  EXPECT_FALSE(QPRequestBase::convertNumber(std::nullopt));
  for (double value : {0.0, 1.0, -3.25, 1e300}) EXPECT_FALSE(QPRequestBase::convertDouble(value));
}

TEST(QPRequestEncoding, TableDrivesKeysOrderAndOmissions) {
  SampleRequest request;
  request.name = "Ann";
  request.amount = QPNumber(12.5);
  request.count = 3;
  request.flag = true;
  request.extra = boost::json::object{{"k", "v"}};
  boost::json::object params = request.getRequestParams();
  std::vector<std::string> keys;
  for (const auto& [key, value] : params) keys.emplace_back(key);
  // localDate is removed by the nil override, birthDate and rate are never sent.
  EXPECT_THAT(keys, ElementsAre("localTime", "name", "amount", "count", "flag", "extra"));
  EXPECT_EQ(params.at("amount"), "12.5");
  EXPECT_EQ(params.at("count"), "3");
  EXPECT_EQ(params.at("flag"), "true");
  EXPECT_EQ(params.at("extra"), (boost::json::object{{"k", "v"}}));
  for (const auto& [key, value] : params) EXPECT_FALSE(value.is_null()) << key;

  request.overrideDate = "2000-01-01";
  EXPECT_EQ(request.getRequestParams().at("localDate"), "2000-01-01");
}

TEST(QPRequestEncoding, SetFieldParsesTextsAndRejectsBadOnes) {
  SampleRequest request;
  std::string why;
  EXPECT_TRUE(request.setField("flag", "true", &why));
  EXPECT_TRUE(request.setField("amount", "7.25", &why));
  EXPECT_TRUE(request.setField("count", "-9", &why));
  EXPECT_TRUE(request.setField("birthDate", "1990-02-03T04:05:06", &why));
  EXPECT_TRUE(request.setField("extra", R"({"a":[1,2]})", &why));
  EXPECT_TRUE(request.flag);
  EXPECT_EQ(request.amount, QPNumber(7.25));
  EXPECT_EQ(request.count, -9);
  EXPECT_EQ(request.extra->at("a").as_array().size(), 2u);
  EXPECT_EQ(boost::json::serialize(request.toJSONObject().at("birthDate")), "\"1990-02-03T04:05:06\"");

  for (auto [field, text] : {std::pair{"flag", "yes"},
                             {"amount", "12abc"},
                             {"count", "1.5"},
                             {"birthDate", "03.02.1990"},
                             {"birthDate", "1990-02-03T24:00:00"},
                             {"extra", "[1]"},
                             {"nope", "1"}}) {
    why.clear();
    EXPECT_FALSE(request.setField(field, text, &why)) << field;
    EXPECT_FALSE(why.empty()) << field;
  }
  EXPECT_TRUE(request.flag) << "a rejected value leaves the field as it was";

  // A 32-bit field refuses what does not fit it.
  QPCompleteAddStoredPaymentOptionRequest stored;
  EXPECT_TRUE(stored.setField("expiryMonth", "2147483647", &why));
  EXPECT_FALSE(stored.setField("expiryMonth", "2147483648", &why));
  EXPECT_FALSE(stored.setField("expiryMonth", "-2147483649", &why));
  EXPECT_EQ(stored.expiryMonth, 2147483647);
}

TEST(QPResponseFilling, NonDictionariesLeaveEveryFieldNil) {
  for (const char* text : {"[1,2]", "\"text\"", "42", "null", "true"}) {
    QPResponseBase response;
    response.initWithJSONObject(boost::json::parse(text));
    EXPECT_EQ(boost::json::serialize(response.toJSONObject()),
              R"({"partnerReference":null,"localDate":null,"localTime":null,"sysDate":null,"sysTime":null,)"
              R"("responseCode":null,"responseDescription":null})")
        << text;
  }
}

TEST(QPResponseFilling, UnknownKeysNullsAndMismatchedTypesAreSkippedOneByOne) {
  QPGetFinancialInstitutionDataResponse response;
  response.initWithJSONObject(boost::json::parse(
      R"({"unknown":1,"responseCode":"0000","responseDescription":null,"name":{"x":1},"city":"Wien",)"
      R"("postCode":1010,"addr1":[],"creditorIdentifier":true})"));
  EXPECT_EQ(response.responseCode, "0000");
  EXPECT_FALSE(response.responseDescription);
  EXPECT_FALSE(response.name);  // an object cannot be a text
  EXPECT_FALSE(response.addr1);
  EXPECT_EQ(response.city, "Wien");
  EXPECT_EQ(response.postCode, "1010");  // a number arriving for a text is kept as its text
  EXPECT_EQ(response.creditorIdentifier, "true");
}

TEST(QPResponseFilling, NumbersForTextFieldsKeepTheShortestTextOfTheSameNumber) {
  for (auto [json, text] : {std::pair{"12.5", "12.5"},
                            {"1000000001.0", "1000000001"},
                            {"1.000000001E9", "1000000001"},
                            {"0.1", "0.1"},
                            {"-0.25", "-0.25"},
                            {"5.5e0", "5.5"},
                            {"1e300", "1e+300"},
                            {"4.9e-324", "5e-324"},
                            {"1010", "1010"},
                            {"-7", "-7"},
                            {"18446744073709551615", "18446744073709551615"}}) {
    QPGetFinancialInstitutionDataResponse response;
    response.initWithJSONObject(boost::json::parse(std::string(R"({"postCode":)") + json + "}"));
    EXPECT_EQ(response.postCode, text) << json;
  }
}

// A response whose table names one key twice: the first entry of a key takes it.
class TwiceNamedResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override {
    using L = QPFieldList<QPResponseBase>;
    static const L list{
        L::field("a", &TwiceNamedResponse::a),
        L::field("b", &TwiceNamedResponse::b),
        L::named("c", "c", &TwiceNamedResponse::c),
        L::named("a again", "a", &TwiceNamedResponse::aAgain),
    };
    return list;
  }
  std::optional<std::string> a, b, c, aAgain;
};

TEST(QPResponseFilling, KeysFillTheirFieldsInAnyOrder) {
  for (const char* text :
       {R"({"a":"1","b":"2","c":"3"})", R"({"c":"3","b":"2","a":"1"})",
        R"({"b":"2","x":0,"a":"1","c":"3","y":0})", R"({"c":"3","a":"1","a":"1","b":"2"})"}) {
    TwiceNamedResponse response;
    response.initWithJSONObject(boost::json::parse(text));
    EXPECT_EQ(response.a, "1") << text;
    EXPECT_EQ(response.b, "2") << text;
    EXPECT_EQ(response.c, "3") << text;
    EXPECT_FALSE(response.aAgain) << text;
  }
  // A wide answer in table order and reversed: every key finds its field.
  std::string forward = "{", backward = "{";
  const auto& entries = QPGetFinancialInstitutionDataResponse().fieldList().entries();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    forward += (i ? ",\"" : "\"") + entries[i].key + "\":\"v" + std::to_string(i) + "\"";
    std::size_t j = entries.size() - 1 - i;
    backward += (i ? ",\"" : "\"") + entries[j].key + "\":\"v" + std::to_string(j) + "\"";
  }
  for (const std::string& text : {forward + "}", backward + "}"}) {
    QPGetFinancialInstitutionDataResponse response;
    response.initWithJSONObject(boost::json::parse(text));
    boost::json::object printed = response.toJSONObject();
    for (std::size_t i = 0; i < entries.size(); ++i)
      EXPECT_EQ(printed.at(entries[i].name), boost::json::value("v" + std::to_string(i)))
          << entries[i].key << " in " << text;
  }
}

TEST(QPResponseFilling, AccessTokenResponseTakesItsFourKeys) {
  QPAccessTokenResponse token;
  token.initWithJSONObject(boost::json::parse(
      R"({"access_token":"a","expires_in":"3600","token_type":"bearer","scope":"x","responseCode":"1"})"));
  EXPECT_EQ(token.access_token, "a");
  EXPECT_EQ(token.expires_in, QPNumber(3600));  // a numeric text is kept as that number
  EXPECT_EQ(token.token_type, "bearer");
  EXPECT_FALSE(token.refresh_token);
  QPAccessTokenResponse fromList;
  fromList.initWithJSONObject(boost::json::parse("[]"));
  EXPECT_EQ(boost::json::serialize(fromList.toJSONObject()),
            R"({"access_token":null,"expires_in":null,"refresh_token":null,"token_type":null})");
}

class ModelLog : public ::testing::Test {
 protected:
  test::LogCapture log_;
};

TEST_F(ModelLog, AModelStopsAtItsFirstUnknownKeyAndLogsOnce) {
  QPCountryModel model;
  model.initWithDictionary(boost::json::parse(R"({"countryName":"Austria","flag":"AT","countryCode":"AT"})"));
  EXPECT_EQ(model.countryName, "Austria");
  EXPECT_FALSE(model.countryCode);
  ASSERT_EQ(log_.lines().size(), 1u);
  EXPECT_THAT(log_.lines()[0], ::testing::HasSubstr("QPCountryModel"));
  EXPECT_THAT(log_.lines()[0], ::testing::HasSubstr("flag"));
}

TEST_F(ModelLog, ResponsesWithListsBuildModelsWithoutFilteringElements) {
  QPGetCountriesResponse response;
  response.initWithJSONObject(boost::json::parse(
      R"({"responseCode":"0000","countries":[{"countryName":"Austria","countryCode":"AT"},7,)"
      R"({"countryCode":"DE","countryName":null}],"other":1})"));
  ASSERT_TRUE(response.countries);
  ASSERT_EQ(response.countries->size(), 3u);
  EXPECT_EQ((*response.countries)[0]->countryCode, "AT");
  EXPECT_FALSE((*response.countries)[1]->countryName);  // not a dictionary: an empty model
  EXPECT_EQ((*response.countries)[2]->countryCode, "DE");
  EXPECT_FALSE((*response.countries)[2]->countryName);
  EXPECT_EQ(log_.lines().size(), 1u);

  QPGetCountriesResponse empty, absent, wrong;
  empty.initWithJSONObject(boost::json::parse(R"({"countries":[]})"));
  absent.initWithJSONObject(boost::json::parse(R"({"responseCode":"1"})"));
  wrong.initWithJSONObject(boost::json::parse(R"({"countries":"none"})"));
  ASSERT_TRUE(empty.countries);
  EXPECT_TRUE(empty.countries->empty());
  EXPECT_FALSE(absent.countries);
  EXPECT_FALSE(wrong.countries);
}

TEST_F(ModelLog, LinesNameClassKeyAndTypeButNeverTheValue) {
  const std::string card = "4111111111111111";
  // The answer, a text its line shows besides the class, and whether the card number stays out of
  // it (an unknown key is shown, cut, whatever it holds).
  const std::tuple<std::string, const char*, bool> cases[] = {
      {R"({"countryName":{"pan":")" + card + R"("}})", "countryName", true},  // wrong type for a text
      {R"({")" + card + R"(x":1})", "", false},
      {R"({"unknownKey":")" + card + R"("})", "\"unknownKey\" (a text)", true},
      {R"([")" + card + R"("])", "", true}};  // not a dictionary
  for (const auto& [text, shown, cardHidden] : cases) {
    SCOPED_TRACE(text);
    log_.clear();
    QPCountryModel model;
    model.initWithDictionary(boost::json::parse(text));
    ASSERT_EQ(log_.lines().size(), 1u);
    EXPECT_THAT(log_.lines()[0],
                ::testing::AllOf(::testing::HasSubstr("QPCountryModel"), ::testing::HasSubstr(shown)));
    if (cardHidden) {
      EXPECT_THAT(log_.lines()[0], ::testing::Not(::testing::HasSubstr(card)));
    }
  }
}

TEST_F(ModelLog, ManyFailingElementsOfOneAnswerGiveOneLineWithACount) {
  boost::json::array countries;
  for (int i = 0; i < 100000; ++i) countries.push_back(boost::json::object{{"flag", i}});
  QPGetCountriesResponse response;
  response.initWithJSONObject(boost::json::object{{"countries", std::move(countries)}});
  ASSERT_TRUE(response.countries);
  EXPECT_EQ(response.countries->size(), 100000u);
  ASSERT_EQ(log_.lines().size(), 1u);
  EXPECT_THAT(log_.lines()[0], ::testing::HasSubstr("flag"));
  EXPECT_THAT(log_.lines()[0], ::testing::HasSubstr("99999 more"));

  log_.clear();  // the next answer starts its own count
  QPGetCountriesResponse next;
  next.initWithJSONObject(boost::json::parse(R"({"countries":[{"flag":1},{"countryCode":"AT"}]})"));
  ASSERT_EQ(log_.lines().size(), 1u);
  EXPECT_THAT(log_.lines()[0], ::testing::Not(::testing::HasSubstr("more")));
}

TEST(QPNumberConversion, EveryDoubleHasADefinedInteger) {
  using limits = std::numeric_limits<double>;
  const std::pair<double, std::int64_t> cases[] = {{1e300, INT64_MAX},
                                                   {-1e300, INT64_MIN},
                                                   {9223372036854775808.0, INT64_MAX},
                                                   {-9223372036854775808.0, INT64_MIN},
                                                   {limits::infinity(), INT64_MAX},
                                                   {-limits::infinity(), INT64_MIN},
                                                   {limits::quiet_NaN(), 0},
                                                   {12.9, 12},
                                                   {-12.9, -12},
                                                   {-limits::max(), INT64_MIN}};
  for (auto [value, expected] : cases) {
    EXPECT_EQ(QPNumber::saturatedInteger(value), expected) << value;
    EXPECT_EQ(QPNumber(value).int64Value(), expected) << value;
  }
}

TEST(QPNumberConversion, JSONNumbersBeyondTheRangesFillDefinedValuesOrNothing) {
  struct Case {
    const char* json;
    bool boxed;                         // taken by an optional number field
    std::optional<std::int64_t> whole;  // taken by a plain integer field, with this value
    bool kept;                          // taken by a field kept as received
  } cases[] = {{"9223372036854775807", true, INT64_MAX, true},
               {"9223372036854775808", true, std::nullopt, true},  // not a 64-bit integer
               {"18446744073709551615", true, std::nullopt, true},
               {"1e300", true, std::nullopt, true},
               {"1e400", false, std::nullopt, false},  // read as an infinity: no field takes it
               {"-1e400", false, std::nullopt, false},
               {"[1, {\"a\": 1e400}]", false, std::nullopt, false}};
  for (const Case& c : cases) {
    boost::json::value value = boost::json::parse(c.json);
    std::optional<QPNumber> boxed;
    EXPECT_EQ(fields::Codec<std::optional<QPNumber>>::assign(boxed, value, nullptr), c.boxed) << c.json;
    if (boxed && boxed->kind() == QPNumber::Kind::Real) {
      EXPECT_EQ(boxed->int64Value(), INT64_MAX) << c.json;
    }
    std::int64_t whole = -1;
    EXPECT_EQ(fields::Codec<std::int64_t>::assign(whole, value, nullptr), c.whole.has_value()) << c.json;
    if (c.whole) {
      EXPECT_EQ(whole, *c.whole) << c.json;
    }
    std::optional<boost::json::value> kept;
    EXPECT_EQ(fields::Codec<std::optional<boost::json::value>>::assign(kept, value, nullptr), c.kept)
        << c.json;
  }
}

TEST(QPNumberConversion, PrintedValuesAreAlwaysJSON) {
  boost::json::value value = boost::json::parse(R"({"a":1e400,"b":[-1e400,2],"c":"Infinity","d":1.5})");
  std::string printed = boost::json::serialize(fields::finiteOrNull(value));
  EXPECT_EQ(printed, R"({"a":null,"b":[null,2],"c":"Infinity","d":1.5E0})");
  boost::system::error_code ec;
  boost::json::parse(printed, ec);
  EXPECT_FALSE(ec);
}

TEST(QPClientModule, ProviderCopiesTheOptionAndSharesOneTransport) {
  QPApiProviderOption option;
  option.url = "http://a/";
  option.programCode = "P";
  option.partnerReferencePrefix = "X";
  auto tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  option.accessTokenProvider = tokens;
  QPApiProvider provider(option);
  option.url = "http://b/";
  EXPECT_EQ(provider.apiClientSetting()->urlStr(), "http://a/");
  auto transport = provider.apiClientModule()->transportLayer();
  for (const QPBaseAPI* api : std::initializer_list<const QPBaseAPI*>{
           provider.accountAPI().get(), provider.authenticationAPI().get(), provider.paymentAPI().get(),
           provider.settingsAPI().get(), provider.userAPI().get()})
    EXPECT_EQ(api->transportLayer(), transport);
  EXPECT_EQ(transport->accessTokenProvider(), tokens);
  EXPECT_EQ(transport->setting(), provider.apiClientSetting());

  // A replaced transport reaches only families made afterwards.
  auto old = provider.settingsAPI();
  provider.apiClientModule()->setTransportLayer(std::make_shared<QPTransportLayer>(nullptr, nullptr));
  EXPECT_EQ(old->transportLayer(), transport);
  provider.apiClientModule()->initializeAPI();
  EXPECT_NE(provider.settingsAPI()->transportLayer(), transport);
}

}  // namespace
}  // namespace brivane
