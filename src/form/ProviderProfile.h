#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brivane {

/// What the form shows for a provider.
enum class ProviderPage {
  CardGateway,  ///< the card gateway's widget in "payon_form"
  PayU,         ///< the token's URL, loaded directly
  PayPal,       ///< the PayPal button in "paypal_form"
  FormService,  ///< the platform's form service in a frame of "cybersource_form"
  None,         ///< a number without a provider: the empty gateway template, no option accepted
};

/// Which keyboard toolbar the provider's inputs get.
enum class ToolbarVariant {
  ByFormState,  ///< standard, wizard or 3-D Secure bar, after the form's state
  DoneOnly,     ///< the 3-D Secure bar (done only)
  None,         ///< no toolbar
};

/// Everything that differs per payment provider, in one table: the renderer and the form read
/// it, and nothing else looks at provider numbers. Plain constant data, any thread.
struct ProviderProfile {
  ProviderPage page;
  const char* templateName;
  /// The page's provider name ("{{{paymentProvider}}}").
  const char* providerName;
  /// Appended to `apiURL` for the form service's frame.
  const char* formServicePath;
  /// The codes accepted as the only option, and inside a set of two or more.
  std::vector<std::string> singleOptions;
  std::vector<std::string> setOptions;
  /// Several options go to the form service as one list (SEPA takes only its own code).
  bool joinsOptions;
  bool needsRedirectURL;
  bool usesTokenEx;
  ToolbarVariant toolbar;
  /// Script calls queued before the page loaded run right after its first load (otherwise with
  /// the next `setElement`).
  bool runsQueuedCallsAtLoad;
  /// The submit script ("" when the provider's page cannot be submitted from outside).
  const char* submitScript;

  /// The profile of `provider`; numbers without a provider get one that accepts no option.
  static const ProviderProfile& of(std::uint64_t provider);
  bool acceptsAlone(std::string_view code) const;
  bool acceptsInSet(std::string_view code) const;
};

}  // namespace brivane
