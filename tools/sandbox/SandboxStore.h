#pragma once

// The sandbox platform's data: users, accounts, stored payment options, payments, the ledger,
// the outbox and the authorization tokens that payment pages are rendered with. One instance per
// sandbox, shared by the routes of every family; guarded by `Sandbox::State::mutex`.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/json.hpp>

namespace brivane::sandbox {

/// A secondary e-mail address of a user.
struct SecondaryEmail {
  std::string emailAddress;
  bool isEmailVerified = false;

  bool operator==(const SecondaryEmail&) const = default;
};

/// A user of the platform. The user id is the login name used at "/token" (its main e-mail).
struct User {
  std::string userId;
  std::string password;
  std::vector<SecondaryEmail> secondaryEmails;
  std::vector<std::string> accnos;  ///< the accounts the user holds

  bool operator==(const User&) const = default;
};

/// One line of an account's statement. Amounts are in minor units (cents) of `currency`.
struct LedgerEntry {
  std::string entryReference;
  std::string accno;
  std::int64_t amount = 0;  ///< positive: credit, negative: debit
  std::string currency;
  std::string type;  ///< "PAYMENT", "PAY_TO_ACCOUNT", "TRANSFER_IN", "TRANSFER_OUT", "FEE", ...
  std::string description;
  std::string counterparty;
  std::string date;            ///< "yyyy-MM-dd" (local time of the sandbox)
  std::string time;            ///< "HHmmss"
  std::uint64_t sequence = 0;  ///< order of booking

  bool operator==(const LedgerEntry&) const = default;
};

/// A device bound to an account (by type and client identifier).
struct Device {
  std::string deviceType;
  std::string clientId;

  bool operator==(const Device&) const = default;
};

/// An account of the platform.
struct Account {
  std::string accno;
  std::string accnoType;
  std::string userId;
  std::string currency = "EUR";
  std::string state = "ACTIVE";
  boost::json::object information;  ///< the holder's data as last created or updated
  std::vector<Device> devices;
  std::string pendingMtan;  ///< the last mTAN texted and not yet used ("" when none)
  bool mobilePhoneVerified = false;
  std::string paymentAccessCode = "2468";

  bool operator==(const Account&) const = default;
};

/// A payment option stored on an account (a card or a bank account).
struct StoredPaymentOption {
  std::string reference;
  std::string accno;
  std::string paymentOptionCode;  ///< "VISA", "MSTRCRD", "BNKACCT", ...
  std::string state;              ///< "PENDING" until completed, then "ACTIVE"; "VERIFIED" after verification
  bool isDefault = false;
  boost::json::object details;     ///< masked number, expiry, holder, IBAN, mandate, ...
  std::string verificationCode;    ///< the code of a verification in progress ("" when none)
  std::string authorizationToken;  ///< the token it was announced with

  bool operator==(const StoredPaymentOption&) const = default;
};

/// A state a payment reached, and the call that took it there.
struct PaymentEvent {
  std::string state;
  std::string operation;  ///< the request's method and path, e.g. "POST /payment/capture"
  std::string date;       ///< "yyyy-MM-dd" (local time of the sandbox)
  std::string time;       ///< "HHmmss"

  bool operator==(const PaymentEvent&) const = default;
};

/// A payment opened by initAuthorize or made directly by authorize / payToAccount.
struct Payment {
  std::string uniqueReference;
  std::string userId;  ///< the user who opened it: the only one who may read or change it
  std::string state;   ///< see the payment routes for the states and their transitions
  std::string accno;
  std::int64_t amount = 0;  ///< minor units
  std::int64_t capturedAmount = 0;
  std::string currency;
  boost::json::object details;        ///< what the opening request carried, as stored
  std::vector<PaymentEvent> history;  ///< every state it reached, oldest first

  bool operator==(const Payment&) const = default;
};

/// What a payment page is rendered with: the token names one pending payment or stored payment
/// option. The stand-in provider pages mark it completed when the shopper finishes the page;
/// the API's completing calls succeed only after that.
struct Authorization {
  enum class Kind { Payment, StoredPaymentOption };
  std::string token;
  Kind kind = Kind::Payment;
  std::string reference;  ///< the payment's uniqueReference or the option's reference
  std::string accno;
  bool completedByShopper = false;  ///< the shopper finished the page and approved
  bool declined = false;            ///< the shopper finished the page and declined (or cancelled)
  boost::json::object shopperData;  ///< what the page posted (card brand, masked number, ...)
  /// Where the form service sends the shopper back (the host's redirectURL of the opening
  /// request); "" sends them to the sandbox's "/providers/return".
  std::string redirectURL;

  bool operator==(const Authorization&) const = default;
};

/// A message the platform would have sent (mail or text): password-reset codes, mTANs,
/// verification codes. Readable at GET "/sandbox/outbox".
struct OutboxMessage {
  std::string to;
  std::string kind;  ///< "passwordReset", "mtan", "verifyPaymentOption", ...
  std::string code;
  std::string text;

  bool operator==(const OutboxMessage&) const = default;
};

/// Seed data every sandbox starts with (documented in the README's "Sandbox test data").
inline constexpr const char* kProgramAccno = "9000000001";  ///< the program's own account (the merchant)
inline constexpr const char* kProgramCompanyName = "Brivane Sandbox Shop";  ///< the merchant's name
inline constexpr const char* kDemoAccno = "1000000001";                     ///< the demo user's account
inline constexpr const char* kSecondUserId = "second@brivane.test";
inline constexpr const char* kSecondPassword = "Second-Pass-2";
inline constexpr const char* kSecondAccno = "1000000002";  ///< the second user's account
inline constexpr const char* kDefaultAccnoType = "WALLET";
inline constexpr std::int64_t kOpeningBalance = 100000;  ///< 1,000.00 EUR on each user account

struct Store {
  std::map<std::string, User> users;                          ///< by userId
  std::map<std::string, Account> accounts;                    ///< by accno
  std::map<std::string, StoredPaymentOption> paymentOptions;  ///< by reference
  std::map<std::string, Payment> payments;                    ///< by uniqueReference
  std::vector<LedgerEntry> ledger;
  std::vector<OutboxMessage> outbox;
  std::map<std::string, Authorization> authorizations;    ///< by token
  std::map<std::string, std::string> mainEmails;          ///< userId → main e-mail, when not the user id
  std::map<std::string, std::string> passwordResetCodes;  ///< userId → the last code sent, until used
  std::uint64_t nextSequence = 1;
};

}  // namespace brivane::sandbox
