// The load state machine against event orders Chromium produces, without Chromium.
#include "load_tracker.h"

#include <gtest/gtest.h>

#include <deque>
#include <sstream>
#include <string>
#include <vector>

using vexorcef::Json;
using vexorcef::LoadTracker;

namespace {

const char kMain[] = "MAIN";

// Writes down what the tracker reports, and holds its questions until the test answers.
class RecordingPage : public LoadTracker::Page {
 public:
  const std::string& MainFrameId() const override { return main_; }
  std::string MainFrameUrl() override { return main_url; }
  void LoadingStateChanged(bool loading, bool back, bool forward) override {
    Note() << "loading " << loading << back << forward;
  }
  void ProgressChanged(double progress) override { Note() << "progress " << progress; }
  void TitleChanged(const std::string& title) override { Note() << "title " << title; }
  void MainAddressChanged(const std::string& url) override { Note() << "address " << url; }
  void LoadStarted(const std::string& frame, TransitionType transition) override {
    Note() << "start " << frame << " " << std::hex << transition;
  }
  void LoadEnded(const std::string& frame, int status) override {
    Note() << "end " << frame << " " << status;
  }
  void LoadFailed(const std::string& frame, const std::string& error,
                  const std::string& url) override {
    Note() << "error " << frame << " " << error << " " << url;
  }
  void ReadHistory(std::function<void(std::optional<LoadTracker::HistoryPosition>)> answer)
      override {
    history_questions.push_back(std::move(answer));
  }
  void ReadTitle(std::function<void(std::optional<std::string>)> answer) override {
    title_questions.push_back(std::move(answer));
  }

  void AnswerHistory(long long current, long long entries) {
    ASSERT_FALSE(history_questions.empty());
    auto answer = std::move(history_questions.front());
    history_questions.pop_front();
    answer(LoadTracker::HistoryPosition{current, entries});
  }
  // What was reported since the last call.
  std::vector<std::string> Take() { return std::exchange(notes_, {}); }

  std::string main_url = "https://a.test/";
  std::deque<std::function<void(std::optional<LoadTracker::HistoryPosition>)>> history_questions;
  std::deque<std::function<void(std::optional<std::string>)>> title_questions;

 private:
  struct Line {
    explicit Line(std::vector<std::string>& out) : out_(out) {}
    ~Line() { out_.push_back(text_.str()); }
    template <typename T>
    Line& operator<<(const T& v) { text_ << v; return *this; }
    std::vector<std::string>& out_;
    std::ostringstream text_;
  };
  Line Note() { return Line(notes_); }

  const std::string main_ = kMain;
  std::vector<std::string> notes_;
};

Json Event(std::initializer_list<std::pair<const char*, Json>> members) {
  Json j = Json::object();
  for (const auto& m : members) j.set(m.first, m.second);
  return j;
}

Json Frame(const std::string& id) { return Event({{"frameId", id}}); }

Json Navigating(const std::string& frame, const char* type) {
  return Event({{"frameId", frame}, {"navigationType", type}});
}

Json Committed(const std::string& frame, const std::string& url, const char* type = "Navigation") {
  Json f = Event({{"id", frame}, {"url", url}});
  if (frame != kMain) f.set("parentId", kMain);
  return Event({{"frame", f}, {"type", type}});
}

Json ErrorPage(const std::string& frame, const std::string& failed_url) {
  return Event({{"frame", Event({{"id", frame},
                                 {"url", "chrome-error://chromewebdata/"},
                                 {"unreachableUrl", failed_url}})}});
}

Json Request(const std::string& id, const std::string& frame, const char* type,
             const std::string& url) {
  return Event({{"requestId", id}, {"frameId", frame}, {"type", type},
                {"request", Event({{"url", url}})}});
}

Json Response(const std::string& frame, int status) {
  return Event({{"frameId", frame}, {"type", "Document"},
                {"response", Event({{"status", status}})}});
}

Json Done(const std::string& id) { return Event({{"requestId", id}}); }

Json Failed(const std::string& id, const char* error) {
  return Event({{"requestId", id}, {"errorText", error}});
}

class LoadTrackerTest : public testing::Test {
 protected:
  // A main-frame load up to its commit, as Chromium orders it for a link.
  void StartAndCommit(const std::string& url, int status = 200) {
    tracker.OnFrameStartedNavigating(Navigating(kMain, "differentDocument"));
    tracker.OnFrameStartedLoading(Frame(kMain));
    tracker.OnRequestWillBeSent(Request("doc", kMain, "Document", url));
    tracker.OnResponseReceived(Response(kMain, status));
    tracker.OnRequestDone(Done("doc"));
    tracker.OnFrameNavigated(Committed(kMain, url));
  }

