// Every provider's flow to its outcome in the real engine, against the stand-in providers,
// driven by the scripted shopper; the navigation endings, validation and the toolbar.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <tuple>

#include <glib.h>
#include <gtkmm/button.h>
#include <gtkmm/messagedialog.h>
#include <gtkmm/window.h>

#include <boost/json.hpp>

#include "brivane/form/QPPaymentForm.h"
#include "brivane/util/QPUtils.h"
#include "form/FormTestSupport.h"
#include "form/KeyboardToolbar.h"
#include "form/QPPaymentFormInternal.h"
#include "sandbox/SandboxState.h"
#include "sandbox/Shopper.h"

namespace brivane {
namespace {

using formtest::closedPort;
using formtest::pumpFor;
using formtest::pumpUntil;
using sandbox::ShopperMode;
using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string escaped(const std::string& value) {
  gchar* text = g_uri_escape_string(value.c_str(), nullptr, FALSE);
  std::string result = text;
  g_free(text);
  return result;
}

class QPPaymentFormFlowTest : public formtest::FormTest {
 protected:
  ~QPPaymentFormFlowTest() override { unsetenv("LANGUAGE"); }  // cases that set it leave it to us
  void restart() {
    FormTest::restart();
    shopped_ = Shopped();
  }

  static void seedAuthorization(const std::string& token, const std::string& redirectURL = "") {
    std::lock_guard<std::mutex> lock(formtest::providerState().mutex);
    sandbox::Authorization& authorization = formtest::providerState().store.authorizations[token];
    authorization = sandbox::Authorization();
    authorization.token = token;
    authorization.reference = "ref-" + token;
    authorization.redirectURL = redirectURL;
  }
  static sandbox::Authorization authorization(const std::string& token) {
    std::lock_guard<std::mutex> lock(formtest::providerState().mutex);
    return formtest::providerState().store.authorizations.at(token);
  }

  // The scripted shopper takes steps until an outcome arrives; while it waits, the overlay
  // and the time of the first step are noted.
  struct Shopped {
    bool sawOverlay = false;
    std::optional<Clock::time_point> submittedAt, endedAt;
  };
  static bool shopIn(QPPaymentForm& form, const formtest::Record& record, ShopperMode mode, Shopped& seen) {
    if (!pumpUntil([&form] { return form.isWebViewLoaded(); }, 15)) return false;
    auto submittedAt = std::make_shared<std::optional<Clock::time_point>>();  // a late answer may come
    const bool ended = formtest::shopUntil(
        form, mode,
        [&] {
          if (form.isOverlayShown()) seen.sawOverlay = true;
          return record.outcomes() > 0;
        },
        25,
        [submittedAt](const std::optional<boost::json::value>& done, const std::optional<std::string>&) {
          if (done && done->is_string() && done->get_string().starts_with("submitted") && !*submittedAt) {
            *submittedAt = Clock::now();
          }
        });
    seen.submittedAt = *submittedAt;
    seen.endedAt = Clock::now();
    return ended;
  }
  bool shop(ShopperMode mode) { return shopIn(*form_, record_, mode, shopped_); }

