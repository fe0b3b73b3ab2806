#pragma once

#include "brivane/QPExport.h"
#include "brivane/api/core/QPBaseAPI.h"
#include "brivane/api/settings/QPSettingsTypes.h"

namespace brivane {

/// Reference data of the program: countries and financial-institution data (GET calls).
/// Thread rules: callable from any thread; completions run on the main queue.
class BRIVANE_API QPSettingsAPI : public QPBaseAPI {
 public:
  using QPBaseAPI::QPBaseAPI;

  /// GET "/settings/country".
  void getCountries(const QPGetCountriesRequest& request,
                    QPCompletion<QPGetCountriesResponse> completion) const;

  /// GET "/settings/getFinancialInstitutionData".
  void getgetFinancialInstitutionData(const QPGetFinancialInstitutionDataRequest& request,
                                      QPCompletion<QPGetFinancialInstitutionDataResponse> completion) const;
};

}  // namespace brivane