  RecordingPage page;
  LoadTracker tracker{page};
};

using Notes = std::vector<std::string>;

TEST_F(LoadTrackerTest, TheMainLoadEndsOnceBothItsStopAndItsLoadEventAreIn) {
  StartAndCommit("https://a.test/");
  EXPECT_EQ(page.Take(), (Notes{"loading 100", "progress 0.1", "address https://a.test/",
                                "progress 0.3", "start MAIN 0"}));

  // The stop overtakes the load event: nothing ends until the event comes.
  tracker.OnFrameStoppedLoading(Frame(kMain));
  EXPECT_EQ(page.Take(), Notes{});
  EXPECT_TRUE(page.history_questions.empty());
  tracker.OnLoadEventFired();
  EXPECT_EQ(page.Take(), (Notes{"title https://a.test/", "end MAIN 200"}));
  page.AnswerHistory(2, 4);
  EXPECT_EQ(page.Take(), (Notes{"progress 1", "loading 011"}));
  EXPECT_TRUE(tracker.can_go_back() && tracker.can_go_forward() && !tracker.loading());

  // In the other order, and a second stop of the same document, end it once.
  StartAndCommit("https://b.test/", 404);
  page.Take();
  tracker.OnPageTitle("B");
  tracker.OnLoadEventFired();
  tracker.OnFrameStoppedLoading(Frame(kMain));
  tracker.OnFrameStoppedLoading(Frame(kMain));
  EXPECT_EQ(page.Take(), (Notes{"title B", "end MAIN 404"}));
}

TEST_F(LoadTrackerTest, AStopBeforeAnyCommitEndsNoPageLoad) {
  tracker.LoadRequested(kMain);
  tracker.OnFrameStartedLoading(Frame(kMain));
  tracker.OnFrameStoppedLoading(Frame(kMain));
  page.AnswerHistory(1, 2);
  EXPECT_EQ(page.Take(), (Notes{"loading 100", "progress 0.1", "progress 1", "loading 000"}));
}

TEST_F(LoadTrackerTest, AHistoryNavigationThatNeverCommitsEndsOnlyIfTheHistoryStayed) {
  StartAndCommit("https://a.test/");
  tracker.OnLoadEventFired();
  tracker.OnFrameStoppedLoading(Frame(kMain));
  page.AnswerHistory(2, 2);
  page.Take();

  // Its commit is still to come: the history moved.
  tracker.Expect(kMain, static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG));
  tracker.OnFrameStartedNavigating(Navigating(kMain, "historyDifferentDocument"));
  tracker.OnFrameStartedLoading(Frame(kMain));
  tracker.OnFrameStoppedLoading(Frame(kMain));
  page.AnswerHistory(1, 2);
  EXPECT_EQ(page.Take(), (Notes{"loading 110", "progress 0.1"}));
  tracker.OnFrameNavigated(Committed(kMain, "https://z.test/", "BackForwardCacheRestore"));
  EXPECT_EQ(page.Take(), (Notes{"address https://z.test/", "progress 0.3", "start MAIN 1000001"}));
  // Restored whole: its title is read, and it ends at once as a 2xx page.
  ASSERT_EQ(page.title_questions.size(), 1u);
  page.title_questions.front()("Z");
  EXPECT_EQ(page.Take(), (Notes{"title Z", "end MAIN 200"}));
  page.AnswerHistory(1, 2);
  page.Take();

  // Cancelled: the history stayed where it was, so the load is over.
  tracker.OnFrameStartedNavigating(Navigating(kMain, "historyDifferentDocument"));
  tracker.OnFrameStartedLoading(Frame(kMain));
  tracker.OnFrameStoppedLoading(Frame(kMain));
  page.AnswerHistory(1, 2);
  EXPECT_EQ(page.Take(), (Notes{"loading 100", "progress 0.1"}));
  page.AnswerHistory(1, 2);
  EXPECT_EQ(page.Take(), (Notes{"progress 1", "loading 000"}));
}

