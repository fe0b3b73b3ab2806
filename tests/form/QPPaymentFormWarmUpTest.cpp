// The engine warm-up in the real engine: forms created after it open their pages in its web
// process and behave exactly as forms created without it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <functional>

#include <gtkmm/window.h>

#include <boost/json.hpp>

#include "brivane/form/QPPaymentForm.h"
#include "form/FormEngineWarmUp.h"
#include "form/FormTestSupport.h"
#include "sandbox/SandboxState.h"
#include "sandbox/Shopper.h"

namespace brivane {
namespace {

using formtest::pumpFor;
using formtest::pumpUntil;
using sandbox::ShopperMode;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

void onTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer ended) {
  *static_cast<bool*>(ended) = true;
}

using formtest::Record;

class QPPaymentFormWarmUpTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Every case starts cold; a suite run warm gets its warm-up back afterwards.
    wasWarm_ = QPPaymentForm::isWarmedUp();
    QPPaymentForm::releaseWarmUp();
    window_ = std::make_unique<Gtk::Window>();
    window_->set_default_size(400, 640);
    window_->present();
  }

  void TearDown() override {
    for (auto& form : forms_) {
      if (form->get_parent() != nullptr) window_->unset_child();
    }
    forms_.clear();
    window_.reset();
    QPPaymentForm::releaseWarmUp();
    pumpFor(0.05);
    if (wasWarm_) {
      EXPECT_THAT(warmUpAndWait(), ElementsAre(true));
    }
  }

  // The answers of one warm-up call, once it has answered.
  std::vector<bool> warmUpAndWait() {
    std::vector<bool> answers;
    QPPaymentForm::warmUp([&answers](bool ready) { answers.push_back(ready); });
    pumpUntil([&answers] { return !answers.empty(); }, 60);
    pumpFor(0.1);  // a second answer would arrive here
    return answers;
  }

  // A new form in the window (replacing the one shown), reporting into `record`.
  QPPaymentForm& newForm(Record& record) {
    if (!forms_.empty() && forms_.back()->get_parent() != nullptr) window_->unset_child();
    forms_.push_back(formtest::formForStandIns(formtest::providerServer().baseUrl(), &record));
    QPPaymentForm& form = *forms_.back();
    window_->set_child(form);
    return form;
  }

  // Renders and waits until the page has loaded and said so.
  static bool renderAndLoad(QPPaymentForm& form, const Record& record, std::uint64_t provider,
                            const std::vector<std::string>& options, const std::string& token) {
    form.setPaymentProvider(provider);
    form.renderWithPaymentOptions(options, token, nullptr);
    return pumpUntil([&record] { return record.loaded > 0 && record.count("ios_formLoaded") > 0; }, 20);
  }

  // The shopper goes on until the form has an outcome; then a while for a second one.
  static bool shop(QPPaymentForm& form, const Record& record, ShopperMode mode) {
    const bool ended = formtest::shopUntil(
        form, mode, [&record] { return record.outcomes() > 0; }, 30);
    pumpFor(0.6);
    return ended;
  }

  // Whether `form` has its page in the warm web process: ending that process ends the form's too.
  // The warm-up ends with it.
  static bool sharesTheWarmProcess(QPPaymentForm& form) {
    bool ended = false;
    const gulong handler = g_signal_connect(QPPaymentFormInternals::webView(form).view(),
                                            "web-process-terminated", G_CALLBACK(onTerminated), &ended);
    webkit_web_view_terminate_web_process(FormEngineWarmUp::relatedView());
    EXPECT_TRUE(pumpUntil([] { return FormEngineWarmUp::relatedView() == nullptr; }, 30));
    pumpUntil([&ended] { return ended; }, 3);
    g_signal_handler_disconnect(QPPaymentFormInternals::webView(form).view(), handler);
    return ended;
  }

  bool wasWarm_ = false;
  std::unique_ptr<Gtk::Window> window_;
  std::vector<std::unique_ptr<QPPaymentForm>> forms_;
};

TEST_F(QPPaymentFormWarmUpTest, OnlyFormsCreatedAfterTheWarmUpShareItsProcess) {
  Record before, after;
  QPPaymentForm& early = newForm(before);
  ASSERT_TRUE(renderAndLoad(early, before, 3, {"VISA"}, "share-1"));
  ASSERT_THAT(warmUpAndWait(), ElementsAre(true));
  EXPECT_FALSE(sharesTheWarmProcess(early));
  EXPECT_FALSE(QPPaymentForm::isWarmedUp());  // its process ended

  ASSERT_THAT(warmUpAndWait(), ElementsAre(true));
  QPPaymentForm& late = newForm(after);
  ASSERT_TRUE(renderAndLoad(late, after, 3, {"VISA"}, "share-2"));
  EXPECT_TRUE(sharesTheWarmProcess(late));
}

TEST_F(QPPaymentFormWarmUpTest, TwoFormsInARowUseOneWarmUp) {
  ASSERT_THAT(warmUpAndWait(), ElementsAre(true));
  WebKitWebView* hidden = FormEngineWarmUp::relatedView();
  Record first, second;
  ASSERT_TRUE(renderAndLoad(newForm(first), first, 3, {"VISA"}, "row-1"));
  ASSERT_TRUE(shop(*forms_.back(), first, ShopperMode::Approve));
  EXPECT_EQ(first.successes.size(), 1u);
  window_->unset_child();
  forms_.clear();
  pumpFor(0.2);
  EXPECT_EQ(FormEngineWarmUp::relatedView(), hidden);
  QPPaymentForm& form = newForm(second);
  ASSERT_TRUE(renderAndLoad(form, second, 0, {"VISA", "MSTRCRD"}, "row-2"));
  ASSERT_TRUE(shop(form, second, ShopperMode::Approve));
  EXPECT_EQ(second.loaded, 1);
  EXPECT_EQ(second.successes.size(), 1u);
  EXPECT_THAT(second.errors, IsEmpty());
  EXPECT_TRUE(QPPaymentForm::isWarmedUp());
  EXPECT_TRUE(sharesTheWarmProcess(form));
}

