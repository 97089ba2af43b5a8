#include "include/wrapper/cef_message_router.h"

#include <algorithm>
#include <map>
#include <vector>

#include "engine.h"
#include "include/cef_task.h"

CefMessageRouterConfig::CefMessageRouterConfig()
    : js_query_function("cefQuery"), js_cancel_function("cefQueryCancel") {}

namespace {

const int kCanceledErrorCode = -1;
const char kCanceledErrorMessage[] = "The query has been canceled";

class RouterImpl;

class CallbackImpl : public CefMessageRouterBrowserSide::Callback {
 public:
  CallbackImpl(RouterImpl* router, int browser_id, int64 query_id, bool persistent)
      : router_(router), browser_id_(browser_id), query_id_(query_id), persistent_(persistent) {}
  void Success(const CefString& response) override;
  void Failure(int error_code, const CefString& error_message) override;
  void Detach() { router_ = nullptr; }

 private:
  RouterImpl* router_;
  int browser_id_;
  int64 query_id_;
  bool persistent_;
  IMPLEMENT_REFCOUNTING(CallbackImpl);
};

class RouterImpl : public CefMessageRouterBrowserSide {
 public:
  explicit RouterImpl(const CefMessageRouterConfig& config)
      : query_msg_(config.js_query_function.ToString() + "Msg"),
        cancel_msg_(config.js_cancel_function.ToString() + "Msg") {
    if (auto* e = vexorcef::Engine::Get())
      e->RegisterRouter(config.js_query_function.ToString(),
                        config.js_cancel_function.ToString());
  }
  ~RouterImpl() override {
    for (auto& q : queries_) q.second.callback->Detach();
  }

