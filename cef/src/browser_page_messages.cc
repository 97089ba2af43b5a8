// What the page script and the console report: titles, focus, menus, closing, messages.
#include "browser_impl.h"

#include <algorithm>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

void BrowserImpl::OnBindingCalled(const std::string& session, const Json& params) {
  if (params["name"].str() != kBinding) return;
  bool ok = false;
  Json msg = Json::parse(params["payload"].str(), &ok);
  if (!ok || !msg.isObject()) return;
  std::string frame_id = contexts_.FrameOf(session, params["executionContextId"].integer());
  if (frame_id.empty() && session == session_) frame_id = target_id_;
  std::string kind = msg["k"].str();
  if (kind == "title") {
    if (frame_id == target_id_) load_.OnPageTitle(msg["title"].str());
    return;
  }
  if (kind == "focus") {
    frames_.SetFocused(frame_id);
    return;
  }
  if (kind == "ctx") {
    OnContextMenu(frame_id, msg);
    return;
  }
  if (kind == "open") {
    OnScriptOpen(frame_id, msg);
    return;
  }
  if (kind == "close") {
    if (frame_id != target_id_ || closing_) return;
    bool keep = false;
    if (client_) {
      if (CefRefPtr<CefLifeSpanHandler> h = client_->GetLifeSpanHandler()) keep = h->DoClose(this);
    }
    if (!keep) Destroy();
    return;
  }
  if (kind == "msg") {
    Json args = msg["args"];
    if (msg["frame"].boolean()) {
      // The frame that sent it, as the two halves of its 64-bit id.
      int64 fid = FrameFor(frame_id)->GetIdentifier();
      Json with = Json::array();
      with.push(static_cast<int>(static_cast<uint32_t>(fid & 0xffffffff)));
      with.push(static_cast<int>(static_cast<uint32_t>(fid >> 32)));
      for (const Json& a : args.items()) with.push(a);
      args = with;
    }
    CefRefPtr<CefProcessMessage> m = ProcessMessageFromJson(msg["name"].str(), args);
    if (client_) client_->OnProcessMessageReceived(this, PID_RENDERER, m);
  }
}

void BrowserImpl::OnContextMenu(const std::string& frame_cdp_id, const Json& msg) {
  if (!client_) return;
  CefRefPtr<CefContextMenuHandler> h = client_->GetContextMenuHandler();
  if (!h) return;
  CefRefPtr<FrameImpl> frame = FrameFor(frame_cdp_id);
  CefRefPtr<FrameImpl> main = FrameFor(target_id_);
  CefRefPtr<CefContextMenuParams> params =
      new ContextMenuParamsImpl(msg, main->url(), frame->url());
  CefRefPtr<CefMenuModel> model = new MenuModelImpl;
  h->OnBeforeContextMenu(this, frame.get(), params, model);
  if (model->GetCount() > 0) {
    CefRefPtr<BrowserImpl> self = this;
    CefRefPtr<CefRunContextMenuCallback> cb =
        new RunContextMenuCallbackImpl([self, h, frame, params](int command) {
          if (command >= 0) h->OnContextMenuCommand(self.get(), frame.get(), params, command,
                                                    EVENTFLAG_NONE);
          h->OnContextMenuDismissed(self.get(), frame.get());
        });
    // Nothing is drawn either way: the engine has no menu of its own to show.
    if (!h->RunContextMenu(this, frame.get(), params, model, cb)) cb->Cancel();
  }
}

void BrowserImpl::OnConsoleMessage(const std::string&, const Json& params) {
  if (!client_) return;
  CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler();
  if (!h) return;
  std::string text, source;
  int line = 0;
  cef_log_severity_t level = LOGSEVERITY_INFO;
  const Json* frames = nullptr;
  if (!params.has("exceptionDetails")) {
    std::string type = params["type"].str();
    if (type == "error" || type == "assert") level = LOGSEVERITY_ERROR;
    else if (type == "warning") level = LOGSEVERITY_WARNING;
    else if (type == "debug") level = LOGSEVERITY_VERBOSE;
    for (const Json& a : params["args"].items()) {
      if (!text.empty()) text += ' ';
      const Json& v = a["value"];
      if (v.isString()) text += v.str();
      else if (a.has("unserializableValue")) text += a["unserializableValue"].str();
      else if (!v.isNull() || a["type"].str() == "object") {
        text += a.has("description") ? a["description"].str() : v.dump();
      } else if (a["type"].str() == "undefined") {
        text += "undefined";
      } else {
        text += a.has("description") ? a["description"].str() : v.dump();
      }
    }
    frames = &params["stackTrace"]["callFrames"];
  } else {
    level = LOGSEVERITY_ERROR;
    const Json& d = params["exceptionDetails"];
    text = d["exception"]["description"].str();
    if (text.empty()) text = d["text"].str();
    else text = "Uncaught " + text;
    source = d["url"].str();
    line = static_cast<int>(d["lineNumber"].integer()) + 1;
    frames = &d["stackTrace"]["callFrames"];
  }
  if (frames && frames->size() > 0 && source.empty()) {
    source = (*frames)[0]["url"].str();
    line = static_cast<int>((*frames)[0]["lineNumber"].integer()) + 1;
  }
  if (!h->OnConsoleMessage(this, level, text, source, line))
    VLOG_INFO("console: " << text << " (" << source << ":" << line << ")");
}

}  // namespace vexorcef
