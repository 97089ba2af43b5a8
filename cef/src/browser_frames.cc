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
  const std::string id = params["frameId"].str();
  FrameFor(id)->set_parent(params["parentFrameId"].str());
  frames_.MarkSubframe(id);
  ReleaseHeld(id, false);
}

void BrowserImpl::OnFrameDetached(const std::string&, const Json& params) {
  if (params["reason"].str() == "swap") return;  // moved to another process, same frame
  const std::string id = params["frameId"].str();
  if (id != target_id_) frames_.Remove(id);
}

void BrowserImpl::OnContextCreated(const std::string& session, const Json& params) {
  contexts_.Created(session, params["context"]);
}

void BrowserImpl::OnContextDestroyed(const std::string& session, const Json& params) {
  contexts_.Destroyed(session, params["executionContextId"].integer());
}

void BrowserImpl::OnContextsCleared(const std::string& session, const Json&) {
  contexts_.Cleared(session);
}

CefRefPtr<FrameImpl> BrowserImpl::FrameFor(const std::string& cdp_id) {
  const std::string target = TargetId();
  const std::string& id = cdp_id.empty() ? target : cdp_id;
  return frames_.Get(id, id == target);
}

// Before the page exists, the main frame is the one of no id, and stays the main frame.
CefRefPtr<CefFrame> BrowserImpl::GetMainFrame() { return FrameFor(std::string()).get(); }

CefRefPtr<CefFrame> BrowserImpl::GetFocusedFrame() {
  const std::string focused = frames_.focused();
  return focused.empty() ? GetMainFrame() : FrameFor(focused).get();
}

CefRefPtr<CefFrame> BrowserImpl::GetFrame(int64 identifier) {
  return frames_.FindByIdentifier(identifier).get();
}

CefRefPtr<CefFrame> BrowserImpl::GetFrame(const CefString& name) {
  return frames_.FindByName(name).get();
}

size_t BrowserImpl::GetFrameCount() { return frames_.size(); }

void BrowserImpl::GetFrameIdentifiers(std::vector<int64>& identifiers) {
  identifiers = frames_.Identifiers();
}

void BrowserImpl::EvaluateIn(const ExecutionContexts::Document& document,
                             const std::string& expression) {
  Json p = Json::object();
  p.set("expression", expression);
  p.set("uniqueContextId", document.unique_id);
  Cmd("Runtime.evaluate", std::move(p), nullptr, document.session);
}

void BrowserImpl::ExecuteInFrame(const std::string& frame_cdp_id, const std::string& code) {
  const std::string frame = frame_cdp_id.empty() ? target_id_ : frame_cdp_id;
  if (std::optional<ExecutionContexts::Document> document = contexts_.DocumentOf(frame))
    EvaluateIn(*document, code);
  else if (frame == target_id_)
    Cmd("Runtime.evaluate", Json::object().set("expression", code));
}

void BrowserImpl::EvaluateInDocuments(const std::string& expression) {
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, expression] {
    for (const auto& document : self->contexts_.Documents()) self->EvaluateIn(document, expression);
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
  for (const auto& document : contexts_.Documents()) EvaluateIn(document, script);
}

}  // namespace vexorcef
