// Start-up failures and Chromium's death: the host keeps running and recovers.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <fstream>

#include "include/cef_app.h"
#include "include/cef_task.h"
#include "test_support.h"

using namespace testing_support;

namespace {

HttpServer* g_server = nullptr;

bool Init(const std::string& launcher, int multi_threaded = 0) {
  CefSettings settings;
  CefString(&settings.browser_subprocess_path) = launcher;
  settings.multi_threaded_message_loop = multi_threaded;
  settings.log_severity = LOGSEVERITY_DISABLE;
  char* argv[] = {const_cast<char*>("test"), nullptr};
  return CefInitialize(CefMainArgs(1, argv), settings, nullptr, nullptr);
}

// A Chromium that never answers, until killed: its pid is in pid_file. Chromium is started
// through the launcher, which reads the binary each time.
class MuteChromium {
 public:
  MuteChromium() {
    if (const char* real = getenv("VEXOR_CHROMIUM_BINARY")) real_ = real;
    if (!mkdtemp(dir_)) return;
    binary_ = std::string(dir_) + "/mute-chromium";
    pid_file = std::string(dir_) + "/pid";
    std::ofstream(binary_) << "#!/bin/sh\necho $$ > " << pid_file << ".part\nmv " << pid_file
                           << ".part " << pid_file << "\nexec sleep 600 >/dev/null 2>&1\n";
    chmod(binary_.c_str(), 0755);
    setenv("VEXOR_CHROMIUM_BINARY", binary_.c_str(), 1);
  }
  ~MuteChromium() {
    Restore();
    unlink(binary_.c_str());
    unlink(pid_file.c_str());
    rmdir(dir_);
  }
  int Pid() const {
    int pid = 0;
    std::ifstream(pid_file) >> pid;
    return pid;
  }
  // The next start is of the real Chromium again.
  void Restore() {
    if (real_.empty()) unsetenv("VEXOR_CHROMIUM_BINARY");
    else setenv("VEXOR_CHROMIUM_BINARY", real_.c_str(), 1);
  }
  std::string pid_file;

 private:
  char dir_[64] = "/tmp/vexor-cef-mute-XXXXXX";
  std::string binary_;
  std::string real_;
};

}  // namespace

TEST(StartFailure, RefusedConfigurationsReturnFalse) {
  EXPECT_FALSE(Init(LauncherPath(), 1)) << "multi-threaded message loop accepted";
  EXPECT_FALSE(Init("/nonexistent/no-such-launcher"));
  // The host's UI goes on without browsers, and its thread checks still pass.
  EXPECT_TRUE(CefCurrentlyOn(TID_UI));
  bool elsewhere = true;
  std::thread([&] { elsewhere = CefCurrentlyOn(TID_UI); }).join();
  EXPECT_FALSE(elsewhere);
  CefRefPtr<TestClient> c = new TestClient;
  EXPECT_FALSE(CefBrowserHost::CreateBrowser(CefWindowInfo(), c.get(), "", CefBrowserSettings(), nullptr));
  CefDoMessageLoopWork();
  CefShutdown();
  EXPECT_FALSE(CefCurrentlyOn(TID_UI));
}

TEST(StartFailure, TheLauncherIsFoundBesideTheProgramWhateverTheWorkingFolder) {
  // As a host names it: in its working folder, which is not the program's.
  char here[4096];
  ASSERT_NE(getcwd(here, sizeof here), nullptr);
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_TRUE(Init("/vexor-cef-launcher"));
  CefShutdown();
  ASSERT_EQ(chdir(here), 0);
}

TEST(StartFailure, ChromiumThatNeverAnswersTimesOut) {
  MuteChromium mute;
  setenv("VEXOR_CEF_START_TIMEOUT_MS", "1500", 1);
  EXPECT_FALSE(Init(LauncherPath()));
  unsetenv("VEXOR_CEF_START_TIMEOUT_MS");
}

TEST(Settings, LocaleAndProfileFolderReachChromium) {
  char dir[] = "/tmp/vexor-cef-profile-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  CefSettings settings;
  CefString(&settings.browser_subprocess_path) = LauncherPath();
  CefString(&settings.user_data_path) = std::string(dir);
  CefString(&settings.cache_path) = std::string(dir);
  CefString(&settings.locale) = "de-DE";
  settings.log_severity = LOGSEVERITY_DISABLE;
  char* argv[] = {const_cast<char*>("test"), nullptr};
  ASSERT_TRUE(CefInitialize(CefMainArgs(1, argv), settings, nullptr, nullptr));
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(""));
  g_server->Serve("/lang.html", "<p>lang</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/lang.html")));
  EXPECT_EQ(c->Eval("navigator.language"), "de-DE");
  c->Close();
  CefShutdown();
  struct stat st;
  EXPECT_EQ(stat((std::string(dir) + "/Local State").c_str(), &st), 0)
      << "Chromium did not use the profile folder";
  std::string rm = std::string("rm -rf ") + dir;
  EXPECT_EQ(system(rm.c_str()), 0);
}