  Shopped shopped_;
};

enum class Outcome { Success, Error, Cancel };
enum class Payload { Nil, PayerID, PostedInputs };

struct FlowCase {
  std::string name;
  std::uint64_t provider;
  std::vector<std::string> options;
  ShopperMode mode;
  Outcome outcome;
  Payload payload = Payload::Nil;
  bool hostReturn = false;  // the authorization names the host's own return URL
};

TEST_F(QPPaymentFormFlowTest, EveryProviderReachesExactlyOneOutcome) {
  const FlowCase cases[] = {
      {"gateway card", 0, {"VISA", "MSTRCRD"}, ShopperMode::Approve, Outcome::Success},
      {"gateway card 3-D Secure", 0, {"VISA"}, ShopperMode::Challenge, Outcome::Success},
      {"gateway card declined", 0, {"VISA"}, ShopperMode::Decline, Outcome::Error},
      {"gateway SEPA", 0, {"BNKACCT"}, ShopperMode::Approve, Outcome::Success},
      {"gateway PayPal", 0, {"PAYPAL"}, ShopperMode::Approve, Outcome::Success},
      {"PayU", 1, {"PAYU"}, ShopperMode::Approve, Outcome::Success},
      {"PayU declined", 1, {"PAYU"}, ShopperMode::Decline, Outcome::Error},
      {"PayPal", 2, {"PAYPAL"}, ShopperMode::Approve, Outcome::Success, Payload::PayerID},
      {"PayPal cancelled", 2, {"PAYPAL"}, ShopperMode::Cancel, Outcome::Cancel},
      {"PayPal declined", 2, {"PAYPAL"}, ShopperMode::Decline, Outcome::Error},
      {"CyberSource", 3, {"VISA", "MSTRCRD"}, ShopperMode::Approve, Outcome::Success, Payload::PostedInputs},
      {"TokenEx 3-D Secure", 4, {"AMEX"}, ShopperMode::Challenge, Outcome::Success, Payload::PostedInputs},
      {"Vesta declined", 5, {"VISA", "MSTRO"}, ShopperMode::Decline, Outcome::Error},
      {"SEPA", 6, {"BNKACCT"}, ShopperMode::Approve, Outcome::Success, Payload::PostedInputs},
      {"SEPA declined", 6, {"BNKACCT"}, ShopperMode::Decline, Outcome::Error},
      {"gateway PCI", 7, {"VISA"}, ShopperMode::Approve, Outcome::Success, Payload::PostedInputs},
      // The form service returns to the host's URL of the authorization, after a challenge too.
      {"CyberSource to the host",
       3,
       {"VISA"},
       ShopperMode::Approve,
       Outcome::Success,
       Payload::PostedInputs,
       true},
      {"CyberSource 3-D Secure to the host",
       3,
       {"VISA"},
       ShopperMode::Challenge,
       Outcome::Success,
       Payload::PostedInputs,
       true},
  };
  // Each form stays open while the next one runs, so that a second outcome would reach it; it is
  // checked once that run is over and at least 0.6 s have passed since its outcome.
  struct Run {
    const FlowCase* c = nullptr;
    std::string token, formToken;
    std::unique_ptr<formtest::Record> record = std::make_unique<formtest::Record>();
    std::unique_ptr<Gtk::Window> window = std::make_unique<Gtk::Window>();
    std::unique_ptr<QPPaymentForm> form;
    Shopped seen;
    ~Run() { window->unset_child(); }
  };
  const auto check = [](Run& run) {
    const FlowCase& c = *run.c;
    SCOPED_TRACE(c.name);
    pumpUntil([&run] { return Clock::now() > *run.seen.endedAt + std::chrono::milliseconds(600); }, 1);
    QPPaymentForm& form = *run.form;
    const formtest::Record& record = *run.record;
    ASSERT_EQ(record.outcomes(), 1u);
    if (c.mode != ShopperMode::Challenge) {
      EXPECT_EQ(record.loaded, 1);
    }
    EXPECT_FALSE(form.isActivityIndicatorShown());
    EXPECT_FALSE(form.isOverlayShown());
    const sandbox::Authorization ledger = authorization(run.token);
    switch (c.outcome) {
      case Outcome::Success: {
        ASSERT_EQ(record.successes.size(), 1u);
        EXPECT_TRUE(form.isFormFinished());
        EXPECT_TRUE(ledger.completedByShopper);
        EXPECT_FALSE(ledger.declined);
        EXPECT_EQ(record.successes[0].token, run.formToken);
        const std::optional<std::string>& payload = record.successes[0].payload;
        if (c.payload != Payload::PostedInputs) {
          EXPECT_EQ(payload, c.payload == Payload::PayerID ? std::optional<std::string>("SANDBOXPAYER1")
                                                           : std::nullopt);
        } else {
          ASSERT_TRUE(payload.has_value());
          EXPECT_TRUE(payload->starts_with("data=")) << *payload;
          EXPECT_EQ(payload->find('&'), std::string::npos) << "only the data input: " << *payload;
        }
        if (c.provider == QPPaymentProviderPayU) {  // PayU's page answers three seconds after the submit
          EXPECT_TRUE(run.seen.sawOverlay);
          ASSERT_TRUE(run.seen.submittedAt.has_value());
          EXPECT_GE(std::chrono::duration<double>(*run.seen.endedAt - *run.seen.submittedAt).count(), 2.5);
        }
        break;
      }
      case Outcome::Error:
        ASSERT_EQ(record.errors.size(), 1u);
        EXPECT_FALSE(form.isFormFinished());
        EXPECT_THAT(boost::json::serialize(record.errors[0]), HasSubstr("declined"));
        EXPECT_TRUE(ledger.declined);
        EXPECT_FALSE(ledger.completedByShopper);
        break;
      case Outcome::Cancel:
        ASSERT_EQ(record.cancels.size(), 1u);
        EXPECT_EQ(record.cancels[0], std::nullopt);
        EXPECT_TRUE(form.isFormFinished());
        EXPECT_FALSE(ledger.completedByShopper);
        break;
    }
    // The masked card or account the shopper typed, never the full number.
    if (c.outcome != Outcome::Cancel && c.options[0] != "PAYPAL") {
      const std::string data = boost::json::serialize(ledger.shopperData);
      EXPECT_THAT(data, ::testing::Not(HasSubstr("4200000000000000")));
      EXPECT_THAT(data, HasSubstr("*"));
    }
  };
  std::unique_ptr<Run> previous;
  int n = 0;
  for (const FlowCase& c : cases) {
    auto run = std::make_unique<Run>();
    run->c = &c;
    run->token = "flow-" + std::to_string(++n);
    const std::string hostReturn = c.hostReturn ? base() + "/shop/checkout/done" : "";
    seedAuthorization(run->token, hostReturn);
    run->formToken = c.provider == QPPaymentProviderPayU
                         ? payU("orderId=o" + std::to_string(n) + "&token=" + run->token +
                                "&continueUrl=" + escaped(redirect()))
                         : run->token;
    run->form = formtest::formForStandIns(base(), run->record.get());
    if (c.hostReturn) run->form->setRedirectURL(hostReturn);
    run->window->set_default_size(420, 680);
    run->window->set_child(*run->form);
    run->window->present();
    run->form->setPaymentProvider(c.provider);
    run->form->renderWithPaymentOptions(c.options, run->formToken, nullptr);
    const bool ended = shopIn(*run->form, *run->record, c.mode, run->seen);
    if (previous) check(*previous);
    previous = std::move(run);
    ASSERT_TRUE(ended) << c.name << ": no outcome";
  }
  check(*previous);
}

struct EndingCase {
  std::string name;
  std::uint64_t provider;
  std::string option;
  std::string again;  // a navigation that matches the ending again, by script
  std::string shown;  // the page the ending leaves in the view (PayPal's success page loads)
};

TEST_F(QPPaymentFormFlowTest, AFinishedFormEndsNoMoreAndDropsLaterErrors) {
  const EndingCase cases[] = {
      {"gateway callback", 0, "VISA", "location.href = '" + base() + "/callbacks/payon?id=again'",
       "/providers/payon/test/v1/"},
      {"PayPal success", 2, "PAYPAL", "location.href = '" + base() + "/callbacks/paypal/success/?PayerID=X2'",
       "/callbacks/paypal/success/"},
      {"redirect to the host", 5, "VISA", "location.href = '" + redirect() + "?again=1'",
       "/providers/formservice/"},
  };
  for (const EndingCase& c : cases) {
    SCOPED_TRACE(c.name);
    restart();
    render(c.provider, {c.option}, "end-" + c.name.substr(0, 3));
    ASSERT_TRUE(shop(ShopperMode::Approve));
    ASSERT_EQ(record_.successes.size(), 1u);
    EXPECT_FALSE(form_->onError());  // cleared by the success
    EXPECT_TRUE(pageAnswers("location.pathname + ' ' + document.readyState", (c.shown + " complete").c_str()))
        << boost::json::serialize(evaluate("location.href"));
    const boost::json::value before = evaluate("location.href");
    evaluate(c.again + "; true");
    evaluate("window.webkit.messageHandlers.ObjC_onError.postMessage({name: 'Late'}); true");
    pumpFor(0.3);
    EXPECT_EQ(record_.successes.size(), 1u);
    EXPECT_TRUE(record_.errors.empty());
    EXPECT_EQ(evaluate("location.href"), before) << "the late navigation was not ignored";
    EXPECT_FALSE(form_->isActivityIndicatorShown());
  }
}

TEST_F(QPPaymentFormFlowTest, LinksLoadInTheViewOrOpenOutside) {
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayon, {"VISA"}, "links"));
  const std::string outside = base() + "/providers/return?outside=1";
  for (const std::string target : {"_blank", "elsewhere"}) {
    SCOPED_TRACE(target);
    record_.opened.clear();
    evaluate("var a = document.createElement('a'); a.href = '" + outside + "'; a.target = '" + target +
             "'; document.body.appendChild(a); a.click(); true");
    ASSERT_TRUE(pumpUntil([this] { return !record_.opened.empty(); }, 5));
    EXPECT_EQ(record_.opened, std::vector<std::string>{outside});
    EXPECT_THAT(std::string(evaluate("location.href").as_string()), HasSubstr("/providers/payon/"));
  }
  // A link within the page's own frame loads in the form.
  evaluate("var b = document.createElement('a'); b.href = '" + base() +
           "/providers/return?inside=1'; document.body.appendChild(b); b.click(); true");
  ASSERT_TRUE(pageAnswers("location.search", "?inside=1"));
  pumpFor(0.3);
  EXPECT_FALSE(form_->isActivityIndicatorShown());
  EXPECT_EQ(record_.opened.size(), 1u);
  EXPECT_EQ(record_.outcomes(), 0u);
}

