#include "load_tracker.h"

#include <algorithm>

namespace vexorcef {

namespace {
constexpr auto kHistoryTransition = static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG);
}  // namespace

std::string ShownUrl(const Json& frame) {
  const std::string& unreachable = frame["unreachableUrl"].str();
  return unreachable.empty() ? frame["url"].str() + frame["urlFragment"].str() : unreachable;
}

void LoadTracker::LoadRequested(const std::string& frame_id) {
  transition_[frame_id] = TT_EXPLICIT;
  if (frame_id == page_.MainFrameId()) main_committed_ = false;
}

void LoadTracker::Expect(const std::string& frame_id, TransitionType transition) {
  transition_[frame_id] = transition;
}

std::optional<TransitionType> LoadTracker::OnFrameStartedNavigating(const Json& params) {
  const std::string frame_id = params["frameId"].str();
  const std::string nav = params["navigationType"].str();
  if (nav == "sameDocument" || nav == "historySameDocument") return std::nullopt;
  const bool is_main = frame_id == page_.MainFrameId();
  if (nav == "reload" || nav == "reloadBypassingCache") transition_[frame_id] = TT_RELOAD;
  else if (nav == "historyDifferentDocument") transition_[frame_id] = kHistoryTransition;
  else if (!transition_.count(frame_id)) transition_[frame_id] = is_main ? TT_LINK : TT_AUTO_SUBFRAME;
  if (is_main) {
    // Until the new document commits, a stop ends no page load.
    main_committed_ = false;
    history_pending_ = nav == "historyDifferentDocument";
  }
  return transition_[frame_id];
}

void LoadTracker::OnFrameStartedLoading(const Json& params) {
  if (params["frameId"].str() != page_.MainFrameId()) return;
  subresources_started_ = subresources_done_ = 0;
  if (!loading_) {
    progress_ = 0;
    SetLoading(true);
    ReportProgress(0.1, true);
  }
}

void LoadTracker::OnRequestWillBeSent(const Json& params) {
  if (params["type"].str() == "Document") {
    std::string frame_id = params["frameId"].str();
    doc_requests_[params["requestId"].str()] = {frame_id, params["request"]["url"].str()};
    status_.erase(frame_id);
  } else if (loading_) {
    ++subresources_started_;
  }
}

void LoadTracker::OnResponseReceived(const Json& params) {
  if (params["type"].str() == "Document")
    status_[params["frameId"].str()] = static_cast<int>(params["response"]["status"].integer());
}

void LoadTracker::OnRequestDone(const Json& params) {
  const std::string rid = params["requestId"].str();
  auto it = doc_requests_.find(rid);
  if (it == doc_requests_.end()) {
    if (loading_ && subresources_started_ > 0) {
      ++subresources_done_;
      ReportProgress(0.3 + 0.6 * subresources_done_ / std::max(1, subresources_started_));
    }
    return;
  }
  const auto [frame_id, url] = it->second;
  doc_requests_.erase(it);
  if (params.has("errorText")) {
    std::string text = params["errorText"].str();
    if (text.empty()) text = "net::ERR_FAILED";
    Fail(rid, frame_id, text, url);
  }
}

void LoadTracker::OnFrameNavigated(const Json& params) {
  const Json& frame = params["frame"];
  const std::string id = frame["id"].str();
  const bool is_main = id == page_.MainFrameId();
  // A page back from the back/forward cache has no load of its own to wait for.
  const bool restored = is_main && params["type"].str() == "BackForwardCacheRestore";
  if (is_main) {
    title_since_commit_ = false;
    main_committed_ = true;
    history_pending_ = main_finished_ = false;
    ++main_commits_;
    main_load_event_ = main_stop_pending_ = false;
    page_.MainAddressChanged(ShownUrl(frame));
    ReportProgress(0.3);
  }
  if (!frame["unreachableUrl"].str().empty()) {
    error_frames_.insert(id);
    return;
  }
  error_frames_.erase(id);
  auto it = transition_.find(id);
  const TransitionType transition =
      it != transition_.end() ? it->second : is_main ? TT_LINK : TT_AUTO_SUBFRAME;
  if (it != transition_.end()) transition_.erase(it);
  page_.LoadStarted(id, transition);
  if (restored) FinishRestoredLoad();
}

