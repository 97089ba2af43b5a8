// Threads and lifetimes: who releases a client, what a restart or the end of the process
// leaves running, and Chromium dying under a host that keeps sending.
#include <gtest/gtest.h>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <fstream>
#include <sstream>

#include "include/cef_app.h"
#include "test_support.h"

extern char** environ;

using namespace testing_support;

namespace {

HttpServer* g_server = nullptr;

// Threads the engine started that are still there: it names each "vexorcef-...".
int EngineThreads() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/task")) {
    while (dirent* e = readdir(d)) {
      if (e->d_name[0] == '.') continue;
      std::string name;
      std::ifstream(std::string("/proc/self/task/") + e->d_name + "/comm") >> name;
      if (name.compare(0, 8, "vexorcef") == 0) ++n;
    }
    closedir(d);
  }
  return n;
}

// The engine's temporary profile of a process, found by the owner file it writes.
std::string ProfileOf(pid_t pid) {
  std::string found;
  DIR* d = opendir("/tmp");
  if (!d) return found;
  while (dirent* e = readdir(d)) {
    std::string name = e->d_name;
    if (name.compare(0, 10, "vexor-cef-") != 0) continue;
    std::ifstream owner("/tmp/" + name + "/vexor-owner");
    int owner_pid = 0;
    if (owner >> owner_pid && owner_pid == pid) found = "/tmp/" + name;
  }
  closedir(d);
  return found;
}

// The engine's log while it lives; given back to the terminal if a test stops early.
class StderrCapture {
 public:
  StderrCapture() { ::testing::internal::CaptureStderr(); }
  ~StderrCapture() {
    if (!taken_) fputs(Take().c_str(), stderr);
  }
  std::string Take() {
    taken_ = true;
    return ::testing::internal::GetCapturedStderr();
  }

 private:
  bool taken_ = false;
};

// Records the thread its last reference died on.
class TrackedClient : public TestClient {
 public:
  explicit TrackedClient(std::thread::id* died_on) : died_on_(died_on) {}
  ~TrackedClient() override { *died_on_ = std::this_thread::get_id(); }

 private:
  std::thread::id* died_on_;
};

// Holds one request on the I/O thread until the test lets it go.
struct HeldRequest {
  std::mutex mutex;
  std::condition_variable changed;
  bool holding = false;
  bool released = false;

  CefRequestHandler::ReturnValue Hold() {
    std::unique_lock<std::mutex> l(mutex);
    if (holding) return RV_CONTINUE;
    holding = true;
    changed.notify_all();
    changed.wait(l, [&] { return released; });
    return RV_CONTINUE;
  }
  void Release() {
    std::lock_guard<std::mutex> l(mutex);
    released = true;
    changed.notify_all();
  }
  bool IsHolding() {
    std::lock_guard<std::mutex> l(mutex);
    return holding;
  }
};

}  // namespace

TEST(Lifetime, AClientLeftWhileItsPageLoadsIsReleasedOnTheUiThread) {
  g_server->Serve("/slow.png", "", 200, "image/png", 300);
  std::string page = "<title>busy</title>";
  for (int i = 0; i < 20; ++i) page += "<img src='/slow.png?" + std::to_string(i) + "'>";
  g_server->Serve("/busy.html", page);
  const std::thread::id ui = std::this_thread::get_id();
  for (int round = 0; round < StressRounds(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    std::thread::id died_on;
    HeldRequest held;
    CefRefPtr<TestClient> c = new TrackedClient(&died_on);
    ASSERT_TRUE(c->Create(""));
    // The I/O thread holds the client (as its request handler) through one of the images.
    c->on_request = [&held](CefRefPtr<CefRequest> r) {
      return r->GetURL().ToString().find("/slow.png") != std::string::npos ? held.Hold()
                                                                              : RV_CONTINUE;
    };
    c->browser->GetMainFrame()->LoadURL(g_server->Url("/busy.html"));
    ASSERT_TRUE(PumpUntil([&] { return held.IsHolding(); }));
    c->Close();
    ASSERT_TRUE(c->before_close);
    c->browser = nullptr;
    c = nullptr;
    held.Release();
    ASSERT_TRUE(PumpUntil([&] { return died_on != std::thread::id(); }));
    ASSERT_EQ(died_on, ui) << "the client died off the UI thread";
  }
}

TEST(Lifetime, ChromiumKilledWhileTheHostTypesIsSurvivedAndComesBack) {
  g_server->Serve("/form.html",
                  "<input id=f autofocus style='position:absolute;left:0;top:0;width:400px'>");
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(""));
  StderrCapture err;
  for (int round = 0; round < StressRounds(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const int ends = c->main_load_ends, terminations = c->terminations;
    // Loading brings Chromium back after the last round killed it.
    c->browser->GetMainFrame()->LoadURL(g_server->Url("/form.html"));
    ASSERT_TRUE(PumpUntil([&] { return c->main_load_ends > ends; }))
        << ::testing::PrintToString(c->Log());
    int chromium = ChromiumPidOf(c->browser->GetHost()->GetWindowHandle());
    ASSERT_GT(chromium, 0);
    // Keys keep coming while Chromium dies: into its pipe, then into a dead one.
    Click(c->browser, 10, 10);
    TypeText(c->browser, std::u16string(1 + round % 5, u'x'));
    kill(chromium, SIGKILL);
    TypeText(c->browser, u"lost keys");
    ASSERT_TRUE(PumpUntil([&] { return c->terminations > terminations; }));
    TypeText(c->browser, u"more lost keys");
    EXPECT_TRUE(c->callbacks_on_ui);
  }
  const std::string log = err.Take();
  EXPECT_EQ(log.find("made no page"), std::string::npos) << log;
  // The last load brings Chromium back once more, and typing works there.
  ASSERT_TRUE(c->Load(g_server->Url("/form.html")));
  Click(c->browser, 10, 10);
  TypeText(c->browser, u"back");
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("f.value") == "back"; }));
  c->Close();
}