TEST_F(QPPaymentFormFlowTest, AFailedLoadReportsItsTextAndNeverLoads) {
  // A closed port, and ports the engine refuses to load from.
  for (int port : {closedPort(), 1, 25}) {
    SCOPED_TRACE(port);
    restart();
    render(QPPaymentProviderPayU, {"PAYU"},
           "http://127.0.0.1:" + std::to_string(port) + "/providers/payu/pay?orderId=1");
    ASSERT_TRUE(pumpUntil([this] { return !record_.errors.empty(); }, 15));
    pumpFor(0.5);
    EXPECT_EQ(record_.loaded, 0);
    EXPECT_FALSE(form_->isWebViewLoaded());
    EXPECT_EQ(record_.errors.size(), 1u);
    EXPECT_TRUE(record_.errors[0].is_string() && !record_.errors[0].get_string().empty());
    EXPECT_FALSE(form_->isActivityIndicatorShown());
  }
}

// A form service that takes the connection and never answers: within the wait the shopper sees a
// notice with a way to try again, and the host hears why, once.
TEST_F(QPPaymentFormFlowTest, AFormServiceThatNeverAnswersShowsANotice) {
  int silent = -1;
  const int port = formtest::silentPort(silent);
  ASSERT_NE(port, 0);
  form_->setApiURL("http://127.0.0.1:" + std::to_string(port) + "/");
  render(QPPaymentProviderVesta, {"VISA"}, "silent");
  ASSERT_TRUE(pumpUntil([this] { return !record_.errors.empty(); }, 7));
  EXPECT_THAT(boost::json::serialize(record_.errors[0]), HasSubstr("FormServiceUnavailable"));
  Gtk::Widget* notice = QPPaymentFormInternals::serviceNotice(*form_);
  ASSERT_NE(notice, nullptr);
  EXPECT_FALSE(form_->isActivityIndicatorShown());
  EXPECT_TRUE(notice->get_mapped());
  // The page's own failure (its later time-out) shows the shopper no second notice.
  EXPECT_EQ(evaluate("qpFail('late'); Array.prototype.filter.call(document.querySelectorAll('[role=alert]'), "
                     "function (n) { return n.offsetParent !== null; }).length"),
            boost::json::value(0));
  pumpFor(1.0);
  EXPECT_EQ(record_.errors.size(), 1u);
  // Trying again renders anew: the notice goes until the next wait has passed.
  auto* retry = dynamic_cast<Gtk::Button*>(notice->get_last_child());
  ASSERT_NE(retry, nullptr);
  EXPECT_EQ(std::string(retry->get_label()), QPUtils::LStr("try_again"));
  retry->activate();
  ASSERT_TRUE(pumpUntil([this] { return QPPaymentFormInternals::serviceNotice(*form_) == nullptr; }, 2));
  ASSERT_TRUE(pumpUntil([this] { return record_.errors.size() == 2; }, 7));
  // The shopper who tried again finds the keyboard on the next notice's button.
  notice = QPPaymentFormInternals::serviceNotice(*form_);
  ASSERT_NE(notice, nullptr);
  EXPECT_TRUE(notice->get_last_child()->is_focus());
  close(silent);
}

