#include "form/BusySpinner.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace brivane {
namespace {

// The card around the spinner and its shadow (0 2px 8px, a quarter black), in pixels.
constexpr double kPadding = 16;
constexpr double kRadius = 12;
constexpr double kShadowOffset = 2;
constexpr double kShadowAlpha = 0.25;
constexpr double kShadowSigma = 4;  // a blur of 8 px
constexpr int kMargin = 10;         // room for the shadow around the card
// The arc: its outer radius and the thickness of its head as parts of the spinner's size, how far
// its tail reaches round and how much thinner it gets, and one turn a second (clockwise, the head
// first).
constexpr double kOuterRadius = 0.434;
constexpr double kHeadWidth = 0.184;
constexpr double kSweep = 0.85;
constexpr double kTailThinning = 0.35;
constexpr double kTurnSeconds = 1.0;

struct Colours {
  GdkRGBA text{0.18, 0.2, 0.21, 1};
  GdkRGBA card{0.98, 0.98, 0.98, 1};
};

Colours themeColours(GtkWidget* widget) {
  Colours colours;
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GtkStyleContext* style = gtk_widget_get_style_context(widget);
  gtk_style_context_get_color(style, &colours.text);
  GdkRGBA background;
  if (gtk_style_context_lookup_color(style, "theme_bg_color", &background)) colours.card = background;
  G_GNUC_END_IGNORE_DEPRECATIONS
  return colours;
}

void roundedRectangle(cairo_t* cr, double x, double y, double width, double height, double radius) {
  constexpr double kQuarter = std::numbers::pi / 2;
  cairo_new_sub_path(cr);
  cairo_arc(cr, x + width - radius, y + radius, radius, -kQuarter, 0);
  cairo_arc(cr, x + width - radius, y + height - radius, radius, 0, kQuarter);
  cairo_arc(cr, x + radius, y + height - radius, radius, kQuarter, 2 * kQuarter);
  cairo_arc(cr, x + radius, y + radius, radius, 2 * kQuarter, 3 * kQuarter);
  cairo_close_path(cr);
}

// How dark a blurred edge's shadow is `distance` pixels outside the edge.
double shadowAt(double distance) {
  return kShadowAlpha * 0.5 * std::erfc(distance / (kShadowSigma * std::numbers::sqrt2));
}

void draw(GtkDrawingArea* area, cairo_t* cr, int width, int height, gpointer) {
  GtkWidget* widget = GTK_WIDGET(area);
  const Colours colours = themeColours(widget);
  const double card = std::min(width, height) - 2.0 * kMargin;
  const double x = (width - card) / 2, y = (height - card) / 2;

  // The shadow in rings, each as dark as the blurred shadow is at its outer edge.
  for (int ring = 8; ring >= 0; --ring) {
    const double grow = ring + 0.5;
    const double alpha = shadowAt(ring) - shadowAt(ring + 1);
    roundedRectangle(cr, x - grow, y + kShadowOffset - grow, card + 2 * grow, card + 2 * grow,
                     kRadius + grow);
    cairo_set_source_rgba(cr, 0, 0, 0, alpha);
    cairo_fill(cr);
  }
  roundedRectangle(cr, x, y, card, card, kRadius);
  gdk_cairo_set_source_rgba(cr, &colours.card);
  cairo_fill(cr);

  // The arc: solid at its head, thinner and fading to nothing at the end of its tail.
  const double size = card - 2 * kPadding;
  const double outer = size * kOuterRadius, head = size * kHeadWidth;
  const gint64 now = gdk_frame_clock_get_frame_time(gtk_widget_get_frame_clock(widget));
  const double turn = std::fmod(static_cast<double>(now) / 1e6 / kTurnSeconds, 1.0);
  const double start = (turn - 0.25) * 2 * std::numbers::pi;
  const double sweep = kSweep * 2 * std::numbers::pi;
  cairo_save(cr);
  cairo_translate(cr, width / 2.0, height / 2.0);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
  // The pieces touch: added up in a group, the pixels on their seams get their whole colour.
  cairo_push_group(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_ADD);
  constexpr int kSteps = 48;
  for (int step = 0; step < kSteps; ++step) {
    const double part = (step + 0.5) / kSteps;
    const double thickness = head * (1 - kTailThinning * part);
    cairo_set_line_width(cr, thickness);
    cairo_new_path(cr);
    cairo_arc_negative(cr, 0, 0, outer - thickness / 2, start - sweep * step / kSteps,
                       start - sweep * (step + 1) / kSteps);
    cairo_set_source_rgba(cr, colours.text.red, colours.text.green, colours.text.blue,
                          colours.text.alpha * (1 - part));
    cairo_stroke(cr);
  }
  cairo_pop_group_to_source(cr);
  cairo_paint(cr);
  cairo_restore(cr);
}

gboolean turn(GtkWidget* widget, GdkFrameClock*, gpointer) {
  gtk_widget_queue_draw(widget);
  return G_SOURCE_CONTINUE;
}

}  // namespace

void appendBusySpinner(Gtk::Box& box, int spinnerSize, const std::string& accessibleName) {
  auto* area = GTK_DRAWING_AREA(
      g_object_new(GTK_TYPE_DRAWING_AREA, "accessible-role", GTK_ACCESSIBLE_ROLE_PROGRESS_BAR, nullptr));
  const int side = spinnerSize + 2 * static_cast<int>(kPadding) + 2 * kMargin;
  gtk_drawing_area_set_content_width(area, side);
  gtk_drawing_area_set_content_height(area, side);
  gtk_drawing_area_set_draw_func(area, draw, nullptr, nullptr);
  GtkWidget* widget = GTK_WIDGET(area);
  gtk_widget_add_tick_callback(widget, turn, nullptr, nullptr);
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 accessibleName.c_str(), -1);
  gtk_widget_set_hexpand(widget, TRUE);
  gtk_widget_set_vexpand(widget, TRUE);
  gtk_widget_set_halign(widget, GTK_ALIGN_CENTER);
  gtk_widget_set_valign(widget, GTK_ALIGN_CENTER);
  gtk_box_append(box.gobj(), widget);  // the box takes the new widget's floating reference
}

}  // namespace brivane
