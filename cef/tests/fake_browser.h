// Engine objects a client or the message router is handed, without Chromium: each records
// what is asked of it.
#ifndef VEXOR_CEF_TESTS_FAKE_BROWSER_H_
#define VEXOR_CEF_TESTS_FAKE_BROWSER_H_

#include <map>
#include <string>
#include <vector>

#include "include/cef_browser.h"
#include "include/cef_client.h"
#include "include/cef_frame.h"
#include "include/cef_jsdialog_handler.h"
#include "include/cef_process_message.h"
#include "include/cef_request.h"
#include "include/cef_values.h"
#include "include/wrapper/cef_message_router.h"

namespace testing_support {

class FakeFrame : public CefFrame {
 public:
  FakeFrame(int64 id, bool main) : id_(id), main_(main) {}
  bool IsValid() override { return true; }
  void LoadURL(const CefString& u) override { loads.push_back(u.ToString()); }
  void ExecuteJavaScript(const CefString&, const CefString&, int) override {}
  bool IsMain() override { return main_; }
  bool IsFocused() override { return main_; }
  CefString GetName() override { return CefString(); }
  int64 GetIdentifier() override { return id_; }
  CefRefPtr<CefFrame> GetParent() override { return nullptr; }
  CefString GetURL() override { return url; }
  CefRefPtr<CefBrowser> GetBrowser() override { return nullptr; }

  std::string url;
  std::vector<std::string> loads;

 private:
  int64 id_;
  bool main_;
  IMPLEMENT_REFCOUNTING(FakeFrame);
};

class FakeHost : public CefBrowserHost {
 public:
  CefRefPtr<CefBrowser> GetBrowser() override { return nullptr; }
  void CloseBrowser(bool force) override { closes.push_back(force); }
  bool TryCloseBrowser() override { return false; }
  void SetFocus(bool) override {}
  CefWindowHandle GetWindowHandle() override { return window; }
  CefWindowHandle GetOpenerWindowHandle() override { return 0; }
  CefRefPtr<CefClient> GetClient() override { return nullptr; }
  CefRefPtr<CefRequestContext> GetRequestContext() override { return nullptr; }
  void WasResized() override {}
  void SendKeyEvent(const CefKeyEvent& event) override { keys.push_back(event); }
  // Mouse events as "kind x y", with the button and click count or the wheel's deltas.
  void SendMouseClickEvent(const CefMouseEvent& e, MouseButtonType type, bool up,
                           int count) override {
    Mouse(up ? "up" : "down", e, type, count);
  }
  void SendMouseMoveEvent(const CefMouseEvent& e, bool leave) override {
    Mouse("move", e, leave, 0);
  }
  void SendMouseWheelEvent(const CefMouseEvent& e, int dx, int dy) override {
    Mouse("wheel", e, dx, dy);
  }
  void SendFocusEvent(bool focus) override { focuses.push_back(focus); }

  unsigned long window = 0;
  std::vector<bool> closes;
  std::vector<CefKeyEvent> keys;
  std::vector<std::string> mouse;
  std::vector<bool> focuses;

