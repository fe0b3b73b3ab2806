// The form suite runs in the real web engine: GTK is initialised once, before any test. With
// BRIVANE_FORM_TESTS_WARM_UP=1 in the environment the engine is warmed up first, so that every
// form of the suite opens its page in the warm web process: the suite then checks that forms
// behave the same after a warm-up.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include <gtkmm/init.h>

#include "brivane/form/QPPaymentForm.h"
#include "form/FormTestSupport.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  gtk_init();
  Gtk::init_gtkmm_internals();
  if (const char* warm = std::getenv("BRIVANE_FORM_TESTS_WARM_UP");
      warm != nullptr && std::string(warm) == "1") {
    std::optional<bool> ready;
    brivane::QPPaymentForm::warmUp([&ready](bool isReady) { ready = isReady; });
    if (!brivane::formtest::pumpUntil([&ready] { return ready.has_value(); }, 60) || !*ready) {
      std::fprintf(stderr, "the engine did not warm up\n");
      return 1;
    }
  }
  return RUN_ALL_TESTS();
}
