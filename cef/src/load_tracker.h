// What a page load looks like to the application, decided from the page's DevTools events.
#ifndef VEXOR_CEF_SRC_LOAD_TRACKER_H_
#define VEXOR_CEF_SRC_LOAD_TRACKER_H_

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "include/internal/cef_types_wrappers.h"
#include "json.h"

namespace vexorcef {

// The address a committed frame shows: the one that failed, for an error page.
std::string ShownUrl(const Json& frame);

// Follows one page's loads: loading or not, where it stands in its history, progress,
// title, and each frame's document starting, ending or failing. It decides; its page tells
// the client. UI thread only, the page's answers included.
class LoadTracker {
 public:
  struct HistoryPosition {
    long long current;
    long long entries;
  };

  // The browser side: where the decisions go, and what the tracker must ask of the page.
  class Page {
   public:
    virtual ~Page() = default;
    virtual const std::string& MainFrameId() const = 0;
    virtual std::string MainFrameUrl() = 0;
    virtual void LoadingStateChanged(bool loading, bool can_go_back, bool can_go_forward) = 0;
    virtual void ProgressChanged(double progress) = 0;
    virtual void TitleChanged(const std::string& title) = 0;
    virtual void MainAddressChanged(const std::string& url) = 0;
    virtual void LoadStarted(const std::string& frame_id, TransitionType transition) = 0;
    virtual void LoadEnded(const std::string& frame_id, int http_status) = 0;
    virtual void LoadFailed(const std::string& frame_id, const std::string& error_text,
                            const std::string& url) = 0;
    // Each answer comes later, or never once the browser has closed; nullopt when the page
    // could not say.
    virtual void ReadHistory(std::function<void(std::optional<HistoryPosition>)> answer) = 0;
    virtual void ReadTitle(std::function<void(std::optional<std::string>)> answer) = 0;
  };

  // Entry 0 of a page's history is the engine's blank start page: nothing goes back to it.
  static constexpr long long kFirstHistoryEntry = 1;

  explicit LoadTracker(Page& page) : page_(page) {}
  LoadTracker(const LoadTracker&) = delete;
  LoadTracker& operator=(const LoadTracker&) = delete;

  bool loading() const { return loading_; }
  bool can_go_back() const { return can_back_; }
  bool can_go_forward() const { return can_forward_; }

  // The engine starts a load in a frame: an address, or (Expect) a history step or reload.
  void LoadRequested(const std::string& frame_id);
  void Expect(const std::string& frame_id, TransitionType transition);

  // The page's events, by the DevTools event they come from. A new document's navigation
  // returns its transition; a navigation within the document returns nothing.
  std::optional<TransitionType> OnFrameStartedNavigating(const Json& params);
  void OnFrameStartedLoading(const Json& params);
  void OnRequestWillBeSent(const Json& params);
  void OnResponseReceived(const Json& params);
  void OnRequestDone(const Json& params);  // finished or failed
  void OnFrameNavigated(const Json& params);
  void OnMainNavigatedWithinDocument(const std::string& url);
  void OnDomContentLoaded();
  void OnLoadEventFired();
  void OnFrameStoppedLoading(const Json& params);
  // A title the page reports; an empty one before any title of its own is no title.
  void OnPageTitle(const std::string& title);
  // A load that failed; loader, when known, fails once however often it is reported.
  void Fail(const std::string& loader, const std::string& frame_id,
            const std::string& error_text, const std::string& url);
  // The renderer or Chromium went away with whatever was loading.
  void PageGone();

 private:
  void FinishMainLoad();
  void FinishRestoredLoad();
  void FinishUnlessHistoryCommitted();
  void RefreshHistory(std::function<void()> then);
  void SetLoading(bool loading);
  void SetTitle(const std::string& title);
  void ReportProgress(double p, bool force = false);
  int StatusOf(const std::string& frame_id) const;

  Page& page_;
  bool loading_ = false;
  bool can_back_ = false;
  bool can_forward_ = false;
  long long history_index_ = 0;  // the current entry when the history was last read
  double progress_ = 0;
  int subresources_started_ = 0;
  int subresources_done_ = 0;
  std::string title_;
  bool title_since_commit_ = false;
  // The main frame's current document: committed since the last navigation started, its
  // load event seen, its stop waiting for that event, its load end reported; how many
  // documents committed; whether the navigation under way goes through history.
  bool main_committed_ = false;
  bool main_load_event_ = false;
  bool main_stop_pending_ = false;
  bool main_finished_ = false;
  long long main_commits_ = 0;
  bool history_pending_ = false;
  std::map<std::string, std::pair<std::string, std::string>> doc_requests_;  // id -> frame,url
  std::set<std::string> failed_loaders_;
  std::map<std::string, int> status_;  // frame -> main document's HTTP status
  std::set<std::string> error_frames_;  // frames showing an error page
  std::map<std::string, TransitionType> transition_;
};

}  // namespace vexorcef

#endif