TEST_F(QPPaymentFormFlowTest, PayUSuccessNeverComesAfterTheFormIsGone) {
  ASSERT_TRUE(
      renderAndLoad(QPPaymentProviderPayU, {"PAYU"},
                    base() + "/providers/payu/pay?orderId=9&token=gone&continueUrl=" + escaped(redirect())));
  const std::string step = sandbox::shopperStepScript(ShopperMode::Approve);
  evaluate(step);
  ASSERT_TRUE(pumpUntil([this] { return form_->isOverlayShown(); }, 10));
  const auto due = Clock::now() + std::chrono::milliseconds(3000 + 200);  // PayU's success, and a margin
  destroyForm();
  pumpUntil([&due] { return Clock::now() > due; }, 4);
  EXPECT_TRUE(record_.successes.empty());
}

struct ValidationCase {
  std::string name;
  std::string clear;  // an input the script empties first ("" for none)
  std::uint64_t element;
  bool valid;
  double atLeast;
};

TEST_F(QPPaymentFormFlowTest, ValidationWaitsOnceOrTwiceAndAnswersOnce) {
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayon, {"VISA"}, "validation"));
  pumpFor(0.4);
  const ValidationCase cases[] = {
      {"all filled", "", QPFormElementAll, true, 0.25},
      {"one filled element", "", QPFormElementCvv, true, 0.25},
      {"an empty input", "card.cvv", QPFormElementAll, false, 0.55},
      {"an empty input, other element", "card.cvv", QPFormElementCardNumber, true, 0.55},
  };
  for (const ValidationCase& c : cases) {
    SCOPED_TRACE(c.name);
    evaluate(
        "function put(n, v) { var i = document.querySelector(\"input[name='\" + n + \"']\"); i.value = v; }"
        "put('card.number', '4200 0000 0000 0000'); put('card.expiry', '12 / 39'); put('card.cvv', '123');"
        "put('card.holder', 'Erika Mustermann');" +
        (c.clear.empty() ? std::string() : "put('" + c.clear + "', '');") +
        "document.querySelectorAll('.wpwl-has-error').forEach(function (g) { "
        "g.classList.remove('wpwl-has-error'); });"
        "true");
    std::vector<std::pair<std::uint64_t, bool>> answers;
    const auto start = Clock::now();
    double elapsed = 0;
    form_->validateElement(c.element, [&](std::uint64_t element, bool valid) {
      elapsed = secondsSince(start);
      answers.emplace_back(element, valid);
    });
    ASSERT_TRUE(pumpUntil([&] { return !answers.empty(); }, 5));
    pumpFor(0.4);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].first, c.element);
    EXPECT_EQ(answers[0].second, c.valid);
    EXPECT_GE(elapsed, c.atLeast);
    // With an empty input the page's own submit showed its errors first.
    EXPECT_EQ(evaluate("document.querySelectorAll('.wpwl-group-cvv.wpwl-has-error').length > 0"),
              boost::json::value(!c.clear.empty()));
  }
  // A form destroyed while validating never answers.
  int late = 0;
  form_->validateElement(QPFormElementAll, [&late](std::uint64_t, bool) { ++late; });
  destroyForm();
  pumpFor(1.0);
  EXPECT_EQ(late, 0);
}

TEST_F(QPPaymentFormFlowTest, ScriptErrorsMakeValidationFail) {
  // PayU's page defines none of the form's page functions: every query is a script error.
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayU, {"PAYU"}, base() + "/providers/payu/pay?orderId=1"));
  std::vector<bool> answers;
  const auto start = Clock::now();
  form_->validateElement(QPFormElementAll,
                         [&answers](std::uint64_t, bool valid) { answers.push_back(valid); });
  ASSERT_TRUE(pumpUntil([&] { return !answers.empty(); }, 5));
  const double elapsed = secondsSince(start);
  pumpFor(0.4);
  EXPECT_EQ(answers, std::vector<bool>{false});
  EXPECT_GE(elapsed, 0.25);  // how many waits: FieldValidationTest
}

// The page's before-submit request (its Enter or the decline) with a callback without arguments:
// the 3-D Secure bar replaces the standard one at once, whose previous and next buttons are gone,
// and stays after the keyboard has gone.
TEST_F(QPPaymentFormFlowTest, ABeforeSubmitWithoutArgumentsLeadsTo3dSecureToolbar) {
  setenv("LANGUAGE", "en", 1);
  int calls = 0;
  form_->setOnBeforeSubmitCallback([&calls] { ++calls; });
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayon, {"VISA"}, "3ds-toolbar"));
  const std::string focus = "document.querySelector(\"input[name='card.number']\").focus(); true";
  evaluate(focus);
  ASSERT_TRUE(pumpUntil([this] { return form_->isNextButtonEnabled(); }, 10));
  EXPECT_EQ(evaluate("window.prompt('jsFunction: ObjC_onBeforeSubmit', '{\"paymentBrand\": \"VISA\"}')"),
            boost::json::value("true"));
  EXPECT_EQ(calls, 1);
  ASSERT_TRUE(pumpUntil([this] { return form_->toolbarType() == QPToolbarType3dSecure; }, 5));
  EXPECT_EQ(form_->shownToolbarItems(), (std::vector<std::string>{"", "Done"}));
  // The page goes on reporting its previous / next states (Shift+Tab in the page).
  evaluate(
      "window.webkit.messageHandlers.ObjC_PrevButtEnabled.postMessage(true);"
      "window.webkit.messageHandlers.ObjC_NextButtEnabled.postMessage(true); true");
  pumpFor(0.3);
  EXPECT_FALSE(form_->isPrevButtonEnabled());
  EXPECT_FALSE(form_->isNextButtonEnabled());
  form_->doneWebViewInpit();
  ASSERT_TRUE(pumpUntil([this] { return form_->shownToolbarItems().empty(); }, 5));
  EXPECT_EQ(form_->toolbarType(), QPToolbarType3dSecure);  // survives the keyboard hiding
  evaluate(focus);
  ASSERT_TRUE(pumpUntil([this] { return !form_->shownToolbarItems().empty(); }, 5));
  EXPECT_EQ(form_->shownToolbarItems(), (std::vector<std::string>{"", "Done"}));
}

