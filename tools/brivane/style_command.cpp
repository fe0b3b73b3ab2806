#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brivane/commands.h"
#include "brivane/form/style/QPFormStyle.h"
#include "brivane/form/style/QPFormStyleJSON.h"

namespace brivane::cli {
namespace {

constexpr const char* kStyleUsage =
    "usage: brivane style css --provider N [--style FILE]\n"
    "       brivane style css --placeholders [--style FILE]\n"
    "       brivane style css --paypal [--style FILE]\n"
    "\n"
    "Prints what a form style produces for the payment form.\n"
    "\n"
    "  --provider N     payment provider, 0 to 7: 0 PAYON card widget, 1 PayU, 2 PayPal,\n"
    "                   3 CyberSource, 4 CyberSource with TokenEx, 5 Vesta, 6 SEPA,\n"
    "                   7 PAYON PCI; prints the CSS of all input groups\n"
    "  --style FILE     JSON style description (see docs/style.md); without it a fresh\n"
    "                   style is used\n"
    "  --placeholders   print the card-number and security-code placeholder members instead\n"
    "  --paypal         print the five PayPal button words instead (the default button\n"
    "                   when the style sets none)\n";

int usageError(const std::string& message) {
  std::fprintf(stderr, "brivane style: %s\n\n%s", message.c_str(), kStyleUsage);
  return 2;
}

std::optional<std::int64_t> parseProvider(const std::string& text) {
  if (text.size() != 1 || text[0] < '0' || text[0] > '7') return std::nullopt;
  return text[0] - '0';
}

}  // namespace

int runStyle(const std::vector<std::string>& args) {
  if (args.empty()) return usageError("missing sub-command 'css'");
  if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    std::fputs(kStyleUsage, stdout);
    return 0;
  }
  if (args[0] != "css") return usageError("unknown sub-command '" + args[0] + "'");

  std::optional<std::int64_t> provider;
  std::optional<std::string> stylePath;
  bool placeholders = false;
  bool paypal = false;
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kStyleUsage, stdout);
      return 0;
    }
    if (arg == "--provider" || arg == "--style") {
      if (i + 1 >= args.size()) return usageError(arg + " needs a value");
      const std::string& value = args[++i];
      if (arg == "--style") {
        stylePath = value;
        continue;
      }
      provider = parseProvider(value);
      if (!provider) return usageError("--provider takes a number from 0 to 7, not '" + value + "'");
    } else if (arg == "--placeholders") {
      placeholders = true;
    } else if (arg == "--paypal") {
      paypal = true;
    } else {
      return usageError("unknown option '" + arg + "'");
    }
  }
  if (placeholders && paypal) return usageError("--placeholders and --paypal exclude each other");
  if (!placeholders && !paypal && !provider) return usageError("--provider is required");

  std::shared_ptr<QPFormStyle> style = std::make_shared<QPFormStyle>();
  if (stylePath) {
    QPFormStyleLoadResult loaded = formStyleFromJSONFile(*stylePath);
    if (!loaded.ok()) return usageError("--style: " + loaded.error);
    style = loaded.style;
  }

  std::string output;
  if (placeholders) {
    output = "placeholderCardNumCSS: " + style->placeholderCardNumCSS() + "\n";
    output += "placeholderCVVCSS: " + style->placeholderCVVCSS() + "\n";
  } else if (paypal) {
    const QPPayPalButtonStyle button =
        style->paypalButtonStyle() ? *style->paypalButtonStyle() : QPPayPalButtonStyle::initDefault();
    output = "buttonSize: " + button.getButtonSizeAsString() + "\n";
    output += "buttonColor: " + button.getButtonColorAsString() + "\n";
    output += "buttonShape: " + button.getButtonShapeAsString() + "\n";
    output += "buttonLabel: " + button.getButtonLabelAsString() + "\n";
    output += "buttonTagline: " + button.getButtonTaglineAsString() + "\n";
  } else {
    output = style->cssForProvider(*provider);
  }
  if (std::fwrite(output.data(), 1, output.size(), stdout) != output.size() || std::fflush(stdout) != 0) {
    std::perror("brivane style: cannot write the output");
    return 1;
  }
  return 0;
}

}  // namespace brivane::cli
