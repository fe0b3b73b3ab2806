#include <gtest/gtest.h>

#include "brivane/util/QPUtils.h"

namespace brivane {
namespace {

TEST(QPUtilsColour, PrintsRRGGBBAA) {
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::grey(1.0)), "FFFFFFFF");
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::rgba(1, 0, 0, 0.5)), "FF000080");
}

}  // namespace
}  // namespace brivane