struct ToolbarCase {
  std::string name;
  std::uint64_t provider;
  std::vector<std::string> options;
  bool wizard;        // setElement before the focus
  std::string focus;  // script that focuses an input
  std::vector<std::string> items;
  std::uint64_t typeWhileShown;
  std::uint64_t typeAfter;
};

TEST_F(QPPaymentFormFlowTest, TheToolbarFollowsTheFocusByProvider) {
  setenv("LANGUAGE", "en_US", 1);
  const std::string cardInput = "document.querySelector(\"input[name='card.number']\").focus(); true";
  const std::string frameInput =
      "document.getElementById('qp-frame').contentDocument.querySelector('input[name=cardNumber]').focus(); "
      "true";
  const std::vector<std::string> standard = {" < ", " > ", "", "Done"};
  const std::vector<std::string> doneOnly = {"", "Done"};
  const std::string sepaInput =
      "document.getElementById('qp-frame').contentDocument.querySelector('input[name=iban]').focus(); true";
  const std::string newInput = "document.body.appendChild(document.createElement('input')).focus(); true";
  const auto [T0, TS, TW, T3] =
      std::tuple{QPToolbarTypeNone, QPToolbarTypeStandard, QPToolbarTypeWizard, QPToolbarType3dSecure};
  const ToolbarCase cases[] = {
      // clang-format off
      {"gateway card", 0, {"VISA"}, false, cardInput, standard, TS, T0},
      {"gateway wizard", 0, {"VISA"}, true, cardInput, doneOnly, TW, TW},
      {"form service", 3, {"VISA"}, false, frameInput, doneOnly, T3, T3},
      {"SEPA form service", 6, {"BNKACCT"}, false, sepaInput, doneOnly, T3, T3},
      {"gateway through the form service", 7, {"VISA"}, false, frameInput, {}, T0, T0},
      {"gateway PayPal", 0, {"PAYPAL"}, false, newInput, {}, T0, T0},
      // clang-format on
  };
  for (const ToolbarCase& c : cases) {
    SCOPED_TRACE(c.name);
    restart();
    if (c.wizard) form_->setElement(QPFormElementCardHolder, true);
    ASSERT_TRUE(renderAndLoad(c.provider, c.options, "toolbar"));
    ASSERT_TRUE(pageAnswers(c.focus, true));
    pumpFor(0.5);
    EXPECT_EQ(form_->shownToolbarItems(), c.items);
    EXPECT_EQ(form_->toolbarType(), c.typeWhileShown);
    if (c.items == standard) {
      // The first input has no previous one.
      ASSERT_TRUE(pumpUntil([this] { return form_->isNextButtonEnabled(); }, 5));
      EXPECT_FALSE(form_->isPrevButtonEnabled());
      form_->nextWebViewInput();
      ASSERT_TRUE(pumpUntil([this] { return form_->isPrevButtonEnabled(); }, 5));
    }
    form_->doneWebViewInpit();
    ASSERT_TRUE(pumpUntil([this] { return form_->shownToolbarItems().empty(); }, 5));
    EXPECT_EQ(form_->toolbarType(), c.typeAfter);
  }
  // German first: "Fertig"; English as spoken in Germany: "Done".
  restart();
  for (const auto& [languages, title] : {std::pair{"de_CH:en", "Fertig"}, std::pair{"en_DE:de", "Done"}}) {
    setenv("LANGUAGE", languages, 1);
    form_->setElement(QPFormElementAll, true);
    form_->keyboardWillShow();
    EXPECT_EQ(form_->shownToolbarItems(), (std::vector<std::string>{"", title}));
    form_->keyboardWillHide();
  }
}

TEST_F(QPPaymentFormFlowTest, MalformedPageInputChangesNothing) {
  int beforeSubmits = 0;
  form_->setOnBeforeSubmitCallbackWithArg([&](const std::shared_ptr<OnBeforeSubmitObj>& arguments) {
    ++beforeSubmits;
    EXPECT_FALSE(arguments->originArgs().has_value());
    EXPECT_FALSE(arguments->iban().has_value());
  });
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayon, {"VISA"}, "bad-input"));
  const boost::json::value answer = evaluate(
      "var h = window.webkit.messageHandlers;"
      "h.ObjC_PrevButtEnabled.postMessage('yes'); h.ObjC_NextButtEnabled.postMessage({});"
      "h.qp_keyboard.postMessage('maybe'); h.qp_keyboard.postMessage(null); h.ios_postParam.postMessage([1, "
      "2]);"
      "h.ObjC_Log.postMessage('%E0%A4%A'); h.ObjC_Log.postMessage(42);"
      "[window.prompt('jsFunction: ObjC_onBeforeSubmit', '{not json'),"
      " window.prompt('jsFunction: somethingElse', '{}'), window.prompt('no prefix', '{}')]");
  EXPECT_EQ(answer, (boost::json::array{"true", nullptr, nullptr}));
  EXPECT_EQ(beforeSubmits, 1);
  for (const char* url :
       {"about:blank#x", "data:text/plain,odd", "http://127.0.0.1:1/%%30%30", "brivane-odd:x"}) {
    evaluate(std::string("try { location.href = '") + url + "'; } catch (e) {} true");
  }
  pumpFor(1.0);
  EXPECT_EQ(record_.outcomes() - record_.errors.size(), 0u);  // failed loads may report errors; nothing ends
  EXPECT_FALSE(form_->isFormFinished());
  EXPECT_TRUE(form_->shownToolbarItems().empty());
}

