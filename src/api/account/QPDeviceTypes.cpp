#include "brivane/api/account/QPDeviceTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPRegisterAccountDeviceRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPRegisterAccountDeviceRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("deviceType", &R::deviceType_, QPParamEncoding::AsIs),
      L::field("clientId", &R::clientId_),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPUnregisterAccountDeviceRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPUnregisterAccountDeviceRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("deviceType", &R::deviceType_),
      L::field("clientId", &R::clientId_),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPVerifyMobilePhoneRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPVerifyMobilePhoneRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("mtanCode", &R::mtanCode_),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPCheckPaymentAccessCodeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCheckPaymentAccessCodeRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("paymentAccessCode", &R::paymentAccessCode_),
  };
  return list;
}

}  // namespace brivane
