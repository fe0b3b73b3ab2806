#include "brivane/api/account/QPAccnoTypeRequest.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPAccnoTypeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  static const L list{L::field("accnoType", &QPAccnoTypeRequest::accnoType_)};
  return list;
}

}  // namespace brivane
