#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brivane {

/// The script messages a page of the form posts: one enumeration for the web view, which
/// registers a handler for each, and for the form, which dispatches on them.
enum class PageMessage {
  Log,              ///< "ObjC_Log": percent-encoded text
  FormLoaded,       ///< "ios_formLoaded"
  ShowLoading,      ///< "ios_showLoading"
  FormError,        ///< "ios_formError"
  PostParam,        ///< "ios_postParam": the posted parameters
  OnError,          ///< "ObjC_onError": the page's error value, for the host
  PrevButtEnabled,  ///< "ObjC_PrevButtEnabled": boolean
  NextButtEnabled,  ///< "ObjC_NextButtEnabled": boolean
  Keyboard,         ///< "qp_keyboard": an input took (true) or lost (false) the focus
};

/// Names of the page's script messages and of the prompt that asks before submitting. Constant
/// data, any thread.
struct PageBridge {
  /// The eight names of the page protocol, in their fixed order.
  static const std::vector<std::string>& wkScripMessageNames();
  /// Every name the web view registers: the eight, then the form's own.
  static const std::vector<std::string>& registeredNames();
  static std::string_view nameOf(PageMessage message);
  static std::optional<PageMessage> messageNamed(std::string_view name);
  /// The prompt text of the before-submit request.
  static constexpr std::string_view kPromptPrefix = "jsFunction: ";
  static constexpr std::string_view kBeforeSubmitFunction = "ObjC_onBeforeSubmit";
};

}  // namespace brivane
