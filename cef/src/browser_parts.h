// Small engine objects a browser hands to the application: requests and their callbacks,
// context menu parameters and model.
#ifndef VEXOR_CEF_SRC_BROWSER_PARTS_H_
#define VEXOR_CEF_SRC_BROWSER_PARTS_H_

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "browser_impl.h"
#include "connection.h"
#include "include/cef_context_menu_handler.h"
#include "include/cef_request.h"
#include "include/cef_request_handler.h"
#include "json.h"
#include "request_scope.h"

namespace vexorcef {

inline std::atomic<int64> g_next_frame_id{1};
inline std::atomic<uint64> g_next_request_id{1};

inline constexpr char kBinding[] = "__vexorEngine";

inline bool StartsWith(const std::string& s, const char* prefix) {
  return s.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// Pages Chromium serves itself, its own and its extensions', whose documents request
// interception never sees (their sub-resources it does): the handler is asked for them as
// their navigation starts.
inline bool IsUninterceptedPage(const std::string& url) {
  return StartsWith(url, "chrome:") || StartsWith(url, "chrome-extension:") ||
         StartsWith(url, "chrome-untrusted:") ||
         StartsWith(url, "devtools:") || StartsWith(url, "chrome-search:") ||
         (StartsWith(url, "about:") && url != "about:blank" && url != "about:srcdoc");
}

class RequestImpl : public CefRequest {
 public:
  RequestImpl() : id_(g_next_request_id++) {}
  RequestImpl(const std::string& url, const std::string& method, const std::string& referrer,
              cef_resource_type_t type, cef_transition_type_t transition)
      : id_(g_next_request_id++), url_(url), method_(method), referrer_(referrer), type_(type),
        transition_(transition) {}

  bool IsReadOnly() override { return false; }
  CefString GetURL() override { std::lock_guard<std::mutex> l(m_); return url_; }
  void SetURL(const CefString& url) override {
    std::lock_guard<std::mutex> l(m_);
    url_ = url.ToString();
  }
  CefString GetMethod() override { std::lock_guard<std::mutex> l(m_); return method_; }
  void SetMethod(const CefString& method) override {
    std::lock_guard<std::mutex> l(m_);
    method_ = method.ToString();
  }
  CefString GetReferrerURL() override { return referrer_; }
  ResourceType GetResourceType() override { return type_; }
  TransitionType GetTransitionType() override { return transition_; }
  uint64 GetIdentifier() override { return id_; }
  std::string url() { std::lock_guard<std::mutex> l(m_); return url_; }

 private:
  const uint64 id_;
  std::mutex m_;
  std::string url_;
  std::string method_ = "GET";
  std::string referrer_;
  cef_resource_type_t type_ = RT_SUB_RESOURCE;
  cef_transition_type_t transition_ = TT_EXPLICIT;
  IMPLEMENT_REFCOUNTING(RequestImpl);
};

// Answers one paused request exactly once.
class RequestCallbackImpl : public CefRequestCallback {
 public:
  RequestCallbackImpl(std::shared_ptr<Connection> conn, const std::string& session,
                      const std::string& request_id, CefRefPtr<RequestImpl> request,
                      const std::string& original_url)
      : conn_(conn), session_(session), request_id_(request_id), request_(request),
        original_url_(original_url) {}
  ~RequestCallbackImpl() override {
    // A callback dropped unanswered would leave the page waiting forever.
    if (!done_.load()) Continue(false);
  }

  void Continue(bool allow) override {
    if (done_.exchange(true)) return;
    Json p = Json::object();
    p.set("requestId", request_id_);
    if (!allow) {
      p.set("errorReason", "BlockedByClient");
      conn_->Send("Fetch.failRequest", std::move(p), session_);
      return;
    }
    std::string url = request_->url();
    if (url == original_url_) {
      conn_->Send("Fetch.continueRequest", std::move(p), session_);
      return;
    }
    // A redirect, not a quiet swap: the page sees the address it was given, and the new
    // request comes back to the handler.
    p.set("responseCode", 307);
    p.set("responseHeaders",
          Json::array().push(Json::object().set("name", "Location").set("value", url)));
    conn_->Send("Fetch.fulfillRequest", std::move(p), session_);
  }
  void Cancel() override { Continue(false); }

 private:
  std::shared_ptr<Connection> conn_;
  const std::string session_;
  const std::string request_id_;
  CefRefPtr<RequestImpl> request_;
  const std::string original_url_;
  std::atomic<bool> done_{false};
  IMPLEMENT_REFCOUNTING(RequestCallbackImpl);
};

class MenuModelImpl : public CefMenuModel {
 public:
  MenuModelImpl() {
    AddItem(100, "Back");
    AddItem(101, "Forward");
    AddSeparator();
    AddItem(103, "Reload");
  }
  bool Clear() override { items_.clear(); return true; }
  int GetCount() override { return static_cast<int>(items_.size()); }
  bool AddSeparator() override {
    items_.push_back({-1, "", MENUITEMTYPE_SEPARATOR});
    return true;
  }
  bool AddItem(int command_id, const CefString& label) override {
    items_.push_back({command_id, label.ToString(), MENUITEMTYPE_COMMAND});
    return true;
  }
  bool Remove(int command_id) override {
    auto it = std::find_if(items_.begin(), items_.end(),
                           [&](const Item& i) { return i.id == command_id; });
    if (it == items_.end()) return false;
    items_.erase(it);
    return true;
  }
  int GetCommandIdAt(int index) override {
    return index >= 0 && index < GetCount() ? items_[index].id : -1;
  }
  CefString GetLabelAt(int index) override {
    return index >= 0 && index < GetCount() ? CefString(items_[index].label) : CefString();
  }
  MenuItemType GetTypeAt(int index) override {
    return index >= 0 && index < GetCount() ? items_[index].type : MENUITEMTYPE_NONE;
  }

 private:
  struct Item {
    int id;
    std::string label;
    MenuItemType type;
  };
  std::vector<Item> items_;
  IMPLEMENT_REFCOUNTING(MenuModelImpl);
};

class ContextMenuParamsImpl : public CefContextMenuParams {
 public:
  ContextMenuParamsImpl(const Json& m, const std::string& page_url, const std::string& frame_url)
      : x_(static_cast<int>(m["x"].integer())), y_(static_cast<int>(m["y"].integer())),
        link_(m["link"].str()), selection_(m["selection"].str()),
        editable_(m["editable"].boolean()), page_url_(page_url), frame_url_(frame_url) {}
  int GetXCoord() override { return x_; }
  int GetYCoord() override { return y_; }
  TypeFlags GetTypeFlags() override {
    int f = CM_TYPEFLAG_PAGE;
    if (!link_.empty()) f |= CM_TYPEFLAG_LINK;
    if (!selection_.empty()) f |= CM_TYPEFLAG_SELECTION;
    if (editable_) f |= CM_TYPEFLAG_EDITABLE;
    if (frame_url_ != page_url_) f |= CM_TYPEFLAG_FRAME;
    return static_cast<TypeFlags>(f);
  }
  CefString GetLinkUrl() override { return link_; }
  CefString GetPageUrl() override { return page_url_; }
  CefString GetFrameUrl() override { return frame_url_; }
  CefString GetSelectionText() override { return selection_; }
  bool IsEditable() override { return editable_; }

 private:
  int x_, y_;
  std::string link_, selection_;
  bool editable_;
  std::string page_url_, frame_url_;
  IMPLEMENT_REFCOUNTING(ContextMenuParamsImpl);
};

class RunContextMenuCallbackImpl : public CefRunContextMenuCallback {
 public:
  using Done = std::function<void(int)>;
  explicit RunContextMenuCallbackImpl(Done done) : done_(std::move(done)) {}
  void Continue(int command_id, cef_event_flags_t) override {
    if (done_) {
      Done d = std::move(done_);
      done_ = nullptr;
      d(command_id);
    }
  }
  void Cancel() override { Continue(-1, EVENTFLAG_NONE); }

 private:
  Done done_;
  IMPLEMENT_REFCOUNTING(RunContextMenuCallbackImpl);
};

inline TerminationStatus TerminationStatusFromText(const std::string& s) {
  if (s == "killed") return TS_PROCESS_WAS_KILLED;
  if (s == "crashed") return TS_PROCESS_CRASHED;
  if (s == "oom") return TS_PROCESS_OOM;
  return TS_ABNORMAL_TERMINATION;
}


}  // namespace vexorcef

#endif
