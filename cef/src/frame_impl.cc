#include "frame_impl.h"

#include "browser_impl.h"

#include <algorithm>
#include <cstdlib>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

// ---------------------------------------------------------------------------------------
// FrameImpl

FrameImpl::FrameImpl(BrowserImpl* browser, const std::string& cdp_id, bool is_main)
    : browser_(browser), cdp_id_(cdp_id), is_main_(is_main), id_(g_next_frame_id++) {}

void FrameImpl::LoadURL(const CefString& url) {
  if (!valid_) return;
  CefRefPtr<BrowserImpl> b = browser_;
  std::string u = url.ToString(), id = cdp_id_;
  bool main = is_main_;
  auto task = [b, u, id, main] { b->LoadUrlInFrame(u, main ? std::string() : id); };
  Engine* e = Engine::Get();
  if (!e) return;
  if (e->OnUiThread()) task();
  else e->PostUi(task);
}

void FrameImpl::ExecuteJavaScript(const CefString& code, const CefString& script_url,
                                  int start_line) {
  (void)start_line;
  if (!valid_) return;
  std::string source = code.ToString();
  if (!script_url.empty()) source += "\n//# sourceURL=" + script_url.ToString();
  CefRefPtr<BrowserImpl> b = browser_;
  std::string id = cdp_id_;
  Engine* e = Engine::Get();
  if (!e) return;
  auto task = [b, id, source] { b->ExecuteInFrame(id, source); };
  if (e->OnUiThread()) task();
  else e->PostUi(task);
}

bool FrameImpl::IsFocused() {
  CefRefPtr<CefFrame> f = browser_->GetFocusedFrame();
  return f && f->GetIdentifier() == id_;
}

CefString FrameImpl::GetName() { std::lock_guard<std::mutex> l(mutex_); return name_; }

CefRefPtr<CefFrame> FrameImpl::GetParent() {
  std::string parent;
  {
    std::lock_guard<std::mutex> l(mutex_);
    parent = parent_cdp_id_;
  }
  if (parent.empty() || is_main_) return nullptr;
  return browser_->FrameFor(parent).get();
}

CefString FrameImpl::GetURL() { std::lock_guard<std::mutex> l(mutex_); return url_; }
CefRefPtr<CefBrowser> FrameImpl::GetBrowser() { return browser_; }
void FrameImpl::set_url(const std::string& url) { std::lock_guard<std::mutex> l(mutex_); url_ = url; }
std::string FrameImpl::url() { std::lock_guard<std::mutex> l(mutex_); return url_; }
void FrameImpl::set_name(const std::string& n) { std::lock_guard<std::mutex> l(mutex_); name_ = n; }
void FrameImpl::set_parent(const std::string& p) {
  std::lock_guard<std::mutex> l(mutex_);
  parent_cdp_id_ = p;
}
void FrameImpl::Invalidate() { valid_ = false; }

}  // namespace vexorcef
