#pragma once

// `brivane form`: the options both sub-commands read. `render` runs in `brivane` itself (no GTK);
// `show` runs in the separate program `brivane-form`, which `brivane form show` starts, so that
// the other commands never load GTK or the web engine.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/style/QPFormStyle.h"
#include "brivane/options.h"
#include "sandbox/Shopper.h"

namespace brivane::cli {

/// What `brivane form render|show` was asked for.
struct FormRequest {
  std::string command;  ///< "render" or "show"
  QPFormConfiguration configuration;
  std::optional<std::vector<std::string>> options;
  std::optional<std::string> token;
  std::shared_ptr<QPFormStyle> style;
  std::optional<std::string> deploymentBase;
  std::optional<std::string> sandboxUrl;  ///< a running sandbox to use instead of an embedded one
  int seconds = 0;
  std::optional<sandbox::ShopperMode> shopper;
  int width = 420, height = 640;
  std::optional<std::string> screenshot;
  bool focus = false;
  std::optional<std::string> script;  ///< run in the page once it has loaded (show)
};

/// The usage text of `brivane form`.
extern const char* const kFormUsage;

/// Prints `message` and the usage to standard error; returns the usage exit code, 2.
int formUsageError(const std::string& message);

/// Parses the options of `render` or `show` (after the sub-command) into `request`; a usage
/// error's message, or nil.
std::optional<std::string> readFormRequest(const std::vector<std::string>& args, FormRequest* request);

/// Whether a display for a window is there: DISPLAY (X11) or WAYLAND_DISPLAY set.
bool displayPresent();

/// `show`: the live form in a window (in `brivane-form`).
int showForm(FormRequest request);

}  // namespace brivane::cli