void LoadTracker::FinishRestoredLoad() {
  // Only pages served with a 2xx status are kept in the cache.
  status_[page_.MainFrameId()] = 200;
  // The page's script does not run again, so nothing reports its title: ask for it.
  const long long commit = main_commits_;
  page_.ReadTitle([this, commit](std::optional<std::string> title) {
    if (commit != main_commits_) return;
    if (title) OnPageTitle(*title);
    main_load_event_ = true;
    FinishMainLoad();
  });
}

void LoadTracker::OnPageTitle(const std::string& title) {
  if (title.empty() && !title_since_commit_) return;
  title_since_commit_ = true;
  SetTitle(title);
}

void LoadTracker::SetTitle(const std::string& title) {
  if (title == title_) return;
  title_ = title;
  page_.TitleChanged(title_);
}

void LoadTracker::OnMainNavigatedWithinDocument(const std::string& url) {
  page_.MainAddressChanged(url);
  const bool back = can_back_, forward = can_forward_;
  RefreshHistory([this, back, forward] {
    if (back != can_back_ || forward != can_forward_)
      page_.LoadingStateChanged(loading_, can_back_, can_forward_);
  });
}

void LoadTracker::OnDomContentLoaded() {
  if (loading_) ReportProgress(0.6);
}

void LoadTracker::OnLoadEventFired() {
  if (!main_committed_) return;
  main_load_event_ = true;
  if (main_stop_pending_) FinishMainLoad();
}

void LoadTracker::OnFrameStoppedLoading(const Json& params) {
  const std::string id = params["frameId"].str();
  if (id != page_.MainFrameId()) {
    if (!error_frames_.count(id)) page_.LoadEnded(id, StatusOf(id));
    return;
  }
  // The browser process reports the stop, the renderer the load event: the stop can
  // overtake it, and the page is loaded only once both are in.
  if (main_committed_ && !main_load_event_ && !error_frames_.count(id)) {
    main_stop_pending_ = true;
    return;
  }
  if (!main_committed_ && history_pending_) {
    FinishUnlessHistoryCommitted();
    return;
  }
  FinishMainLoad();
}

void LoadTracker::FinishUnlessHistoryCommitted() {
  // A page restored from the back/forward cache stops loading before the renderer reports
  // its commit; a history navigation that never committed leaves the history where it was.
  const long long before = history_index_;
  page_.ReadHistory([this, before](std::optional<HistoryPosition> history) {
    if (main_committed_ || !history_pending_) return;
    if (history && history->current != before) return;  // its commit follows
    FinishMainLoad();
  });
}

void LoadTracker::FinishMainLoad() {
  main_stop_pending_ = false;
  // A stop from before the current load's document committed (the engine's blank start
  // page finishing late, a navigation cancelled before commit) ends no page load, and a
  // document's load ends once, however many stops it gets.
  const std::string main = page_.MainFrameId();
  if (main_committed_ && !main_finished_ && !error_frames_.count(main)) {
    main_finished_ = true;
    // A page without a title shows its address, as Chromium's own tab does.
    if (!title_since_commit_) SetTitle(page_.MainFrameUrl());
    page_.LoadEnded(main, StatusOf(main));
  }
  RefreshHistory([this] {
    ReportProgress(1.0, true);
    SetLoading(false);
  });
}

void LoadTracker::Fail(const std::string& loader, const std::string& frame_id,
                       const std::string& error_text, const std::string& url) {
  if (!loader.empty() && !failed_loaders_.insert(loader).second) return;
  error_frames_.insert(frame_id);
  page_.LoadFailed(frame_id, error_text, url);
}

void LoadTracker::PageGone() {
  doc_requests_.clear();
  error_frames_.clear();
  SetLoading(false);
}

void LoadTracker::RefreshHistory(std::function<void()> then) {
  page_.ReadHistory([this, then](std::optional<HistoryPosition> history) {
    if (history) {
      history_index_ = history->current;
      can_back_ = history->current > kFirstHistoryEntry;
      can_forward_ = history->current + 1 < history->entries;
    }
    then();
  });
}

void LoadTracker::SetLoading(bool loading) {
  if (loading == loading_) return;
  loading_ = loading;
  page_.LoadingStateChanged(loading_, can_back_, can_forward_);
}

void LoadTracker::ReportProgress(double p, bool force) {
  if (p < progress_ && !force) return;
  if (p > 1) p = 1;
  if (!force && p - progress_ < 0.02 && p < 1) return;
  progress_ = p;
  page_.ProgressChanged(p);
}

int LoadTracker::StatusOf(const std::string& frame_id) const {
  auto it = status_.find(frame_id);
  return it != status_.end() ? it->second : 0;
}

}  // namespace vexorcef