TEST_F(QPPaymentFormWarmUpTest, CallingItAgainAddsOnlyAnAnswer) {
  std::vector<std::string> answers;
  EXPECT_TRUE(
      QPPaymentForm::warmUp([&answers](bool ready) { answers.push_back(ready ? "1 ready" : "1 not"); }));
  WebKitWebView* hidden = FormEngineWarmUp::relatedView();
  ASSERT_NE(hidden, nullptr);
  EXPECT_TRUE(
      QPPaymentForm::warmUp([&answers](bool ready) { answers.push_back(ready ? "2 ready" : "2 not"); }));
  EXPECT_TRUE(QPPaymentForm::warmUp(nullptr));
  ASSERT_TRUE(pumpUntil([&answers] { return answers.size() == 2; }, 60));
  EXPECT_THAT(answers, ElementsAre("1 ready", "2 ready"));
  // Ready already: the answer comes later on the main loop, not within the call.
  EXPECT_TRUE(
      QPPaymentForm::warmUp([&answers](bool ready) { answers.push_back(ready ? "3 ready" : "3 not"); }));
  EXPECT_EQ(answers.size(), 2u);
  pumpFor(0.3);
  EXPECT_THAT(answers, ElementsAre("1 ready", "2 ready", "3 ready"));
  EXPECT_EQ(FormEngineWarmUp::relatedView(), hidden);

  Record record;
  QPPaymentForm& form = newForm(record);
  ASSERT_TRUE(renderAndLoad(form, record, 3, {"VISA"}, "again-1"));
  EXPECT_THAT(record.errors, IsEmpty());
  // The form shares the process only: its settings and user content stay its own.
  EXPECT_NE(webkit_web_view_get_settings(QPPaymentFormInternals::webView(form).view()),
            webkit_web_view_get_settings(hidden));
  EXPECT_NE(QPPaymentFormInternals::webView(form).userContentManager(),
            webkit_web_view_get_user_content_manager(hidden));
  EXPECT_TRUE(sharesTheWarmProcess(form));
}

TEST_F(QPPaymentFormWarmUpTest, FormsWorkOnceTheWarmUpIsGone) {
  ASSERT_THAT(warmUpAndWait(), ElementsAre(true));
  Record shared, later;
  QPPaymentForm& first = newForm(shared);
  ASSERT_TRUE(renderAndLoad(first, shared, 3, {"VISA"}, "gone-1"));
  // Released while a form uses its web process: the form keeps it and ends as always.
  QPPaymentForm::releaseWarmUp();
  EXPECT_FALSE(QPPaymentForm::isWarmedUp());
  EXPECT_EQ(FormEngineWarmUp::relatedView(), nullptr);
  pumpFor(0.3);
  ASSERT_TRUE(shop(first, shared, ShopperMode::Approve));
  EXPECT_EQ(shared.successes.size(), 1u);
  EXPECT_THAT(shared.errors, IsEmpty());

  // Later forms, with that one gone as well, work as without a warm-up.
  window_->unset_child();
  forms_.clear();
  pumpFor(0.2);
  ASSERT_TRUE(renderAndLoad(newForm(later), later, 0, {"VISA"}, "gone-2"));
  ASSERT_TRUE(shop(*forms_.back(), later, ShopperMode::Approve));
  EXPECT_EQ(later.loaded, 1);
  EXPECT_EQ(later.successes.size(), 1u);
}

TEST_F(QPPaymentFormWarmUpTest, AWarmUpReleasedBeforeItIsReadyAnswersFalseOnce) {
  std::vector<bool> answers;
  ASSERT_TRUE(QPPaymentForm::warmUp([&answers](bool ready) { answers.push_back(ready); }));
  QPPaymentForm::releaseWarmUp();
  QPPaymentForm::releaseWarmUp();  // nothing left to release
  ASSERT_TRUE(pumpUntil([&answers] { return !answers.empty(); }, 30));
  pumpFor(0.3);
  EXPECT_THAT(answers, ElementsAre(false));
  EXPECT_FALSE(QPPaymentForm::isWarmedUp());
  EXPECT_EQ(FormEngineWarmUp::relatedView(), nullptr);

  Record record;
  ASSERT_TRUE(renderAndLoad(newForm(record), record, 3, {"VISA"}, "early-1"));
  EXPECT_EQ(record.loaded, 1);
  EXPECT_THAT(record.errors, IsEmpty());
  // A warm-up afterwards starts anew.
  EXPECT_THAT(warmUpAndWait(), ElementsAre(true));
}

TEST_F(QPPaymentFormWarmUpTest, AfterItsWebProcessEndedFormsStartTheirOwn) {
  ASSERT_THAT(warmUpAndWait(), ElementsAre(true));
  webkit_web_view_terminate_web_process(FormEngineWarmUp::relatedView());
  ASSERT_TRUE(pumpUntil([] { return FormEngineWarmUp::relatedView() == nullptr; }, 30));
  EXPECT_FALSE(QPPaymentForm::isWarmedUp());
  Record record;
  ASSERT_TRUE(renderAndLoad(newForm(record), record, 0, {"VISA"}, "ended-1"));
  ASSERT_TRUE(shop(*forms_.back(), record, ShopperMode::Approve));
  EXPECT_EQ(record.loaded, 1);
  EXPECT_EQ(record.successes.size(), 1u);
}

}  // namespace
}  // namespace brivane
