#include "brivane/api/core/QPLookups.h"

namespace brivane {

#define BRIVANE_LOOKUP(name, value)       \
  const std::string& QPLookups::name() {  \
    static const std::string text{value}; \
    return text;                          \
  }

BRIVANE_LOOKUP(SDKVersion, "9.2 (1)")
BRIVANE_LOOKUP(PaymentOptionCode_MasterCard, "MSTRCRD")
BRIVANE_LOOKUP(PaymentOptionCode_Visa, "VISA")
BRIVANE_LOOKUP(PaymentOptionCode_BankAccount, "BNKACCT")
BRIVANE_LOOKUP(PaymentOptionCode_PayU, "PAYU")
BRIVANE_LOOKUP(PaymentOptionCode_PayPal, "PAYPAL")
BRIVANE_LOOKUP(PaymentOptionCode_Amex, "AMEX")
BRIVANE_LOOKUP(PaymentOptionCode_Maestro, "MSTRO")
BRIVANE_LOOKUP(PaymentOptionCode_Discover, "DISCOVER")

#undef BRIVANE_LOOKUP

}  // namespace brivane
