#include "brivane/api/settings/QPSettingsTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPGetCountriesRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  static const L list{L::field("onlyProgramCountries", &QPGetCountriesRequest::onlyProgramCountries)};
  return list;
}

const QPFieldList<QPModel>& QPCountryModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  static const L list{
      L::field("countryName", &QPCountryModel::countryName),
      L::field("countryCode", &QPCountryModel::countryCode),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPGetCountriesResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(), {L::field("countries", &QPGetCountriesResponse::countries)}};
  return list;
}

const QPFieldList<QPResponseBase>& QPGetFinancialInstitutionDataResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPGetFinancialInstitutionDataResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("name", &R::name),
                          L::field("addr1", &R::addr1),
                          L::field("addr2", &R::addr2),
                          L::field("city", &R::city),
                          L::field("state", &R::state),
                          L::field("countryName", &R::countryName),
                          L::field("countryCode", &R::countryCode),
                          L::field("postCode", &R::postCode),
                          L::field("creditorIdentifier", &R::creditorIdentifier),
                      }};
  return list;
}

}  // namespace brivane