struct LanguageCase {
  std::string language;
  std::uint64_t provider;
  std::string option;
  std::string label;  // script answering the card number's (or account holder's) label
  std::string text;
};

TEST_F(QPPaymentFormFlowTest, StandInsSpeakTheLanguageTheFormPasses) {
  const std::string inFrame = "document.getElementById('qp-frame').contentDocument.querySelector";
  const LanguageCase cases[] = {
      {"de_DE", 3, "VISA", inFrame + "('.qp-label-cardNumber').textContent", "Kartennummer"},
      {"el_GR", 0, "VISA", "document.querySelector('.wpwl-label-cardNumber').textContent", "Αριθμός κάρτας"},
      {"fr_FR", 1, "PAYU", "document.querySelector('label[for=cardNumber]').textContent", "Numéro de carte"},
      {"pt_PT", 6, "BNKACCT", inFrame + "('.qp-label-accountHolder').textContent", "Titular da conta"},
      {"ja_JP", 0, "VISA", "document.querySelector('.wpwl-label-cardNumber').textContent", "Card number"},
  };
  for (const LanguageCase& c : cases) {
    SCOPED_TRACE(c.language);
    setenv("LANGUAGE", c.language.c_str(), 1);
    restart();
    ASSERT_TRUE(renderAndLoad(
        c.provider, {c.option},
        c.provider == QPPaymentProviderPayU ? base() + "/providers/payu/pay?orderId=1&lang=en" : "words"));
    EXPECT_TRUE(pageAnswers(c.label, c.text.c_str())) << boost::json::serialize(evaluate(c.label));
  }
}

// The busy overlay covers the whole form: a click anywhere goes to it, not to the page, and so
// does every key (an Enter cannot submit twice); the page has the keyboard back afterwards.
TEST_F(QPPaymentFormFlowTest, TheBusyOverlayTakesEveryClickAndKey) {
  ASSERT_TRUE(renderAndSettle(QPPaymentProviderPayon, {"VISA"}, "busy"));
  Gtk::Widget& page = QPPaymentFormInternals::webView(*form_).widget();
  const auto pageHasKeyboard = [&] {
    Gtk::Widget* focus = window_->get_focus();
    return focus != nullptr && (focus == &page || focus->is_ancestor(page));
  };
  ASSERT_TRUE(page.grab_focus());
  ASSERT_TRUE(pumpUntil(pageHasKeyboard, 5));
  evaluate("window.webkit.messageHandlers.ios_showLoading.postMessage(null); true");
  ASSERT_TRUE(pumpUntil([this] { return form_->isActivityIndicatorShown(); }, 5));
  EXPECT_FALSE(pageHasKeyboard());
  EXPECT_FALSE(page.grab_focus());
  EXPECT_FALSE(pageHasKeyboard());
  ASSERT_TRUE(pumpUntil([this] { return form_->isActivityIndicatorShown(); }, 5));
  Gtk::Widget* overlay = QPPaymentFormInternals::activityOverlay(*form_);
  ASSERT_NE(overlay, nullptr);
  pumpFor(0.2);
  const double width = form_->get_width(), height = form_->get_height();
  for (const auto& [x, y] : {std::pair{0.5, 0.5}, std::pair{0.1, 0.1}, std::pair{0.9, 0.8}}) {
    SCOPED_TRACE(std::to_string(x) + "," + std::to_string(y));
    Gtk::Widget* picked = form_->pick(width * x, height * y);
    ASSERT_NE(picked, nullptr);
    EXPECT_TRUE(picked == overlay || picked->is_ancestor(*overlay));
  }
  evaluate("window.webkit.messageHandlers.ios_formError.postMessage(null); true");
  ASSERT_TRUE(pumpUntil([this] { return !form_->isActivityIndicatorShown(); }, 5));
  EXPECT_TRUE(pumpUntil(pageHasKeyboard, 5));
}

// The toolbar's buttons take keyboard focus and are named in the form's language.
TEST_F(QPPaymentFormFlowTest, ToolbarButtonsAreFocusableAndNamed) {
  for (const auto& [language, expected] : {std::pair<std::string, std::vector<std::string>>{
                                               "de", {"Vorheriges Feld", "Nächstes Feld", "Fertig"}},
                                           {"fr", {"Champ précédent", "Champ suivant", "OK"}},
                                           {"en", {"Previous field", "Next field", "Done"}}}) {
    SCOPED_TRACE(language);
    setenv("LANGUAGE", language.c_str(), 1);
    KeyboardToolbar bar(KeyboardToolbar::Kind::Standard, {});
    std::vector<std::string> labels;
    for (Gtk::Button* button : bar.buttons()) {
      EXPECT_TRUE(button->get_focusable());
      labels.emplace_back(button->get_tooltip_text());
    }
    EXPECT_EQ(labels, expected);
  }
}

// The provider's challenge replaces the frame's page, or the whole page (the card widget's): the
// focused input went with it, and so does the toolbar.
TEST_F(QPPaymentFormFlowTest, TheToolbarGoesWhenTheFramesPageIsReplaced) {
  struct Case {
    std::uint64_t provider;
    std::string document;  // where the card number is, and whose page the challenge replaces
    std::string input;
  };
  const std::string frame = "document.getElementById('qp-frame').contentDocument";
  for (const Case& c : {Case{QPPaymentProviderCyberSource, frame, "cardNumber"},
                        Case{QPPaymentProviderPayon, "document", "card.number"}}) {
    SCOPED_TRACE(c.provider);
    restart();
    ASSERT_TRUE(renderAndLoad(c.provider, {"VISA"}, "frame-replaced"));
    const std::string focus = c.document + ".querySelector(\"input[name='" + c.input + "']\").focus(); true";
    ASSERT_TRUE(pageAnswers(focus, true));
    ASSERT_TRUE(pumpUntil([this] { return !form_->shownToolbarItems().empty(); }, 5));
    const std::string challenge = base() + "/providers/3ds/challenge?session=frame";
    evaluate(c.document == frame ? "document.getElementById('qp-frame').src = '" + challenge + "'; true"
                                 : "location.href = '" + challenge + "'; true");
    EXPECT_TRUE(pumpUntil([this] { return form_->shownToolbarItems().empty(); }, 5));
  }
}

