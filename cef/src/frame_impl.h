// A frame of a browser, named by Chromium's frame id.
#ifndef VEXOR_CEF_SRC_FRAME_IMPL_H_
#define VEXOR_CEF_SRC_FRAME_IMPL_H_

#include <atomic>
#include <mutex>
#include <string>

#include "include/cef_frame.h"

namespace vexorcef {

class BrowserImpl;

class FrameImpl : public CefFrame {
 public:
  FrameImpl(BrowserImpl* browser, const std::string& cdp_id, bool is_main);

  bool IsValid() override { return valid_.load(); }
  void LoadURL(const CefString& url) override;
  void ExecuteJavaScript(const CefString& code, const CefString& script_url,
                         int start_line) override;
  bool IsMain() override { return is_main_; }
  bool IsFocused() override;
  CefString GetName() override;
  int64 GetIdentifier() override { return id_; }
  CefRefPtr<CefFrame> GetParent() override;
  CefString GetURL() override;
  CefRefPtr<CefBrowser> GetBrowser() override;

  const std::string& cdp_id() const { return cdp_id_; }
  void set_url(const std::string& url);
  std::string url();
  void set_name(const std::string& name);
  void set_parent(const std::string& parent_cdp_id);
  void Invalidate();

 private:
  BrowserImpl* browser_;  // the browser owns its frames; cleared when it closes
  const std::string cdp_id_;
  const bool is_main_;
  const int64 id_;
  std::atomic<bool> valid_{true};
  std::mutex mutex_;
  std::string url_;
  std::string name_;
  std::string parent_cdp_id_;

  IMPLEMENT_REFCOUNTING(FrameImpl);
};

}  // namespace vexorcef

#endif
