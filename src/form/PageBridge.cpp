#include "form/PageBridge.h"

#include <array>
#include <utility>

namespace brivane {
namespace {

constexpr std::array<std::pair<PageMessage, std::string_view>, 9> kMessages = {{
    {PageMessage::Log, "ObjC_Log"},
    {PageMessage::FormLoaded, "ios_formLoaded"},
    {PageMessage::ShowLoading, "ios_showLoading"},
    {PageMessage::FormError, "ios_formError"},
    {PageMessage::PostParam, "ios_postParam"},
    {PageMessage::OnError, "ObjC_onError"},
    {PageMessage::PrevButtEnabled, "ObjC_PrevButtEnabled"},
    {PageMessage::NextButtEnabled, "ObjC_NextButtEnabled"},
    {PageMessage::Keyboard, "qp_keyboard"},
}};
// The first eight are the page protocol; the rest are the form's own.
constexpr std::size_t kProtocolMessages = 8;

}  // namespace

const std::vector<std::string>& PageBridge::wkScripMessageNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (std::size_t i = 0; i < kProtocolMessages; ++i) list.emplace_back(kMessages[i].second);
    return list;
  }();
  return names;
}

const std::vector<std::string>& PageBridge::registeredNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const auto& message : kMessages) list.emplace_back(message.second);
    return list;
  }();
  return names;
}

std::string_view PageBridge::nameOf(PageMessage message) {
  for (const auto& [known, name] : kMessages) {
    if (known == message) return name;
  }
  return {};
}

std::optional<PageMessage> PageBridge::messageNamed(std::string_view name) {
  for (const auto& [message, known] : kMessages) {
    if (known == name) return message;
  }
  return std::nullopt;
}

}  // namespace brivane
