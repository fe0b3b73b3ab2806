#pragma once

#include <memory>
#include <string>
#include <vector>

#include <boost/json/value.hpp>

typedef struct _WebKitUserContentManager WebKitUserContentManager;

namespace brivane {

/// Receiver of the page's script messages (the payment form).
class ScriptMessageDelegate {
 public:
  virtual ~ScriptMessageDelegate() = default;
  /// One message: its registered name and its body as JSON (null for undefined).
  virtual void didReceiveScriptMessage(const std::string& name, const boost::json::value& body) = 0;
};

/// Receives the script messages of a user content manager and forwards them to its delegate,
/// which it holds weakly: the content manager keeps its handlers alive, and must not keep
/// the form alive through them. GTK main thread only.
class ScripMessageHandlerMediator {
 public:
  ScripMessageHandlerMediator() = default;
  ~ScripMessageHandlerMediator();
  ScripMessageHandlerMediator(const ScripMessageHandlerMediator&) = delete;
  ScripMessageHandlerMediator& operator=(const ScripMessageHandlerMediator&) = delete;

  void setDelegate(std::weak_ptr<ScriptMessageDelegate> delegate) { delegate_ = std::move(delegate); }
  std::shared_ptr<ScriptMessageDelegate> delegate() const { return delegate_.lock(); }

  /// Registers a handler for each name on `manager` and listens to its messages.
  void registerHandlers(WebKitUserContentManager* manager, const std::vector<std::string>& names);
  /// Unregisters the handlers of `registerHandlers` and stops listening. Idempotent.
  void unregisterHandlers();

  /// Forwards one message to the delegate, if it still exists.
  void userContentControllerDidReceiveScriptMessage(const std::string& name, const boost::json::value& body);

  /// One registered name and its signal handler.
  struct Connection {
    ScripMessageHandlerMediator* mediator;
    std::string name;
    unsigned long handler = 0;
  };

 private:
  std::weak_ptr<ScriptMessageDelegate> delegate_;
  WebKitUserContentManager* manager_ = nullptr;
  std::vector<std::unique_ptr<Connection>> connections_;
};

}  // namespace brivane
