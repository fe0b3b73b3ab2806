#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// Asks for the list of countries, optionally only the program's own.
class BRIVANE_API QPGetCountriesRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  /// Always sent, as "true" or "false".
  bool onlyProgramCountries = false;
};

/// Asks for the financial institution's data; only the base parameters are sent.
class QPGetFinancialInstitutionDataRequest : public QPRequestBase {};

/// One country of the list.
class BRIVANE_API QPCountryModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPCountryModel"; }

  std::optional<std::string> countryName;
  std::optional<std::string> countryCode;
};

/// The countries answer. An empty "countries" list gives an empty list; no key gives nil.
class BRIVANE_API QPGetCountriesResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPCountryModel>>> countries;
};

/// The financial institution's name, address and creditor identifier.
class BRIVANE_API QPGetFinancialInstitutionDataResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> name;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryName;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<std::string> creditorIdentifier;
};

}  // namespace brivane