// Last: it shuts the engine down.
TEST(Lifetime, ShutdownDuringARestartEndsEveryThreadTheEngineStarted) {
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(""));
  g_server->Serve("/restart.html", "<title>restart</title>");
  ASSERT_TRUE(c->Load(g_server->Url("/restart.html")));
  kill(ChromiumPidOf(c->browser->GetHost()->GetWindowHandle()), SIGKILL);
  ASSERT_TRUE(PumpUntil([&] { return c->terminations > 0; }));
  // The load starts a new Chromium; its first answer needs the UI loop, which never runs
  // again before the shutdown.
  c->browser->GetMainFrame()->LoadURL(g_server->Url("/restart.html"));
  ASSERT_GT(EngineThreads(), 0);
  CefShutdown();
  EXPECT_EQ(EngineThreads(), 0) << "an engine thread outlived the engine";
  // Every Chromium is gone and reaped: this process has no child left.
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  EXPECT_EQ(ProfileOf(getpid()), "");
}

TEST(Exit, WithAPageLoadingADialogOpenAndAQueryPendingEndsCleanly) {
  // A process of its own that starts the engine and leaves, as hosts do, without shutting
  // it down.
  std::string out_path = "/tmp/vexor-cef-exit-" + std::to_string(getpid()) + ".log";
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 2, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::string port = std::to_string(g_server->port());
  char* argv[] = {const_cast<char*>("/proc/self/exe"), const_cast<char*>("--exit-scenario"),
                  const_cast<char*>(port.c_str()), nullptr};
  pid_t child;
  ASSERT_EQ(posix_spawn(&child, "/proc/self/exe", &files, nullptr, argv, environ), 0);
  posix_spawn_file_actions_destroy(&files);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  std::stringstream err;
  err << std::ifstream(out_path).rdbuf();
  unlink(out_path.c_str());
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status << "\n" << err.str();
  EXPECT_NE(err.str().find("SCENARIO READY"), std::string::npos) << err.str();
  for (const char* fault : {"Sanitizer", "runtime error", "terminate called"})
    EXPECT_EQ(err.str().find(fault), std::string::npos) << err.str();
  EXPECT_EQ(ProfileOf(child), "") << "Chromium's profile outlived the process";
}

namespace {

// The other side of the test above: a page loading, one showing a dialog, a page query
// waiting for its answer, then the end of main.
int RunExitScenario(int port) {
  std::string why;
  if (!StartEngine(nullptr, &why)) {
    fprintf(stderr, "cannot start the engine: %s\n", why.c_str());
    return 2;
  }
  // Left for the end of the process, as a host leaves its objects.
  const std::string base = "http://127.0.0.1:" + std::to_string(port);
  auto* loading = new CefRefPtr<TestClient>(new TestClient);
  auto* asking = new CefRefPtr<TestClient>(new TestClient);
  auto* queries = new QueryHandler;
  auto* dialog = new CefRefPtr<CefJSDialogCallback>;
  if (!(*loading)->Create("") || !(*asking)->Create("")) return 3;
  InstallRouter(*asking, queries);
  (*asking)->on_dialog = [dialog](JSDialogType, const std::string&,
                                  CefRefPtr<CefJSDialogCallback> cb) {
    *dialog = cb;
    return true;
  };
  (*loading)->browser->GetMainFrame()->LoadURL(base + "/exit-loading.html");
  if (!(*asking)->Load(base + "/exit-asking.html")) return 4;
  (*asking)->browser->GetMainFrame()->ExecuteJavaScript(
      "vexorQuery({request: 'hold'}); setTimeout(() => alert('still here?'))", "", 0);
  auto image_asked = [loading] {
    std::lock_guard<std::mutex> l((*loading)->mutex);
    for (auto& r : (*loading)->requests)
      if (r.first.find("/exit-slow.png") != std::string::npos) return true;
    return false;
  };
  if (!PumpUntil([&] { return image_asked() && (*loading)->loading && queries->held && *dialog; }))
    return 5;
  fprintf(stderr, "SCENARIO READY\n");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--exit-scenario") {
    g_window_x = 1000;
    g_window_y = 620;
    return RunExitScenario(atoi(argv[2]));
  }
  ::testing::InitGoogleTest(&argc, argv);
  g_window_x = 1000;
  g_window_y = 620;
  HttpServer server;
  g_server = &server;
  server.Serve("/exit-loading.html", "<img src='/exit-slow.png'>");
  server.Serve("/exit-slow.png", "", 200, "image/png", 60000);
  server.Serve("/exit-asking.html", "<title>asking</title>");
  std::string why;
  if (!StartEngine(nullptr, &why)) {
    fprintf(stderr, "FAILED: cannot start the engine: %s\n", why.c_str());
    return 1;
  }
  return RUN_ALL_TESTS();
}