TEST_F(LoadTrackerTest, ErrorPagesReportTheirErrorOnceAndNoLoadStartOrEnd) {
  tracker.LoadRequested(kMain);
  tracker.OnFrameStartedNavigating(Navigating(kMain, "differentDocument"));
  tracker.OnFrameStartedLoading(Frame(kMain));
  tracker.OnRequestWillBeSent(Request("doc", kMain, "Document", "https://gone.test/"));
  tracker.OnRequestDone(Failed("doc", "net::ERR_NAME_NOT_RESOLVED"));
  tracker.Fail("doc", kMain, "net::ERR_NAME_NOT_RESOLVED", "https://gone.test/");
  tracker.OnFrameNavigated(ErrorPage(kMain, "https://gone.test/"));
  tracker.OnLoadEventFired();
  tracker.OnFrameStoppedLoading(Frame(kMain));
  page.AnswerHistory(1, 2);
  EXPECT_EQ(page.Take(),
            (Notes{"loading 100", "progress 0.1",
                   "error MAIN net::ERR_NAME_NOT_RESOLVED https://gone.test/",
                   "address https://gone.test/", "progress 0.3", "progress 1", "loading 000"}));

  // An iframe's error page ends nothing; once it loads a page again, it ends.
  tracker.OnRequestWillBeSent(Request("sub", "F", "Document", "https://x.test/"));
  tracker.OnRequestDone(Failed("sub", ""));
  tracker.OnFrameNavigated(ErrorPage("F", "https://x.test/"));
  tracker.OnFrameStoppedLoading(Frame("F"));
  EXPECT_EQ(page.Take(), (Notes{"error F net::ERR_FAILED https://x.test/"}));
  tracker.OnFrameNavigated(Committed("F", "https://y.test/"));
  tracker.OnFrameStoppedLoading(Frame("F"));
  EXPECT_EQ(page.Take(), (Notes{"start F 3", "end F 0"}));
}

TEST_F(LoadTrackerTest, SubresourcesMoveTheProgressForwardInVisibleSteps) {
  StartAndCommit("https://a.test/");
  for (int i = 0; i < 60; ++i)
    tracker.OnRequestWillBeSent(Request("r" + std::to_string(i), kMain, "Image", "x"));
  page.Take();
  tracker.OnDomContentLoaded();
  for (int i = 0; i < 60; ++i) tracker.OnRequestDone(Done("r" + std::to_string(i)));
  Notes notes = page.Take();
  // 0.6 at the document's end; then at least 0.02 a step, never back, up to 0.9.
  ASSERT_GE(notes.size(), 2u);
  EXPECT_EQ(notes.front(), "progress 0.6");
  EXPECT_GE(std::stod(notes.back().substr(9)), 0.88);
  double last = 0.6;
  for (size_t i = 1; i < notes.size(); ++i) {
    double p = std::stod(notes[i].substr(9));
    EXPECT_GE(p - last, 0.02 - 1e-9) << notes[i];
    last = p;
  }
  EXPECT_LT(notes.size(), 20u);

  // Subresources of the next load start from nothing.
  tracker.OnLoadEventFired();
  tracker.OnFrameStoppedLoading(Frame(kMain));
  page.AnswerHistory(1, 2);
  StartAndCommit("https://b.test/");
  tracker.OnRequestWillBeSent(Request("s1", kMain, "Script", "y"));
  tracker.OnRequestWillBeSent(Request("s2", kMain, "Script", "z"));
  page.Take();
  tracker.OnRequestDone(Done("s1"));
  EXPECT_EQ(page.Take(), (Notes{"progress 0.6"}));
}

TEST_F(LoadTrackerTest, WithinDocumentNavigationsReportTheLoadingStateOnlyWhenHistoryChanges) {
  tracker.OnMainNavigatedWithinDocument("https://a.test/#1");
  page.AnswerHistory(1, 3);
  EXPECT_EQ(page.Take(), (Notes{"address https://a.test/#1", "loading 001"}));
  tracker.OnMainNavigatedWithinDocument("https://a.test/#2");
  page.AnswerHistory(1, 3);
  EXPECT_EQ(page.Take(), (Notes{"address https://a.test/#2"}));
}

TEST_F(LoadTrackerTest, APageGoneMidLoadStopsLoadingAndForgetsItsDocumentRequests) {
  tracker.OnFrameStartedNavigating(Navigating(kMain, "differentDocument"));
  tracker.OnFrameStartedLoading(Frame(kMain));
  tracker.OnRequestWillBeSent(Request("doc", kMain, "Document", "https://a.test/"));
  page.Take();
  tracker.PageGone();
  EXPECT_EQ(page.Take(), (Notes{"loading 000"}));
  // The dead page's request failing late is no load error of the next page.
  tracker.OnRequestDone(Failed("doc", "net::ERR_ABORTED"));
  EXPECT_EQ(page.Take(), Notes{});
}

}  // namespace
