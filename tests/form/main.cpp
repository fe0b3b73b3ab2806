// The form suite runs in the real web engine: GTK is initialised once, before any test.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <gtkmm/init.h>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  gtk_init();
  Gtk::init_gtkmm_internals();
  return RUN_ALL_TESTS();
}