 private:
  void Mouse(const char* kind, const CefMouseEvent& e, int a, int b) {
    mouse.push_back(std::string(kind) + " " + std::to_string(e.x) + " " + std::to_string(e.y) +
                    " " + std::to_string(a) + " " + std::to_string(b));
  }
  IMPLEMENT_REFCOUNTING(FakeHost);
};

// Frame 1 is the main frame; any other id asked for is a sub-frame made on demand. Process
// messages sent to the page are kept as "name|arg|arg...".
class FakeBrowser : public CefBrowser {
 public:
  explicit FakeBrowser(int id, bool popup = false) : id_(id), popup_(popup) {}
  CefRefPtr<CefBrowserHost> GetHost() override { return host.get(); }
  bool CanGoBack() override { return can_go_back; }
  void GoBack() override {}
  bool CanGoForward() override { return false; }
  void GoForward() override {}
  bool IsLoading() override { return false; }
  void Reload() override {}
  void ReloadIgnoreCache() override {}
  void StopLoad() override {}
  int GetIdentifier() override { return id_; }
  bool IsSame(CefRefPtr<CefBrowser> that) override { return that->GetIdentifier() == id_; }
  bool IsPopup() override { return popup_; }
  bool HasDocument() override { return true; }
  CefRefPtr<CefFrame> GetMainFrame() override { return Frame(1); }
  CefRefPtr<CefFrame> GetFocusedFrame() override { return Frame(1); }
  CefRefPtr<CefFrame> GetFrame(int64 id) override { return Frame(id); }
  CefRefPtr<CefFrame> GetFrame(const CefString&) override { return nullptr; }
  size_t GetFrameCount() override { return frames_.size(); }
  void GetFrameIdentifiers(std::vector<int64>& ids) override {
    ids.clear();
    for (auto& f : frames_) ids.push_back(f.first);
  }
  bool SendProcessMessage(CefProcessId, CefRefPtr<CefProcessMessage> m) override {
    CefRefPtr<CefListValue> a = m->GetArgumentList();
    std::string line = m->GetName().ToString();
    for (size_t i = 0; i < a->GetSize(); ++i) {
      line += "|";
      switch (a->GetType(i)) {
        case VTYPE_BOOL: line += a->GetBool(i) ? "true" : "false"; break;
        case VTYPE_INT: line += std::to_string(a->GetInt(i)); break;
        case VTYPE_STRING: line += a->GetString(i).ToString(); break;
        default: line += "?";
      }
    }
    messages.push_back(line);
    return true;
  }
  CefRefPtr<FakeFrame> Frame(int64 id) {
    CefRefPtr<FakeFrame>& f = frames_[id];
    if (!f) f = new FakeFrame(id, id == 1);
    return f;
  }

  CefRefPtr<FakeHost> host = new FakeHost;
  bool can_go_back = false;
  std::vector<std::string> messages;

 private:
  int id_;
  bool popup_;
  std::map<int64, CefRefPtr<FakeFrame>> frames_;
  IMPLEMENT_REFCOUNTING(FakeBrowser);
};

class FakeRequest : public CefRequest {
 public:
  FakeRequest(const std::string& url, ResourceType type) : url(url), type_(type) {}
  bool IsReadOnly() override { return false; }
  CefString GetURL() override { return url; }
  void SetURL(const CefString& u) override { url = u.ToString(); }
  CefString GetMethod() override { return "GET"; }
  void SetMethod(const CefString&) override {}
  CefString GetReferrerURL() override { return CefString(); }
  ResourceType GetResourceType() override { return type_; }
  TransitionType GetTransitionType() override { return TT_LINK; }
  uint64 GetIdentifier() override { return 1; }

  std::string url;

 private:
  ResourceType type_;
  IMPLEMENT_REFCOUNTING(FakeRequest);
};

// Answers as "ok TEXT" or "cancel TEXT".
class FakeDialogCallback : public CefJSDialogCallback {
 public:
  void Continue(bool success, const CefString& input) override {
    answers.push_back((success ? "ok " : "cancel ") + input.ToString());
  }
  std::vector<std::string> answers;

 private:
  IMPLEMENT_REFCOUNTING(FakeDialogCallback);
};

// Answers as "success TEXT" or "failure CODE TEXT".
class FakeQueryCallback : public CefMessageRouterBrowserSide::Callback {
 public:
  void Success(const CefString& response) override {
    answers.push_back("success " + response.ToString());
  }
  void Failure(int code, const CefString& message) override {
    answers.push_back("failure " + std::to_string(code) + " " + message.ToString());
  }
  std::vector<std::string> answers;

 private:
  IMPLEMENT_REFCOUNTING(FakeQueryCallback);
};

}  // namespace testing_support

#endif