// The shopper's first Tab into the form, which gives the web view the keyboard, lands on the first
// field, in the form service's frame too (real key presses).
TEST_F(QPPaymentFormFlowTest, TheFirstTabLandsOnTheFirstField) {
  const std::string focused =
      "var a = document.activeElement, f = document.getElementById('qp-frame');"
      "a.tagName === 'IFRAME' ? 'frame ' + f.contentDocument.activeElement.name : a.name || a.tagName";
  for (const auto& [provider, field] : {std::pair{QPPaymentProviderPayon, "card.number"},
                                        std::pair{QPPaymentProviderCyberSource, "frame cardNumber"}}) {
    SCOPED_TRACE(provider);
    restart();
    ASSERT_TRUE(renderAndSettle(provider, {"VISA"}, "first-tab"));
    ASSERT_TRUE(pageAnswers(focused, "BODY"));
    ASSERT_TRUE(formtest::focusWindow(*window_));
    ASSERT_EQ(window_->get_focus(), nullptr);
    ASSERT_TRUE(formtest::pressKey("Tab"));
    EXPECT_TRUE(pageAnswers(focused, field, 3)) << boost::json::serialize(evaluate(focused));
  }
}

// Tab past the last control returns to the first field, Shift+Tab before the first to the last.
TEST_F(QPPaymentFormFlowTest, TabOrderWrapsAroundThePage) {
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayon, {"VISA"}, "tabs"));
  const std::string tab =
      "function qpTab(shift) { document.activeElement.dispatchEvent(new KeyboardEvent('keydown', "
      "{key: 'Tab', shiftKey: shift, bubbles: true, cancelable: true})); }";
  ASSERT_TRUE(pageAnswers("qpTabbables().length > 2", true));
  EXPECT_EQ(evaluate(tab + "var c = qpTabbables(); c[c.length - 1].focus(); qpTab(false); "
                           "[document.activeElement === c[0], c[0].tagName]"),
            (boost::json::array{true, "INPUT"}));
  EXPECT_EQ(
      evaluate(
          tab +
          "var c = qpTabbables(); c[0].focus(); qpTab(true); document.activeElement === c[c.length - 1]"),
      boost::json::value(true));
  // In the middle Tab is the engine's own.
  EXPECT_EQ(
      evaluate(tab + "var c = qpTabbables(); c[1].focus(); qpTab(false); document.activeElement === c[1]"),
      boost::json::value(true));
}

enum class AfterEnter { BeforeSubmit, Declined, PayPalOpens };

struct EnterCase {
  std::string name;
  std::uint64_t provider;
  std::string option;
  bool inFrame;                                             // the fields are in the form service's frame
  std::vector<std::pair<std::string, std::string>> fields;  // typed before; Enter goes to the last
  AfterEnter after;
};

