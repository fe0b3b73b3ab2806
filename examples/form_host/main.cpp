// A GTK host holding the payment form: a window with a card form rendered against a running
// sandbox (`brivane sandbox`, default http://127.0.0.1:8080). Prints every callback; exits with
// 0 after a success, 1 after an error or a cancel.
//
//   form_host [BASE_URL] [AUTHORIZATION_TOKEN]
//
// With FORM_HOST_EXIT_ON_LOAD=1 in the environment it exits with 0 once the page has loaded (a
// check that the installed form finds its bundle and engine).
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtkmm/application.h>
#include <gtkmm/window.h>
#include <boost/json/serialize.hpp>

#include "brivane/form/QPPaymentForm.h"

namespace {

class FormWindow : public Gtk::Window {
 public:
  FormWindow(const std::string& baseUrl, const std::string& token, int* exitCode) {
    set_title("Payment");
    set_default_size(480, 640);
    form_.setMode(1);  // a payment
    form_.setProviderMode(0);
    form_.setPaymentProvider(0);  // the card gateway's widget
    form_.setRedirectURL(baseUrl + "/providers/return");
    form_.setApiURL(baseUrl + "/providers/formservice/");
    form_.setDeployment(brivane::QPFormDeployment::forBaseURL(baseUrl));
    form_.setOnFormLoaded([this, exitCode] {
      std::puts("loaded");
      if (const char* exitOnLoad = std::getenv("FORM_HOST_EXIT_ON_LOAD"); exitOnLoad && *exitOnLoad == '1') {
        *exitCode = 0;
        close();
      }
    });
    form_.setOnSuccessCallback([this, exitCode](const auto& code, const auto&, const auto& payload) {
      std::printf("success: %s %s\n", code.value_or("-").c_str(), payload.value_or("-").c_str());
      *exitCode = 0;
      close();
    });
    form_.setOnError([this, exitCode](const boost::json::value& error) {
      std::printf("error: %s\n", boost::json::serialize(error).c_str());
      *exitCode = 1;
      close();
    });
    form_.setOnCancel([this, exitCode](const std::optional<std::string>& message) {
      std::printf("cancel: %s\n", message.value_or("by the user").c_str());
      *exitCode = 1;
      close();
    });
    set_child(form_);
    form_.renderWithPaymentOptions(std::vector<std::string>{"VISA", "MSTRCRD"}, token, nullptr);
  }

 private:
  brivane::QPPaymentForm form_;
};

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);  // one line per callback, also into a pipe
  const std::string baseUrl = argc > 1 ? argv[1] : "http://127.0.0.1:8080";
  const std::string token = argc > 2 ? argv[2] : "sandbox-checkout";
  int exitCode = 1;
  auto app = Gtk::Application::create("com.example.formhost");
  // GTK reads its own options from the command line: keep ours away from it.
  return app->make_window_and_run<FormWindow>(1, argv, baseUrl, token, &exitCode) == 0 ? exitCode : 1;
}
