#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/core/QPFields.h"
#include "api/core/QPJSONParse.h"
#include "brivane/api/account/QPAccountCreationTypes.h"
#include "brivane/api/account/QPAccountInformationTypes.h"
#include "brivane/api/account/QPStoredPaymentOptionTypes.h"

namespace brivane {
namespace {

using ::testing::StartsWith;

// Whether `value` and everything in it live in the default heap (not in a parsed answer's arena).
bool inDefaultStorage(const boost::json::value& value) {
  const boost::json::memory_resource* heap = boost::json::storage_ptr().get();
  switch (value.kind()) {
    case boost::json::kind::object:
      if (value.get_object().storage().get() != heap) return false;
      for (const auto& member : value.get_object())
        if (!inDefaultStorage(member.value())) return false;
      return true;
    case boost::json::kind::array:
      if (value.get_array().storage().get() != heap) return false;
      for (const auto& element : value.get_array())
        if (!inDefaultStorage(element)) return false;
      return true;
    case boost::json::kind::string:
      return value.get_string().storage().get() == heap;
    default:
      return value.storage().get() == heap;
  }
}

// A list of `count` dictionaries with texts too long for Boost.JSON's in-place strings.
std::string listOfEntries(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i)
    text += std::string(i ? "," : "") + R"({"name":"Entry number )" + std::to_string(i) +
            R"( with a long name","n":)" + std::to_string(i) + ",\"on\":" + (i % 2 ? "true" : "false") + "}";
  return text + "]";
}

TEST(QPJSONParse, ReadsEveryDocumentAsTheDefaultParserDoes) {
  std::string lengths = "[";
  for (int n = 0; n <= 3000; n += 7) lengths += std::string(n ? "," : "") + '"' + std::string(n, 'x') + '"';
  lengths += "]";
  std::vector<std::string> cases = {"{}", "[]", "\"just text\"", "12", "-1.5e3", "true", "null"};
  // Deep nesting and escapes, a repeated key, strings of every length up to 3,000 bytes, one string
  // larger than a block, a document over many blocks.
  cases.insert(cases.end(),
               {R"({"a":{"b":{"c":[1,[2,[3,{"d":"\u00e9\ud83d\ude00"}]]]}}})", R"({"key":1,"key":2})",
                lengths, R"({"blob":")" + std::string(400000, 'b') + "\"}", listOfEntries(20000)});
  for (const std::string& body : cases) {
    std::optional<QPError> error;
    std::optional<boost::json::value> parsed = parseJSON(body, &error);
    ASSERT_TRUE(parsed) << body.substr(0, 60);
    EXPECT_FALSE(error);
    EXPECT_EQ(*parsed, boost::json::parse(body)) << body.substr(0, 60);
  }
}

TEST(QPJSONParse, RefusesWhatIsNotJSONWithAJSONError) {
  for (const std::string& body :
       {std::string(), std::string("not json"), std::string(R"({"a":)"), std::string("[1,2"),
        std::string("{} {}"), "[" + std::string(300000, '1') + ",x]"}) {
    SCOPED_TRACE(body.substr(0, 60));
    std::optional<QPError> error;
    EXPECT_FALSE(parseJSON(body, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), QPErrorDomainJSON);
    EXPECT_NE(error->code(), 0);
    EXPECT_THAT(error->description().value_or(""),
                StartsWith(body.empty() ? "The answer has no body to read as JSON."
                                        : "The answer is not valid JSON: "));
    EXPECT_FALSE(parseJSON(body, nullptr));  // no error wanted: none written
  }
}

// Fills an R from the parsed `body`, drops the document (and its arena), and expects the value
// `pick` finds in R intact, equal to `expected` and in the default heap.
template <class R, class Pick>
void expectKeptAfterTheDocument(const std::string& body, Pick pick, const std::string& expected) {
  SCOPED_TRACE(body.substr(0, 60));
  std::optional<boost::json::value> document = parseJSON(body, nullptr);
  ASSERT_TRUE(document);
  R response;
  response.initWithJSONObject(*document);
  document.reset();
  const std::optional<boost::json::value>* kept = pick(response);
  ASSERT_TRUE(kept && *kept);
  EXPECT_EQ(**kept, boost::json::parse(expected));
  EXPECT_TRUE(inDefaultStorage(**kept));
}

