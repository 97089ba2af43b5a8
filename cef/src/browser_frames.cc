// The frame tree of a browser: its frames, child sessions and script contexts.
#include "browser_impl.h"

#include <algorithm>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

void BrowserImpl::OnChildAttached(const std::string&, const Json& params) {
  std::string child = params["sessionId"].str();
  std::string type = params["targetInfo"]["type"].str();
  if (type == "page") {
    // A window this page opened.
    OnPopupAttached(child, params["targetInfo"]["targetId"].str());
    return;
  }
  child_sessions_.insert(child);
  Engine::Get()->MapSession(child, this);
  SetupSession(child, false, type);
}

void BrowserImpl::OnChildDetached(const std::string&, const Json& params) {
  std::string child = params["sessionId"].str();
  child_sessions_.erase(child);
  Engine::Get()->UnmapSession(child);
}

void BrowserImpl::OnFrameAttached(const std::string&, const Json& params) {
  CefRefPtr<FrameImpl> f = FrameFor(params["frameId"].str());
  f->set_parent(params["parentFrameId"].str());
  {
    std::lock_guard<std::mutex> l(frames_mutex_);
    subframes_.insert(params["frameId"].str());
  }
  ReleaseHeld(params["frameId"].str(), false);
}

void BrowserImpl::OnFrameDetached(const std::string&, const Json& params) {
  if (params["reason"].str() == "swap") return;  // moved to another process, same frame
  std::string id = params["frameId"].str();
  std::lock_guard<std::mutex> l(frames_mutex_);
  auto it = frames_.find(id);
  if (it != frames_.end() && id != target_id_) {
    it->second->Invalidate();
    frames_.erase(it);
  }
}

void BrowserImpl::OnContextCreated(const std::string& session, const Json& params) {
  const Json& ctx = params["context"];
  const Json& aux = ctx["auxData"];
  std::string unique = ctx["uniqueId"].str();
  contexts_[unique] = Context{session, aux["frameId"].str(), aux["isDefault"].boolean()};
  context_ids_[{session, ctx["id"].integer()}] = unique;
}

void BrowserImpl::OnContextDestroyed(const std::string& session, const Json& params) {
  auto key = std::make_pair(session, params["executionContextId"].integer());
  auto it = context_ids_.find(key);
  if (it != context_ids_.end()) {
    contexts_.erase(it->second);
    context_ids_.erase(it);
  }
}

void BrowserImpl::OnContextsCleared(const std::string& session, const Json&) {
  for (auto it = context_ids_.begin(); it != context_ids_.end();) {
    if (it->first.first == session) {
      contexts_.erase(it->second);
      it = context_ids_.erase(it);
    } else {
      ++it;
    }
  }
}

CefRefPtr<FrameImpl> BrowserImpl::FrameFor(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  std::string id = cdp_id.empty() ? target_id_ : cdp_id;
  auto it = frames_.find(id);
  if (it != frames_.end()) return it->second;
  CefRefPtr<FrameImpl> f = new FrameImpl(this, id, id == target_id_);
  if (!closed_) frames_[id] = f;
  else f->Invalidate();
  return f;
}

CefRefPtr<CefFrame> BrowserImpl::GetMainFrame() {
  std::string target = TargetId();
  if (target.empty()) {
    // No page yet: a main frame that stays the main frame once the page exists.
    std::lock_guard<std::mutex> l(frames_mutex_);
    auto it = frames_.find(std::string());
    if (it != frames_.end()) return it->second.get();
    CefRefPtr<FrameImpl> f = new FrameImpl(this, std::string(), true);
    frames_[std::string()] = f;
    return f.get();
  }
  return FrameFor(target).get();
}

CefRefPtr<CefFrame> BrowserImpl::GetFocusedFrame() {
  return focused_frame_.empty() ? GetMainFrame() : FrameFor(focused_frame_).get();
}

CefRefPtr<CefFrame> BrowserImpl::GetFrame(int64 identifier) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  for (auto& f : frames_)
    if (f.second->GetIdentifier() == identifier) return f.second.get();
  return nullptr;
}

CefRefPtr<CefFrame> BrowserImpl::GetFrame(const CefString& name) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  for (auto& f : frames_)
    if (f.second->GetName() == name) return f.second.get();
  return nullptr;
}

size_t BrowserImpl::GetFrameCount() {
  std::lock_guard<std::mutex> l(frames_mutex_);
  return frames_.size();
}

void BrowserImpl::GetFrameIdentifiers(std::vector<int64>& identifiers) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  identifiers.clear();
  for (auto& f : frames_) identifiers.push_back(f.second->GetIdentifier());
}

void BrowserImpl::ExecuteInFrame(const std::string& frame_cdp_id, const std::string& code) {
  std::string frame = frame_cdp_id.empty() ? target_id_ : frame_cdp_id;
  for (auto& c : contexts_) {
    if (c.second.is_default && c.second.frame == frame) {
      Json p = Json::object();
      p.set("expression", code);
      p.set("uniqueContextId", c.first);
      Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
      return;
    }
  }
  if (frame == target_id_) Cmd("Runtime.evaluate", Json::object().set("expression", code));
}

void BrowserImpl::EvaluateInDocuments(const std::string& expression) {
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, expression] {
    for (auto& c : self->contexts_) {
      if (!c.second.is_default) continue;
      Json p = Json::object();
      p.set("expression", expression);
      p.set("uniqueContextId", c.first);
      self->Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
    }
  };
  if (Engine::Get()->OnUiThread()) task();
  else Engine::Get()->PostUi(task);
}

bool BrowserImpl::SendProcessMessage(CefProcessId target_process,
                                     CefRefPtr<CefProcessMessage> message) {
  if (target_process != PID_RENDERER || !message) return false;
  EvaluateInDocuments("window.__vexorEngineDeliver&&window.__vexorEngineDeliver(" +
                      ProcessMessageToJson(message).dump() + ")");
  return true;
}

void BrowserImpl::AddRouterScript(const std::string& script) {
  std::vector<std::string> sessions;
  if (!session_.empty()) sessions.push_back(session_);
  for (auto& s : child_sessions_) sessions.push_back(s);
  for (auto& s : sessions)
    Cmd("Page.addScriptToEvaluateOnNewDocument", Json::object().set("source", script), nullptr, s);
  for (auto& c : contexts_) {
    if (!c.second.is_default) continue;
    Json p = Json::object();
    p.set("expression", script);
    p.set("uniqueContextId", c.first);
    Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
  }
}

}  // namespace vexorcef
