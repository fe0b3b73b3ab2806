#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "brivane/form/style/QPBorderStyle.h"

namespace brivane {
namespace {

constexpr const char* kUnsetLeft =
    "border-left-width: 18446744073709551615px !important; border-radius:0px; ";
constexpr const char* kUnsetRight =
    "border-right-width: 18446744073709551615px !important; border-radius:0px; ";
constexpr const char* kUnsetTop = "border-top-width: 18446744073709551615px !important; border-radius:0px; ";
constexpr const char* kUnsetBottom =
    "border-bottom-width: 18446744073709551615px !important; border-radius:0px; ";

TEST(QPBorderSideStyle, SizeIsTruncatedAndMarksTheSide) {
  QPBorderSideStyle side;
  EXPECT_FALSE(side.isObjSet());
  EXPECT_EQ(side.size(), 18446744073709551615ULL);
  const std::pair<double, std::uint64_t> sizes[] = {
      // clang-format off
      {2.99, 2}, {-0.5, 0}, {-7, 0}, {NAN, 0}, {1e30, 18446744073709551615ULL},
      {9007199254740992.0, 9007199254740992ULL},
      // clang-format on
  };
  for (const auto& [size, expected] : sizes) {
    side.setSize(size);
    EXPECT_TRUE(side.isObjSet());
    EXPECT_EQ(side.size(), expected) << size;
  }
}

TEST(QPBorderSideStyle, ColourOnlySetsTheSideButNotTheWidth) {
  QPBorderSideStyle side;
  side.setName("top");
  EXPECT_EQ(side.color(), QPColor::black());  // fallback, not stored
  EXPECT_EQ(side.css(), kUnsetTop);
  side.setColor(QPColor::grey(1.0));
  EXPECT_TRUE(side.isObjSet());
  EXPECT_EQ(side.css(), std::string(kUnsetTop) + "border-top-color: #FFFFFFFF !important; ");

  QPBorderSideStyle cleared;
  cleared.setColor(std::nullopt);  // an absent colour still counts as setting it
  EXPECT_TRUE(cleared.isObjSet());
  cleared.setName("left");
  EXPECT_EQ(cleared.css(), kUnsetLeft);
}

TEST(QPBorderSideStyle, NameChangesNothingElseAndPrintsNullWhenMissing) {
  QPBorderSideStyle side;
  side.setSize(3);
  EXPECT_EQ(side.css(), "border-(null)-width: 3px !important; border-radius:0px; ");
  QPBorderSideStyle named;
  named.setName("left");
  EXPECT_FALSE(named.isObjSet());
}

TEST(QPBorderStyle, IsObjSetLooksOnlyAtStoredSides) {
  QPBorderStyle border;
  EXPECT_FALSE(border.isObjSet());
  border.bottomBorderStyle();  // created, still unset
  EXPECT_FALSE(border.isObjSet());
  border.bottomBorderStyle()->setSize(1);
  EXPECT_TRUE(border.isObjSet());

  // The test must not create sides: a fresh border keeps printing newly created ones.
  QPBorderStyle fresh;
  auto side = std::make_shared<QPBorderSideStyle>();
  fresh.setTopBorderStyle(side);
  EXPECT_FALSE(fresh.isObjSet());
  side->setColor(QPColor::white());
  EXPECT_TRUE(fresh.isObjSet());
}

TEST(QPBorderStyle, CssPrintsAllFourSidesInOrder) {
  QPBorderStyle border;
  border.leftBorderStyle()->setSize(2);
  EXPECT_EQ(border.css(), std::string("border-left-width: 2px !important; border-radius:0px; ") +
                              kUnsetRight + kUnsetTop + kUnsetBottom);

  QPBorderStyle coloured;
  coloured.rightBorderStyle()->setColor(QPColor::rgba(0, 0, 1));
  coloured.bottomBorderStyle()->setSize(0.4);
  EXPECT_EQ(coloured.css(), std::string(kUnsetLeft) + kUnsetRight +
                                "border-right-color: #0000FFFF !important; " + kUnsetTop +
                                "border-bottom-width: 0px !important; border-radius:0px; ");
}

TEST(QPBorderStyle, ReadingRenamesASharedSide) {
  auto side = std::make_shared<QPBorderSideStyle>();
  side->setName("elsewhere");
  QPBorderStyle border;
  border.setLeftBorderStyle(side);
  EXPECT_EQ(side->name(), "elsewhere");  // the setter stores it as it is
  EXPECT_EQ(border.leftBorderStyle(), side);
  EXPECT_EQ(side->name(), "left");
  side->setSize(5);
  border.setBottomBorderStyle(side);
  EXPECT_EQ(border.css(), std::string("border-left-width: 5px !important; border-radius:0px; ") +
                              kUnsetRight + kUnsetTop +
                              "border-bottom-width: 5px !important; border-radius:0px; ");
  EXPECT_EQ(side->name(), "bottom");  // the last read wins

  border.setRightBorderStyle(nullptr);
  auto recreated = border.rightBorderStyle();
  ASSERT_NE(recreated, nullptr);
  EXPECT_EQ(recreated->name(), "right");
  EXPECT_EQ(border.rightBorderStyle(), recreated);
}

}  // namespace
}  // namespace brivane
