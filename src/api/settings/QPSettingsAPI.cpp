#include "brivane/api/settings/QPSettingsAPI.h"

#include "api/core/QPBaseAPICall.h"

namespace brivane {

void QPSettingsAPI::getCountries(const QPGetCountriesRequest& request,
                                 QPCompletion<QPGetCountriesResponse> completion) const {
  call("/settings/country", "GET", request, std::move(completion));
}

void QPSettingsAPI::getgetFinancialInstitutionData(
    const QPGetFinancialInstitutionDataRequest& request,
    QPCompletion<QPGetFinancialInstitutionDataResponse> completion) const {
  call("/settings/getFinancialInstitutionData", "GET", request, std::move(completion));
}

}  // namespace brivane