// Enter in a field submits the page as its Pay button does: a real key press (not a script's
// event) in the last field typed leads to the page's before-submit request (the host prevents
// the rest) or PayU's decline; on PayPal's button it opens PayPal's approval window.
TEST_F(QPPaymentFormFlowTest, EnterInAFieldSubmitsEveryProvidersPage) {
  using Fields = std::vector<std::pair<std::string, std::string>>;
  const std::string iban = "DE89 3704 0044 0532 0130 00", holder = "Erika Mustermann";
  // clang-format off
  const Fields gatewayCard = {{"card.number", "4200 0000 0000 0000"}, {"card.expiry", "12 / 39"}, {"card.holder", holder}, {"card.cvv", "123"}};
  const Fields serviceCard = {{"cardNumber", "4200 0000 0000 0000"}, {"expiry", "12 / 39"}, {"cardHolder", holder}, {"cvv", "123"}};
  const Fields amex = {{"cardNumber", "3782 822463 10005"}, {"expiry", "12 / 39"}, {"cvv", "1234"}, {"cardHolder", holder}};
  const Fields payU = {{"cardNumber", "4000 0000 0000 0002"}, {"expiry", "12 / 39"}, {"cvv", "123"}, {"cardHolder", holder}};
  const Fields sepa = {{"bankAccount.holder", holder}, {"bankAccount.iban", iban}};
  const Fields serviceSepa = {{"accountHolder", holder}, {"iban", iban}};
  const EnterCase cases[] = {
      {"card widget", 0, "VISA", false, gatewayCard, AfterEnter::BeforeSubmit},
      {"gateway SEPA", 0, "BNKACCT", false, sepa, AfterEnter::BeforeSubmit},
      {"PayU", 1, "PAYU", false, payU, AfterEnter::Declined},
      {"PayPal's button", 2, "PAYPAL", false, {}, AfterEnter::PayPalOpens},
      {"CyberSource", 3, "VISA", true, serviceCard, AfterEnter::BeforeSubmit},
      {"TokenEx", 4, "AMEX", true, amex, AfterEnter::BeforeSubmit},
      {"Vesta", 5, "VISA", true, serviceCard, AfterEnter::BeforeSubmit},
      {"SEPA", 6, "BNKACCT", true, serviceSepa, AfterEnter::BeforeSubmit},
      {"PAYON PCI", 7, "VISA", true, serviceCard, AfterEnter::BeforeSubmit},
      // clang-format on
  };
  for (const EnterCase& c : cases) {
    SCOPED_TRACE(c.name);
    restart();
    int requests = 0;
    const bool prevent = c.after == AfterEnter::BeforeSubmit;
    form_->setOnBeforeSubmitCallbackWithArg(
        [&requests, prevent](const std::shared_ptr<OnBeforeSubmitObj>& arguments) {
          ++requests;
          if (prevent) arguments->preventSubmit();
        });
    // The web view takes the keyboard once the loading overlay has gone, and before a field takes
    // the focus: the engine hears of its focus later, and would then put it back on the page.
    ASSERT_TRUE(renderAndSettle(
        c.provider, {c.option},
        c.provider == QPPaymentProviderPayU ? FormTest::payU("orderId=enter&lang=en") : "enter"));
    ASSERT_TRUE(formtest::focusWindow(*window_));
    ASSERT_TRUE(QPPaymentFormInternals::webView(*form_).widget().grab_focus());
    pumpFor(0.3);
    std::string type =
        "var d = " +
        std::string(c.inFrame ? "document.getElementById('qp-frame').contentDocument" : "document") +
        "; var i = null;";
    for (const auto& [name, value] : c.fields) {
      type += "i = d.querySelector(\"input[name='" + name + "']\"); i.value = '" + value +
              "'; i.dispatchEvent(new Event('input', {bubbles: true}));";
    }
    type += c.fields.empty() ? "i = d.querySelector('.paypal-button');" : "";
    type += "i.focus(); d.activeElement === i";
    ASSERT_TRUE(pageAnswers(type, true));
    ASSERT_TRUE(formtest::pressKey("Return"));
    switch (c.after) {
      case AfterEnter::BeforeSubmit:
        EXPECT_TRUE(pumpUntil([&requests] { return requests > 0; }, 5));
        pumpFor(0.3);
        EXPECT_EQ(requests, 1);
        break;
      case AfterEnter::Declined:
        ASSERT_TRUE(pumpUntil([this] { return !record_.errors.empty(); }, 5));
        EXPECT_THAT(boost::json::serialize(record_.errors[0]), HasSubstr("declined"));
        break;
      case AfterEnter::PayPalOpens:
        EXPECT_TRUE(pageAnswers("!!document.querySelector('.paypal-lightbox iframe')", true, 5));
        EXPECT_EQ(requests, 1);
        break;
    }
  }
}

struct PageDialogCase {
  std::string script;
  Gtk::ResponseType response;
  std::string answer;
};

// alert() and confirm() open a dialog of the host's window, titled with the page's host, answered
// in the form's language; the page waits for the answer.
TEST_F(QPPaymentFormFlowTest, PageDialogsBelongToTheHostWindow) {
  setenv("LANGUAGE", "de", 1);
  ASSERT_TRUE(renderAndLoad(QPPaymentProviderPayon, {"VISA"}, "dialogs"));
  const PageDialogCase cases[] = {
      {"confirm('Sicher?')", Gtk::ResponseType::OK, "true"},
      {"confirm('Sicher?')", Gtk::ResponseType::CANCEL, "false"},
      {"alert('Hinweis')", Gtk::ResponseType::OK, "undefined"},
  };
  for (const PageDialogCase& c : cases) {
    SCOPED_TRACE(c.script);
    evaluate("window.qpAnswer = 'none'; setTimeout(function () { window.qpAnswer = String(" + c.script +
             "); }, 0); true");
    Gtk::MessageDialog* dialog = nullptr;
    ASSERT_TRUE(pumpUntil(
        [&] {
          for (Gtk::Window* window : Gtk::Window::list_toplevels()) {
            if (auto* shown = dynamic_cast<Gtk::MessageDialog*>(window); shown && shown->get_visible())
              dialog = shown;
          }
          return dialog != nullptr;
        },
        5));
    EXPECT_EQ(std::string(dialog->get_title()), "127.0.0.1");
    EXPECT_EQ(dialog->get_transient_for(), window_.get());
    auto* button = dynamic_cast<Gtk::Button*>(dialog->get_widget_for_response(c.response));
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(std::string(button->get_label()),
              c.response == Gtk::ResponseType::OK ? std::string("OK") : std::string("Abbrechen"));
    dialog->response(c.response);
    EXPECT_TRUE(pageAnswers("window.qpAnswer", c.answer.c_str(), 5));
  }
}

TEST(QPPaymentFormHelpers, QueryItemsAndDictionaryText) {
  const std::vector<QPURLQueryItem> items = {
      {"token", "t1"}, {"PayerID", std::nullopt}, {"PayerID", "second"}, {"payerid", "lower"}};
  struct Case {
    std::string name;
    std::optional<std::string> value;
  };
  for (const Case& c : {Case{"token", "t1"}, Case{"PayerID", std::nullopt}, Case{"payerid", "lower"},
                        Case{"missing", std::nullopt}}) {
    EXPECT_EQ(QPPaymentForm::valueForKey(c.name, items), c.value) << c.name;
  }
  EXPECT_EQ(QPPaymentForm::dictToString(boost::json::object{}), "");
  boost::json::object dictionary;
  dictionary["b"] = "x y";
  dictionary["a"] = 3;
  EXPECT_EQ(QPPaymentForm::dictToString(dictionary), "\"b\"=\"x y\"&\"a\"=\"3\"&");
  EXPECT_THAT(QPPaymentForm::getHttpBodyScript(), ::testing::StartsWith("function getHttpBodyPlz() {"));
  EXPECT_THAT(QPPaymentForm::getHttpBodyScript(), ::testing::EndsWith("getHttpBodyPlz();"));
}

}  // namespace
}  // namespace brivane