  bool AddHandler(Handler* handler, bool first) override {
    if (std::find(handlers_.begin(), handlers_.end(), handler) != handlers_.end()) return false;
    if (first) handlers_.insert(handlers_.begin(), handler);
    else handlers_.push_back(handler);
    return true;
  }
  bool RemoveHandler(Handler* handler) override {
    auto it = std::find(handlers_.begin(), handlers_.end(), handler);
    if (it == handlers_.end()) return false;
    CancelMatching([&](const Query& q) { return q.handler == handler; }, true);
    handlers_.erase(it);
    return true;
  }
  void CancelPending(CefRefPtr<CefBrowser> browser, Handler* handler) override {
    int id = browser ? browser->GetIdentifier() : -1;
    CancelMatching([&](const Query& q) {
      return (id < 0 || q.browser_id == id) && (!handler || q.handler == handler);
    }, true);
  }
  int GetPendingCount(CefRefPtr<CefBrowser> browser, Handler* handler) override {
    int n = 0;
    for (auto& q : queries_) {
      if (browser && q.second.browser_id != browser->GetIdentifier()) continue;
      if (handler && q.second.handler != handler) continue;
      ++n;
    }
    return n;
  }
  void OnBeforeClose(CefRefPtr<CefBrowser> browser) override { CancelPending(browser, nullptr); }
  void OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser) override {
    CancelPending(browser, nullptr);
  }
  void OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame) override {
    if (!browser) return;
    int id = browser->GetIdentifier();
    if (!frame || frame->IsMain()) {
      CancelPending(browser, nullptr);
      return;
    }
    int64 fid = frame->GetIdentifier();
    CancelMatching([&](const Query& q) { return q.browser_id == id && q.frame_id == fid; }, true);
  }

  bool OnProcessMessageReceived(CefRefPtr<CefBrowser> browser, CefProcessId source_process,
                                CefRefPtr<CefProcessMessage> message) override {
    if (source_process != PID_RENDERER || !browser || !message) return false;
    std::string name = message->GetName().ToString();
    CefRefPtr<CefListValue> args = message->GetArgumentList();
    if (name == query_msg_) {
      if (args->GetSize() != 6) return true;
      int64 frame_id = static_cast<int64>(static_cast<uint32>(args->GetInt(0))) |
                       (static_cast<int64>(static_cast<uint32>(args->GetInt(1))) << 32);
      int context_id = args->GetInt(2);
      int request_id = args->GetInt(3);
      CefString request = args->GetString(4);
      bool persistent = args->GetBool(5);
      CefRefPtr<CefFrame> frame = browser->GetFrame(frame_id);
      int64 query_id = next_query_id_++;
      CefRefPtr<CallbackImpl> cb =
          new CallbackImpl(this, browser->GetIdentifier(), query_id, persistent);
      Query q{browser, frame_id, browser->GetIdentifier(), context_id, request_id, persistent,
              nullptr, cb};
      queries_[query_id] = q;
      for (size_t i = 0; i < handlers_.size(); ++i) {
        Handler* h = handlers_[i];
        queries_[query_id].handler = h;
        if (h->OnQuery(browser, frame, query_id, request, persistent, cb.get())) return true;
        if (!queries_.count(query_id)) return true;  // answered and gone inside OnQuery
      }
      // Nobody took it.
      auto it = queries_.find(query_id);
      if (it != queries_.end()) {
        it->second.callback->Detach();
        queries_.erase(it);
        SendFailure(browser, context_id, request_id, kCanceledErrorCode, kCanceledErrorMessage);
      }
      return true;
    }
    if (name == cancel_msg_) {
      if (args->GetSize() != 4) return true;
      int context_id = args->GetInt(2);
      int request_id = args->GetInt(3);
      int bid = browser->GetIdentifier();
      CancelMatching([&](const Query& q) {
        return q.browser_id == bid && q.context_id == context_id && q.request_id == request_id;
      }, false);
      return true;
    }
    return false;
  }

  void Answer(int browser_id, int64 query_id, bool success, const CefString& response,
              int error_code) {
    auto it = queries_.find(query_id);
    if (it == queries_.end() || it->second.browser_id != browser_id) return;
    Query q = it->second;
    if (!success || !q.persistent) {
      q.callback->Detach();
      queries_.erase(it);
    }
    CefRefPtr<CefProcessMessage> msg = CefProcessMessage::Create(query_msg_);
    CefRefPtr<CefListValue> a = msg->GetArgumentList();
    a->SetInt(0, q.context_id);
    a->SetInt(1, q.request_id);
    a->SetBool(2, success);
    if (success) {
      a->SetString(3, response);
    } else {
      a->SetInt(3, error_code);
      a->SetString(4, response);
    }
    q.browser->SendProcessMessage(PID_RENDERER, msg);
  }

 private:
  struct Query {
    CefRefPtr<CefBrowser> browser;
    int64 frame_id;
    int browser_id;
    int context_id;
    int request_id;
    bool persistent;
    Handler* handler;
    CefRefPtr<CallbackImpl> callback;
  };

  template <typename Pred>
  void CancelMatching(Pred pred, bool tell_page) {
    std::vector<std::pair<int64, Query>> gone;
    for (auto it = queries_.begin(); it != queries_.end();) {
      if (pred(it->second)) {
        gone.emplace_back(it->first, it->second);
        it = queries_.erase(it);
      } else {
        ++it;
      }
    }
    for (auto& g : gone) {
      g.second.callback->Detach();
      if (g.second.handler)
        g.second.handler->OnQueryCanceled(g.second.browser,
                                          g.second.browser->GetFrame(g.second.frame_id), g.first);
      if (tell_page)
        SendFailure(g.second.browser, g.second.context_id, g.second.request_id,
                    kCanceledErrorCode, kCanceledErrorMessage);
    }
  }

  void SendFailure(CefRefPtr<CefBrowser> browser, int context_id, int request_id, int code,
                   const CefString& message) {
    CefRefPtr<CefProcessMessage> msg = CefProcessMessage::Create(query_msg_);
    CefRefPtr<CefListValue> a = msg->GetArgumentList();
    a->SetInt(0, context_id);
    a->SetInt(1, request_id);
    a->SetBool(2, false);
    a->SetInt(3, code);
    a->SetString(4, message);
    browser->SendProcessMessage(PID_RENDERER, msg);
  }

  const std::string query_msg_;
  const std::string cancel_msg_;
  std::vector<Handler*> handlers_;
  std::map<int64, Query> queries_;
  int64 next_query_id_ = 1;
  IMPLEMENT_REFCOUNTING(RouterImpl);
};

void CallbackImpl::Success(const CefString& response) {
  CefRefPtr<CallbackImpl> self = this;
  std::string text = response.ToString();
  auto run = [self, text] {
    if (self->router_) self->router_->Answer(self->browser_id_, self->query_id_, true, text, 0);
  };
  auto* e = vexorcef::Engine::Get();
  if (!e || e->OnUiThread()) run();
  else e->PostUi(run);
}

void CallbackImpl::Failure(int error_code, const CefString& error_message) {
  CefRefPtr<CallbackImpl> self = this;
  std::string text = error_message.ToString();
  auto run = [self, text, error_code] {
    if (self->router_)
      self->router_->Answer(self->browser_id_, self->query_id_, false, text, error_code);
  };
  auto* e = vexorcef::Engine::Get();
  if (!e || e->OnUiThread()) run();
  else e->PostUi(run);
}

}  // namespace

CefRefPtr<CefMessageRouterBrowserSide> CefMessageRouterBrowserSide::Create(
    const CefMessageRouterConfig& config) {
  return new RouterImpl(config);
}
