// A host that runs the engine's loop only when the engine asks (external_message_pump), with
// real Chromium: browsers are made, pages load, script and queries come back, and nothing
// is missed for want of a pump.
#include <gtest/gtest.h>

#include <atomic>

#include "include/cef_app.h"
#include "include/cef_task.h"
#include "test_support.h"

using namespace testing_support;

namespace {

HttpServer* g_server = nullptr;

class App : public CefApp, public CefBrowserProcessHandler {
 public:
  CefRefPtr<CefBrowserProcessHandler> GetBrowserProcessHandler() override { return this; }
  void OnBeforeCommandLineProcessing(const CefString&, CefRefPtr<CefCommandLine> cl) override {
    cl->AppendSwitch("disable-gpu");
  }
  void OnScheduleMessagePumpWork(int64 delay_ms) override {
    ++asks;
    if (!CefCurrentlyOn(TID_UI)) ++asks_from_other_threads;
    AskForPump(delay_ms);
  }
  std::atomic<int> asks{0};
  std::atomic<int> asks_from_other_threads{0};
  IMPLEMENT_REFCOUNTING(App);
};

CefRefPtr<App> g_app;

}  // namespace

TEST_F(Fresh, APageLoadsAndAnswersWithTheLoopPumpedOnlyWhenAsked) {
  g_server->Serve("/pumped.html",
                  "<title>first</title><script>setTimeout(() => { document.title = 'later';"
                  " console.log('TIMER-FIRED') }, 300)</script>");
  ASSERT_TRUE(c->Load(g_server->Url("/pumped.html")));
  EXPECT_TRUE(c->WaitForLog("TIMER-FIRED"));
  EXPECT_TRUE(PumpUntil([&] { return c->title == "later"; }));
  EXPECT_EQ(c->Eval("6 * 7"), "42");
  // Chromium's answers arrive on the engine's own threads, which ask for the pump.
  EXPECT_GT(g_app->asks_from_other_threads.load(), 0);
  EXPECT_TRUE(c->callbacks_on_ui);
}

TEST_F(Fresh, RouterQueriesComeBackWithTheLoopPumpedOnlyWhenAsked) {
  QueryHandler h;
  InstallRouter(c, &h);
  g_server->Serve("/query.html",
                  "<script>vexorQuery({request: 'ping', onSuccess: v => console.log('OK ' + v)})"
                  "</script>");
  ASSERT_TRUE(c->Load(g_server->Url("/query.html")));
  EXPECT_TRUE(c->WaitForLog("OK pong:" + g_server->Url("/query.html")));
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  HttpServer server;
  g_server = &server;
  g_app = new App;
  PumpOnlyWhenAsked();
  return RunTestsOnEngine(g_app.get(), true);
}
