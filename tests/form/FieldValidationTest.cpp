#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "brivane/form/QPPaymentFormTypes.h"
#include "form/FieldValidation.h"

namespace brivane {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

// A page that answers the exchange's queries from a table, and a clock that only moves when the
// test runs what is due: every wait is seen, none is timed.
struct FakePage {
  std::set<std::string> empty;    // inputs whose emptiness query answers true
  std::set<std::string> invalid;  // elements whose validation query answers false
  bool scriptErrors = false;      // every query fails (a page without the functions)
  std::vector<std::string> evaluated;
  std::vector<unsigned> waits;
  std::deque<std::function<void()>> due;

  FieldValidation::Page page() {
    return {[this](const std::string& script) { evaluated.push_back(script); },
            [this](const std::string& script, std::function<void(bool)> done) {
              const std::string name =
                  script.substr(script.find('\'') + 1, script.rfind('\'') - script.find('\'') - 1);
              const bool answer =
                  !scriptErrors && (script.starts_with("isElementInputEmpty") ? empty.count(name) == 1
                                                                              : invalid.count(name) == 0);
              due.push_back([done, answer] { done(answer); });
            },
            [this](std::function<void()> work, unsigned delayMs) {
              waits.push_back(delayMs);
              due.push_back(std::move(work));
            }};
  }
  void runAll() {
    while (!due.empty()) {
      auto next = std::move(due.front());
      due.pop_front();
      next();
    }
  }
};

TEST(FieldValidation, WaitsOnceOrTwiceAndAnswersOnce) {
  const std::set<std::uint64_t> card = {QPFormElementCardNumber, QPFormElementExpiry, QPFormElementCardHolder,
                                        QPFormElementCvv};
  struct Case {
    const char* name;
    std::set<std::uint64_t> visible;
    std::uint64_t element;
    std::set<std::string> empty, invalid;
    bool scriptErrors;
    std::vector<unsigned> waits;
    bool valid;
    bool submitClicked;
    std::vector<std::string> cleared;  // errors cleared afterwards
  } cases[] = {
      // clang-format off
      {"all filled and valid", card, QPFormElementAll, {}, {}, false, {300}, true, false, {}},
      {"one element invalid", card, QPFormElementAll, {}, {"expiry"}, false, {300}, false, false, {}},
      {"one element asked, another invalid", card, QPFormElementCvv, {}, {"expiry"}, false, {300}, true, false, {}},
      {"an empty input: the page's submit, then a second wait", card, QPFormElementAll, {"cvv"}, {"cvv"}, false,
       {300, 300}, false, true, {}},
      {"an empty input with hidden fields: their errors cleared", {QPFormElementCardNumber, QPFormElementCvv},
       QPFormElementCvv, {"cvv"}, {}, false, {300, 300}, true, true, {"expiry", "cardHolder"}},
      {"only the holder shown and empty: nothing cleared", {QPFormElementCardHolder}, QPFormElementCardHolder,
       {"cardHolder"}, {}, false, {300, 300}, true, true, {}},
      {"script errors: not empty, not valid, one wait", card, QPFormElementAll, {}, {}, true, {300}, false, false, {}},
      {"nothing shown: the answer still waits", {}, QPFormElementAll, {}, {}, false, {0, 300}, true, false, {}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FakePage page;
    page.empty = c.empty;
    page.invalid = c.invalid;
    page.scriptErrors = c.scriptErrors;
    std::vector<std::pair<std::uint64_t, bool>> answers;
    FieldValidation::start(page.page(), c.visible, c.element,
                           [&](std::uint64_t element, bool valid) { answers.emplace_back(element, valid); });
    EXPECT_TRUE(answers.empty());  // never before the wait
    page.runAll();
    EXPECT_THAT(page.waits, ElementsAreArray(c.waits));
    ASSERT_THAT(answers, ElementsAre(std::pair{c.element, c.valid}));
    const bool clicked =
        std::count(page.evaluated.begin(), page.evaluated.end(), "$(\".wpwl-button\").click();");
    EXPECT_EQ(clicked, c.submitClicked);
    std::vector<std::string> cleared;
    for (const std::string& script : page.evaluated)
      if (script.starts_with("clearElementError('")) cleared.push_back(script.substr(19, script.size() - 22));
    EXPECT_THAT(cleared, ElementsAreArray(c.cleared));
  }
}

}  // namespace
}  // namespace brivane
