#include "form/ScripMessageHandlerMediator.h"

#include <webkit/webkit.h>

#include "form/CustomWebView.h"

namespace brivane {

namespace {

void onScriptMessage(WebKitUserContentManager*, JSCValue* value, gpointer data) {
  auto* connection = static_cast<ScripMessageHandlerMediator::Connection*>(data);
  connection->mediator->userContentControllerDidReceiveScriptMessage(connection->name,
                                                                     jsonFromScriptValue(value));
}

}  // namespace

ScripMessageHandlerMediator::~ScripMessageHandlerMediator() {
  unregisterHandlers();
}

void ScripMessageHandlerMediator::registerHandlers(WebKitUserContentManager* manager,
                                                   const std::vector<std::string>& names) {
  unregisterHandlers();
  manager_ = WEBKIT_USER_CONTENT_MANAGER(g_object_ref(manager));
  for (const std::string& name : names) {
    auto connection = std::make_unique<Connection>(Connection{this, name});
    const std::string signal = "script-message-received::" + name;
    connection->handler =
        g_signal_connect(manager_, signal.c_str(), G_CALLBACK(onScriptMessage), connection.get());
    webkit_user_content_manager_register_script_message_handler(manager_, name.c_str(), nullptr);
    connections_.push_back(std::move(connection));
  }
}

void ScripMessageHandlerMediator::unregisterHandlers() {
  if (manager_ == nullptr) return;
  for (const auto& connection : connections_) {
    webkit_user_content_manager_unregister_script_message_handler(manager_, connection->name.c_str(),
                                                                  nullptr);
    g_signal_handler_disconnect(manager_, connection->handler);
  }
  connections_.clear();
  g_object_unref(manager_);
  manager_ = nullptr;
}

void ScripMessageHandlerMediator::userContentControllerDidReceiveScriptMessage(
    const std::string& name, const boost::json::value& body) {
  if (auto delegate = delegate_.lock()) delegate->didReceiveScriptMessage(name, body);
}

}  // namespace brivane
