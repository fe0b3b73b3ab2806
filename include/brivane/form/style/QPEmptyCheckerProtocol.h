#pragma once

#include "brivane/QPExport.h"

namespace brivane {

/// Adopted by style objects that contribute CSS only when the host has changed them.
///
/// Thread rules: as for the adopting style object (plain value, one thread at a time).
class BRIVANE_API QPEmptyCheckerProtocol {
 public:
  /// Style objects are owned through their concrete types; deletion through this interface is safe.
  virtual ~QPEmptyCheckerProtocol() = default;

  /// Whether the object differs from its defaults; only set objects contribute CSS.
  /// Never creates sub-objects.
  virtual bool isObjSet() const = 0;

 protected:
  QPEmptyCheckerProtocol() = default;
  QPEmptyCheckerProtocol(const QPEmptyCheckerProtocol&) = default;
  QPEmptyCheckerProtocol& operator=(const QPEmptyCheckerProtocol&) = default;
};

}  // namespace brivane
