// A host that keeps the bundle somewhere the SDK does not find it hears of it through the form's
// error path, with the places that were searched; without an error callback the render raises.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "brivane/form/QPPaymentForm.h"
#include "brivane/util/QPUtils.h"
#include "form/FormTestSupport.h"

namespace brivane {
namespace {

class QPPaymentFormBundleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // A bundle directory without templates: found first, but holding nothing to render.
    empty_ = formtest::scratchDirectory("empty-bundle-host");
    std::filesystem::create_directories(empty_ / "BrivaneSDK.bundle");
    QPUtils::setBundleDirectory(empty_.string());
    form_ = std::make_unique<QPPaymentForm>();
    form_->setMode(1);
    form_->setApiURL("http://127.0.0.1:1/providers/formservice/");
    form_->setRedirectURL("http://127.0.0.1:1/return");
  }
  void TearDown() override {
    form_.reset();
    QPUtils::setBundleDirectory(std::nullopt);
    std::filesystem::remove_all(empty_);
  }

  std::filesystem::path empty_;
  std::unique_ptr<QPPaymentForm> form_;
};

TEST_F(QPPaymentFormBundleTest, AMissingTemplateGoesToOnErrorWithTheSearchedDirectories) {
  std::vector<boost::json::value> errors;
  bool loaded = false;
  form_->setOnError([&](const boost::json::value& error) { errors.push_back(error); });
  form_->setOnFormLoaded([&] { loaded = true; });
  form_->setPaymentProvider(3);
  ASSERT_NO_THROW(form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "token", nullptr));
  ASSERT_EQ(errors.size(), 1u);
  const boost::json::object& error = errors[0].as_object();
  EXPECT_EQ(error.at("message"), "file not found");
  const boost::json::array& searched = error.at("searchedDirectories").as_array();
  ASSERT_FALSE(searched.empty());
  EXPECT_EQ(searched[0], boost::json::value(empty_.string()));
  EXPECT_FALSE(loaded);
}

TEST_F(QPPaymentFormBundleTest, WithoutAnErrorCallbackTheRenderRaises) {
  form_->setPaymentProvider(0);
  EXPECT_THROW(form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "token", nullptr),
               std::invalid_argument);
}

}  // namespace
}  // namespace brivane