TEST(ChromiumDeath, BrowsersLearnOfItAndTheLoopNeverWaitsForAChromiumStarting) {
  // A profile left by a host that died is removed by the next start.
  char stale[] = "/tmp/vexor-cef-XXXXXX";
  ASSERT_NE(mkdtemp(stale), nullptr);
  pid_t dead = fork();
  if (dead == 0) _exit(0);
  waitpid(dead, nullptr, 0);
  std::ofstream(std::string(stale) + "/vexor-owner") << dead << "\n";
  // A start that never answers is given up only after this: a loop waiting for it would
  // outlast the test.
  setenv("VEXOR_CEF_START_TIMEOUT_MS", "600000", 1);
  std::string why;
  ASSERT_TRUE(StartEngine(nullptr, &why)) << why;
  struct stat st;
  EXPECT_NE(stat(stale, &st), 0) << "stale profile kept";
  g_server->Serve("/life.html", "<title>life</title>");
  CefRefPtr<TestClient> a = new TestClient, b = new TestClient;
  ASSERT_TRUE(a->Create(""));
  ASSERT_TRUE(b->Create(""));
  ASSERT_TRUE(a->Load(g_server->Url("/life.html"))) << ::testing::PrintToString(a->Log());
  ASSERT_TRUE(b->Load(g_server->Url("/life.html")));
  unsigned long wa = a->browser->GetHost()->GetWindowHandle();
  unsigned long wb = b->browser->GetHost()->GetWindowHandle();
  int chromium = ChromiumPidOf(wa);
  ASSERT_GT(chromium, 0);

  // The page loaded again from inside the callback starts a Chromium that stays mute.
  MuteChromium mute;
  a->reload_on_termination = true;
  int errors_before = a->main_load_errors;
  kill(chromium, SIGKILL);
  ASSERT_TRUE(PumpUntil([&] { return a->terminations > 0 && b->terminations > 0; }));
  EXPECT_EQ(a->termination_status, TS_PROCESS_WAS_KILLED);
  EXPECT_EQ(b->termination_status, TS_PROCESS_WAS_KILLED);
  EXPECT_EQ(a->url_at_termination, g_server->Url("/life.html")) << "nothing to reload";
  ASSERT_TRUE(PumpUntil([&] { return mute.Pid() > 0; })) << "no restart, or the loop waits for it";
  EXPECT_FALSE(a->before_close);
  EXPECT_TRUE(a->callbacks_on_ui);
  // The browser windows outlive Chromium.
  int x, y, w, h;
  bool mapped;
  EXPECT_TRUE(WindowGeometry(wa, &x, &y, &w, &h, &mapped));
  // Calls on the dead browser neither crash nor hang.
  a->browser->GetMainFrame()->ExecuteJavaScript("1", "", 0);
  a->browser->GetHost()->SendFocusEvent(true);
  PumpFor(100);
  EXPECT_EQ(a->main_load_errors, errors_before) << "the start was given up early";

  // A start that fails is the pending page's load error.
  kill(mute.Pid(), SIGKILL);
  ASSERT_TRUE(PumpUntil([&] { return a->main_load_errors > errors_before; }));
  EXPECT_EQ(a->last_error, ERR_FAILED);

  // The next load brings Chromium back, in the same windows.
  mute.Restore();
  ASSERT_TRUE(a->Load(g_server->Url("/life.html"), 20000)) << ::testing::PrintToString(a->Log());
  EXPECT_EQ(a->last_status, 200);
  EXPECT_EQ(a->browser->GetHost()->GetWindowHandle(), wa);
  EXPECT_EQ(WindowChildren(wa).size(), 1u);
  EXPECT_NE(ChromiumPidOf(wa), chromium);
  EXPECT_EQ(a->Eval("document.title"), "life");
  // The other browser has a page again too.
  ASSERT_TRUE(b->Load(g_server->Url("/life.html"))) << ::testing::PrintToString(b->Log());
  EXPECT_EQ(b->browser->GetHost()->GetWindowHandle(), wb);
  EXPECT_EQ(b->Eval("document.title"), "life");
  a->Close();
  b->Close();
  EXPECT_TRUE(a->before_close);
  CefShutdown();
  unsetenv("VEXOR_CEF_START_TIMEOUT_MS");
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  g_window_x = 0;
  g_window_y = 620;
  HttpServer server;
  g_server = &server;
  std::string chromium;
  if (!ChromiumPresent(&chromium)) {
    fprintf(stderr, "FAILED: Chromium not found at %s\n", chromium.c_str());
    return 1;
  }
  return RUN_ALL_TESTS();
}