TEST(QPJSONParse, KeptJSONOutlivesTheDocument) {
  const std::string deep =
      R"({"text":"a text longer than an in-place string","list":[1,2.5,{"k":"another long text value"}],"flag":true})";
  expectKeptAfterTheDocument<QPGetAccountInformationResponse>(R"({"accno":"1000000001","dob":)" + deep + "}",
                                                              [](auto& r) { return &r.dob; }, deep);
  expectKeptAfterTheDocument<QPGetAccountInformationResponse>(
      R"({"lastLoginTime":"09:05:07 local time of the platform's own data centre"})",
      [](auto& r) { return &r.lastLoginTime; }, R"("09:05:07 local time of the platform's own data centre")");
  expectKeptAfterTheDocument<QPCreateAccountResponse>(
      R"({"validFrom":"2024-03-03","validUntil":[)" + deep + "," + deep + "]}",
      [](auto& r) { return &r.validUntil; }, "[" + deep + "," + deep + "]");
  // The mandate of a stored option, inside a list.
  expectKeptAfterTheDocument<QPGetStoredPaymentOptionsResponse>(
      R"({"paymentOptions":[{"code":"BNKACCT","mandate":{"mandateReference":"M-1","mandateSignedDate":)" +
          deep + "}}]}",
      [](auto& r) -> const std::optional<boost::json::value>* {
        if (!r.paymentOptions || r.paymentOptions->size() != 1 || !r.paymentOptions->front()->mandate)
          return nullptr;
        return &r.paymentOptions->front()->mandate->mandateSignedDate;
      },
      deep);
}

TEST(QPJSONParse, ADictionarySetFromAnAnswersValueOutlivesTheDocument) {
  const std::string criteria = R"({"risk":{"score":"a text longer than an in-place string","list":[1,2,3]}})";
  std::optional<boost::json::value> document = parseJSON(R"({"criteria":)" + criteria + "}", nullptr);
  ASSERT_TRUE(document);
  QPInitAddStoredPaymentOptionRequest request;
  const auto* entry = request.fieldList().findKey("criteria");
  ASSERT_NE(entry, nullptr);
  ASSERT_TRUE(entry->assign(request, document->at("criteria"), nullptr));
  document.reset();
  ASSERT_TRUE(request.criteria);
  EXPECT_EQ(*request.criteria, boost::json::parse(criteria).as_object());
  EXPECT_EQ(request.criteria->storage().get(), boost::json::storage_ptr().get());
  EXPECT_TRUE(inDefaultStorage(request.criteria->at("risk")));
}

// After the parse, the document takes its new memory from the default heap: parts of it can be
// copied and changed on several threads at once and outlive it.
TEST(QPJSONParse, ADocumentCanBeCopiedAndChangedOnSeveralThreadsAfterTheParse) {
  const std::string body = R"({"list":)" + listOfEntries(50) + "}";
  std::optional<boost::json::value> document = parseJSON(body, nullptr);
  ASSERT_TRUE(document);
  const boost::json::array expected = boost::json::parse(listOfEntries(50)).as_array();

  boost::json::value mine = *document;  // in the document's storage
  constexpr int kThreads = 3;
  std::vector<std::optional<boost::json::value>> lastCopies(kThreads);
  std::vector<char> intact(kThreads, 1);  // one byte a thread: no shared word
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 200; ++round) {
        boost::json::value copy = document->at("list");  // in the document's storage
        copy.as_array().emplace_back(boost::json::object{{"name", "added by a thread, long enough"}});
        copy.as_array().erase(copy.as_array().begin());
        if (copy.as_array().size() != expected.size() || copy.as_array().front() != expected[1])
          intact[t] = 0;
        lastCopies[t].emplace(std::move(copy));  // keeps the document's storage
      }
    });
  }
  // Meanwhile a copy of the document, in the same storage, grows on this thread (the document
  // itself is only read while the threads run).
  for (int i = 0; i < 200; ++i)
    mine.as_object()["added" + std::to_string(i)] = "a text long enough to need a block of its own";
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mine.as_object().size(), 201u);
  EXPECT_EQ(mine.at("list").as_array(), expected);  // the threads' blocks did not overwrite it

  document.reset();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_TRUE(intact[t]) << t;
    ASSERT_TRUE(lastCopies[t]) << t;
    const boost::json::array& copy = lastCopies[t]->as_array();
    ASSERT_EQ(copy.size(), expected.size());
    EXPECT_EQ(copy[0], expected[1]);
    EXPECT_EQ(copy.back().at("name"), "added by a thread, long enough");
  }
}

}  // namespace
}  // namespace brivane
