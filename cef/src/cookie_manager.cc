#include "include/cef_cookie.h"

#include "engine.h"
#include "log.h"

namespace {

class CookieManagerImpl : public CefCookieManager {
 public:
  void SetSupportedSchemes(const std::vector<CefString>& schemes,
                           CefRefPtr<CefCompletionCallback> callback) override {
    for (const CefString& s : schemes) {
      std::string name = s.ToString();
      if (name != "http" && name != "https")
        VLOG_WARNING("cookies for scheme " << name << " are not supported; ignored");
    }
    if (!callback) return;
    if (auto* e = vexorcef::Engine::Get()) e->PostUi([callback] { callback->OnComplete(); });
  }

 private:
  IMPLEMENT_REFCOUNTING(CookieManagerImpl);
};

}  // namespace

CefRefPtr<CefCookieManager> CefCookieManager::GetGlobalManager(
    CefRefPtr<CefCompletionCallback> callback) {
  auto* e = vexorcef::Engine::Get();
  if (!e) return nullptr;
  if (callback) e->PostUi([callback] { callback->OnComplete(); });
  return new CookieManagerImpl;
}
