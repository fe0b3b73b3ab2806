#pragma once

#include <string>

#include "brivane/QPExport.h"

namespace brivane {

/// Constant codes shared by the API client, the payment form and applications.
///
/// Payment-option codes are exact upper-case strings compared by exact equality.
/// Thread-safe: every accessor returns a reference to an immutable string.
class BRIVANE_API QPLookups {
 public:
  /// The SDK's version text, "9.2 (1)". Offered to applications only; never sent.
  static const std::string& SDKVersion();
  static const std::string& PaymentOptionCode_MasterCard();   ///< "MSTRCRD"
  static const std::string& PaymentOptionCode_Visa();         ///< "VISA"
  static const std::string& PaymentOptionCode_BankAccount();  ///< "BNKACCT"
  static const std::string& PaymentOptionCode_PayU();         ///< "PAYU"
  static const std::string& PaymentOptionCode_PayPal();       ///< "PAYPAL"
  static const std::string& PaymentOptionCode_Amex();         ///< "AMEX"
  static const std::string& PaymentOptionCode_Maestro();      ///< "MSTRO"
  static const std::string& PaymentOptionCode_Discover();     ///< "DISCOVER"
};

}  // namespace brivane
