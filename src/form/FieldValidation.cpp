#include "form/FieldValidation.h"

#include <vector>

#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/QPPaymentFormTypes.h"

namespace brivane {
namespace {

struct Exchange : std::enable_shared_from_this<Exchange> {
  FieldValidation::Page page;
  std::set<std::uint64_t> visible;
  std::uint64_t element = 0;
  FieldValidation::Callback callback;
  std::size_t pendingEmptyQueries = 0;
  bool someInputEmpty = false;
  std::size_t pendingValidations = 0;
  bool valid = true;
  bool waited = false;

  void askWhetherEmpty() {
    pendingEmptyQueries = visible.size();
    auto self = shared_from_this();
    if (visible.empty()) {
      page.later([self] { self->afterEmptinessQueries(); }, 0);
      return;
    }
    for (std::uint64_t e : visible) {
      page.evaluateIsTrue("isElementInputEmpty('" + QPFormRenderer::elementName(e) + "');",
                          [self](bool empty) {
                            if (empty) self->someInputEmpty = true;
                            if (--self->pendingEmptyQueries == 0) self->afterEmptinessQueries();
                          });
    }
  }

  void afterEmptinessQueries() {
    if (!someInputEmpty) {
      validate();
      return;
    }
    page.evaluate("$(\".wpwl-button\").click();");
    auto self = shared_from_this();
    page.later([self] { self->validate(); }, FieldValidation::kWaitMs);
  }

  void validate() {
    std::vector<std::uint64_t> elements;
    if (element <= QPFormElementCvv) {
      elements = {element};
    } else if (element == QPFormElementAll) {
      elements = {QPFormElementCardNumber, QPFormElementExpiry, QPFormElementCardHolder, QPFormElementCvv};
    }
    pendingValidations = elements.size();
    auto self = shared_from_this();
    for (std::uint64_t e : elements) {
      page.evaluateIsTrue("validateElement('" + QPFormRenderer::elementName(e) + "');", [self](bool isValid) {
        if (!isValid) self->valid = false;
        --self->pendingValidations;
        self->finish();
      });
    }
    page.later(
        [self] {
          self->waited = true;
          self->finish();
        },
        FieldValidation::kWaitMs);
  }

  // Runs once the wait has passed and every validation query has answered.
  void finish() {
    if (!waited || pendingValidations > 0 || !callback) return;
    const bool onlyCardHolder = visible.size() == 1 && visible.count(QPFormElementCardHolder) == 1;
    if (someInputEmpty && !onlyCardHolder) {
      const std::string elementName = QPFormRenderer::elementName(element);
      for (std::uint64_t e = QPFormElementCardNumber; e <= QPFormElementCvv; ++e) {
        const std::string name = QPFormRenderer::elementName(e);
        if (visible.count(e) == 0 && name != elementName) page.evaluate("clearElementError('" + name + "');");
      }
    }
    // The host's callback comes last and through a copy: it may destroy the form.
    FieldValidation::Callback answer = std::move(callback);
    callback = nullptr;
    answer(element, valid);
  }
};

}  // namespace

void FieldValidation::start(Page page, std::set<std::uint64_t> visibleElements, std::uint64_t element,
                            Callback callback) {
  auto exchange = std::make_shared<Exchange>();
  exchange->page = std::move(page);
  exchange->visible = std::move(visibleElements);
  exchange->element = element;
  exchange->callback = std::move(callback);
  exchange->askWhetherEmpty();
}

}  // namespace brivane
