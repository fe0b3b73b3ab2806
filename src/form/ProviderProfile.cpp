#include "form/ProviderProfile.h"

#include <algorithm>
#include <array>

#include "brivane/api/core/QPLookups.h"

namespace brivane {
namespace {

bool listed(const std::vector<std::string>& codes, std::string_view code) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

const std::array<ProviderProfile, 8>& profiles() {
  const std::string visa = QPLookups::PaymentOptionCode_Visa(),
                    master = QPLookups::PaymentOptionCode_MasterCard(),
                    bank = QPLookups::PaymentOptionCode_BankAccount(),
                    payU = QPLookups::PaymentOptionCode_PayU(),
                    payPal = QPLookups::PaymentOptionCode_PayPal(),
                    amex = QPLookups::PaymentOptionCode_Amex(),
                    maestro = QPLookups::PaymentOptionCode_Maestro(),
                    discover = QPLookups::PaymentOptionCode_Discover();
  const std::vector<std::string> gatewayAlone = {visa, master, bank, payPal}, gatewaySet = {visa, master},
                                 cyberSource = {visa, master, amex, discover},
                                 vesta = {visa, master, maestro, amex, discover};
  static const std::array<ProviderProfile, 8> table = {{
      // page, template, name, form service path, alone, in a set, joins, redirect, TokenEx, toolbar,
      // queued calls at load, submit
      {ProviderPage::CardGateway, "payon_form", "", "", gatewayAlone, gatewaySet, false, false, false,
       ToolbarVariant::ByFormState, true, "lm.submit();"},
      {ProviderPage::PayU,
       "payon_form",
       "",
       "",
       {payU},
       {},
       false,
       false,
       false,
       ToolbarVariant::None,
       false,
       ""},
      {ProviderPage::PayPal,
       "paypal_form",
       "",
       "",
       {payPal},
       {},
       false,
       false,
       false,
       ToolbarVariant::None,
       false,
       ""},
      {ProviderPage::FormService, "cybersource_form", "cyber", "cybersource/paymentform", cyberSource,
       cyberSource, true, true, false, ToolbarVariant::DoneOnly, false, "submit();"},
      {ProviderPage::FormService, "cybersource_form", "cyber", "cybersource/paymentform", cyberSource,
       cyberSource, true, true, true, ToolbarVariant::DoneOnly, false, "submit();"},
      {ProviderPage::FormService, "cybersource_form", "vesta", "", vesta, vesta, true, true, false,
       ToolbarVariant::DoneOnly, false, "submit();"},
      {ProviderPage::FormService,
       "cybersource_form",
       "sepa",
       "",
       {bank},
       {bank},
       false,
       true,
       false,
       ToolbarVariant::DoneOnly,
       false,
       "submit();"},
      {ProviderPage::FormService, "cybersource_form", "payonpci", "", gatewayAlone, gatewaySet, true, false,
       false, ToolbarVariant::None, false, "submit();"},
  }};
  return table;
}

}  // namespace

const ProviderProfile& ProviderProfile::of(std::uint64_t provider) {
  static const ProviderProfile unknown = {
      ProviderPage::None, "payon_form", "", "", {}, {}, false, false, false, ToolbarVariant::None, false, ""};
  return provider < profiles().size() ? profiles()[provider] : unknown;
}

bool ProviderProfile::acceptsAlone(std::string_view code) const {
  return listed(singleOptions, code);
}

bool ProviderProfile::acceptsInSet(std::string_view code) const {
  return listed(setOptions, code);
}

}  // namespace brivane
