#pragma once

#include "brivane/api/core/QPBaseAPI.h"

namespace brivane {

/// The account family of the platform's API. Its operations follow the common call pattern of
/// `QPBaseAPI` and arrive with later releases; the object already holds the shared transport.
class QPAccountAPI : public QPBaseAPI {
 public:
  using QPBaseAPI::QPBaseAPI;
};

}  // namespace brivane
