#include "brivane/api/account/QPDeviceTypes.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPRegisterAccountDeviceRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPRegisterAccountDeviceRequest;
  static const L list{
      L::named("accnoType", "accnoType", &R::accnoType_),
      L::named("deviceType", "deviceType", &R::deviceType_, QPParamEncoding::AsIs),
      L::named("clientId", "clientId", &R::clientId_),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPUnregisterAccountDeviceRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPUnregisterAccountDeviceRequest;
  static const L list{
      L::named("accnoType", "accnoType", &R::accnoType_),
      L::named("deviceType", "deviceType", &R::deviceType_),
      L::named("clientId", "clientId", &R::clientId_),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPVerifyMobilePhoneRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPVerifyMobilePhoneRequest;
  static const L list{
      L::named("accnoType", "accnoType", &R::accnoType_),
      L::named("mtanCode", "mtanCode", &R::mtanCode_),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPCheckPaymentAccessCodeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCheckPaymentAccessCodeRequest;
  static const L list{
      L::named("accnoType", "accnoType", &R::accnoType_),
      L::named("paymentAccessCode", "paymentAccessCode", &R::paymentAccessCode_),
  };
  return list;
}

}  // namespace brivane
