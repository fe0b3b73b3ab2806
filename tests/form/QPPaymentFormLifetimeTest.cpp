// A host may destroy the form from inside any of its callbacks (the usual "close the window
// when the form ends"). Each case destroys it there, then reads the arguments it was given; the
// suite also runs under AddressSanitizer, where a touch of the freed form fails it.
#include <gtest/gtest.h>

#include <filesystem>

#include <gtkmm/window.h>

#include <boost/json.hpp>

#include "brivane/form/QPPaymentForm.h"
#include "form/FormTestSupport.h"
#include "sandbox/Shopper.h"

namespace brivane {
namespace {

using formtest::pumpFor;
using formtest::pumpUntil;
using sandbox::ShopperMode;

enum class Ending { Loaded, Error, Success, Cancel, BeforeSubmit, BeforeSubmitWithArg };

class QPPaymentFormLifetimeTest : public formtest::FormTest {
 protected:
  // The callback of `ending` destroys the form first, then reads its arguments; `calls_` counts it.
  void destroyIn(Ending ending) {
    auto end = [this, ending](Ending reached) {
      if (reached != ending) return;
      ++calls_;
      destroyForm();
    };
    form_->setOnFormLoaded([end] { end(Ending::Loaded); });
    form_->setOnError([this, end, ending](const boost::json::value& error) {
      end(Ending::Error);
      if (ending == Ending::Error) seen_ = boost::json::serialize(error);
    });
    form_->setOnSuccessCallback([this, end](const std::optional<std::string>& code, const std::string& token,
                                            const std::optional<std::string>& payload) {
      end(Ending::Success);
      seen_ = code.value_or("nil") + " " + token + " " + payload.value_or("nil");
    });
    form_->setOnCancel([this, end](const std::optional<std::string>& message) {
      end(Ending::Cancel);
      seen_ = message.value_or("nil");
    });
    if (ending == Ending::BeforeSubmit)
      form_->setOnBeforeSubmitCallback([end] { end(Ending::BeforeSubmit); });
    if (ending == Ending::BeforeSubmitWithArg) {
      form_->setOnBeforeSubmitCallbackWithArg(
          [this, end](const std::shared_ptr<OnBeforeSubmitObj>& arguments) {
            end(Ending::BeforeSubmitWithArg);
            arguments->preventSubmit();
            seen_ = arguments->paymentOptionCode().value_or("nil");
          });
    }
  }

  int calls_ = 0;
  std::string seen_;
};

struct LifetimeCase {
  std::string name;
  Ending ending;
  std::uint64_t provider;
  std::string option;
  std::string token;
  std::optional<ShopperMode> shopper;  // nothing: the ending comes without the shopper
  std::string seen;                    // what the destroying callback read afterwards
};

TEST_F(QPPaymentFormLifetimeTest, TheHostMayDestroyTheFormInsideEveryCallback) {
  const std::string closed = "http://127.0.0.1:" + std::to_string(formtest::closedPort());
  const std::filesystem::path dir = formtest::scratchDirectory("form-lifetime-tls");
  ASSERT_TRUE(formtest::makeUntrustedCertificate(dir)) << "openssl could not make a certificate";
  formtest::ProviderServer untrusted(std::make_unique<httplib::SSLServer>(
      (dir / "cert.pem").string().c_str(), (dir / "key.pem").string().c_str()));
  const std::string tls = untrusted.baseUrl("https");
  const LifetimeCase cases[] = {
      {"loaded", Ending::Loaded, 0, "VISA", "lifetime", std::nullopt, ""},
      {"error of a failed load", Ending::Error, 1, "PAYU", closed + "/providers/payu/pay?orderId=1",
       std::nullopt, "\"\""},
      {"error of an untrusted certificate", Ending::Error, 1, "PAYU", tls + "/providers/payu/pay?orderId=1",
       std::nullopt, "\"\""},
      {"error posted by the page", Ending::Error, 0, "VISA", "lifetime", ShopperMode::Decline, "\"\""},
      {"gateway callback", Ending::Success, 0, "VISA", "lifetime", ShopperMode::Approve, "VISA lifetime nil"},
      {"PayPal success", Ending::Success, 2, "PAYPAL", "lifetime", ShopperMode::Approve,
       "PAYPAL lifetime SANDBOXPAYER1"},
      {"redirect to the host", Ending::Success, 5, "VISA", "lifetime", ShopperMode::Approve,
       "VISA lifetime data="},
      {"PayPal cancel", Ending::Cancel, 2, "PAYPAL", "lifetime", ShopperMode::Cancel, "nil"},
      {"before submit", Ending::BeforeSubmit, 0, "VISA", "lifetime", std::nullopt, ""},
      {"before submit with its arguments", Ending::BeforeSubmitWithArg, 0, "VISA", "lifetime", std::nullopt,
       "VISA"},
  };
  for (const LifetimeCase& c : cases) {
    SCOPED_TRACE(c.name);
    restart();
    calls_ = 0;
    seen_.clear();
    destroyIn(c.ending);
    form_->setPaymentProvider(c.provider);
    form_->renderWithPaymentOptions(std::vector<std::string>{c.option}, c.token, nullptr);
    const bool beforeSubmit = c.ending == Ending::BeforeSubmit || c.ending == Ending::BeforeSubmitWithArg;
    if (c.shopper || beforeSubmit) {
      ASSERT_TRUE(pumpUntil([this] { return form_->isWebViewLoaded(); }, 15));
    }
    if (beforeSubmit) {
      // The page's request, as its submit makes it; the answer comes after the form is gone.
      formtest::evaluateIn(*form_,
                           "window.prompt('jsFunction: ObjC_onBeforeSubmit', '{\"paymentBrand\": "
                           "\"VISA\"}')");
    }
    if (c.shopper) {
      formtest::shopUntil(
          *form_, *c.shopper, [this] { return form_ == nullptr; }, 25);
    }
    ASSERT_TRUE(pumpUntil([this] { return form_ == nullptr; }, 25)) << "the ending never came";
    pumpFor(0.5);  // late work of the form would run here
    EXPECT_EQ(calls_, 1);
    if (c.seen == "\"\"") {
      EXPECT_FALSE(seen_.empty());
    } else {
      EXPECT_TRUE(seen_.starts_with(c.seen)) << seen_;
    }
  }
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace brivane
