#pragma once

#include <optional>
#include <string>
#include <utility>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPRequestBase.h"

namespace brivane {

/// A request whose only field is the account-number type ("accnoType"), given to the
/// constructor. The account requests that carry nothing else derive from it.
class BRIVANE_API QPAccnoTypeRequest : public QPRequestBase {
 public:
  QPAccnoTypeRequest() = default;
  explicit QPAccnoTypeRequest(std::optional<std::string> accnoType) : accnoType_(std::move(accnoType)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }

 private:
  std::optional<std::string> accnoType_;
};

}  // namespace brivane
