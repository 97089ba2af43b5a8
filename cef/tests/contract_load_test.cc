// Start-up, threads, browser windows, loads, requests and closing, against real Chromium.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <fstream>

#include "include/cef_app.h"
#include "include/cef_cookie.h"
#include "include/cef_task.h"
#include "test_support.h"

using namespace testing_support;

namespace {

HttpServer* g_server = nullptr;

class App : public CefApp, public CefBrowserProcessHandler {
 public:
  void OnBeforeCommandLineProcessing(const CefString& type,
                                     CefRefPtr<CefCommandLine> cl) override {
    process_type = type.ToString();
    cl->AppendSwitch("disable-gpu");
    cl->AppendSwitch("--disable-gpu-vsync");
  }
  CefRefPtr<CefBrowserProcessHandler> GetBrowserProcessHandler() override { return this; }
  void OnContextInitialized() override {
    context_initialized = true;
    context_on_ui = CefCurrentlyOn(TID_UI);
  }
  std::string process_type = "unset";
  bool context_initialized = false;
  bool context_on_ui = false;
  IMPLEMENT_REFCOUNTING(App);
};

CefRefPtr<App> g_app;

int ClosedPort() {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a = {};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
  socklen_t len = sizeof a;
  getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  close(fd);
  return ntohs(a.sin_port);
}

// Stops every navigation to an address containing `refused`.
struct Stopper : public TestClient {
  bool OnBeforeBrowse(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, CefRefPtr<CefRequest> r, bool,
                      bool) override {
    return !refused.empty() && r->GetURL().ToString().find(refused) != std::string::npos;
  }
  std::string refused;
};

int IndexOf(const std::vector<std::string>& log, const std::string& prefix) {
  for (size_t i = 0; i < log.size(); ++i)
    if (log[i].compare(0, prefix.size(), prefix) == 0) return static_cast<int>(i);
  return -1;
}

}  // namespace

TEST(Start, InitializeMapsSettingsAndRunsTheApplicationHooksOnTheUiThread) {
  EXPECT_EQ(g_app->process_type, "");
  EXPECT_TRUE(g_app->context_initialized);
  EXPECT_TRUE(g_app->context_on_ui);
  EXPECT_TRUE(CefCurrentlyOn(TID_UI));
  EXPECT_FALSE(CefCurrentlyOn(TID_IO));
  // A second start while running is refused.
  CefSettings settings;
  char* argv[] = {const_cast<char*>("x"), nullptr};
  EXPECT_FALSE(CefInitialize(CefMainArgs(1, argv), settings, nullptr, nullptr));

  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(""));
  g_server->Serve("/ua.html", "<p>ua</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/ua.html")));
  EXPECT_EQ(c->Eval("navigator.userAgent"), "VexorTest/1.0 (X11; Linux)");
  EXPECT_EQ(c->Eval("navigator.languages[0]"), "fr-FR");
  c->Close();

  struct Done : public CefCompletionCallback {
    void OnComplete() override { on_ui = CefCurrentlyOn(TID_UI); done = true; }
    bool done = false, on_ui = false;
    IMPLEMENT_REFCOUNTING(Done);
  };
  CefRefPtr<Done> done = new Done;
  CefRefPtr<CefCookieManager> cookies = CefCookieManager::GetGlobalManager(nullptr);
  ASSERT_TRUE(cookies);
  cookies->SetSupportedSchemes({"http", "https"}, done.get());
  ASSERT_TRUE(PumpUntil([&] { return done->done; }));
  EXPECT_TRUE(done->on_ui);
}

TEST(Browser, BrowsersCreatedTogetherAreMadeLaterEachWithItsOwnWindow) {
  g_server->Serve("/t.html", "<img src='/t.png'>");
  CefRefPtr<TestClient> a = new TestClient, b = new TestClient;
  CefWindowInfo info;
  info.width = 300;
  info.height = 200;
  ASSERT_TRUE(CefBrowserHost::CreateBrowser(info, a.get(), g_server->Url("/t.html"),
                                            CefBrowserSettings(), nullptr));
  info.x = 400;
  ASSERT_TRUE(CefBrowserHost::CreateBrowser(info, b.get(), "", CefBrowserSettings(), nullptr));
  EXPECT_FALSE(a->after_created || b->after_created) << "made before the loop ran";
  ASSERT_TRUE(PumpUntil([&] { return a->after_created && b->after_created; }, 20000));
  unsigned long wa = a->browser->GetHost()->GetWindowHandle();
  unsigned long wb = b->browser->GetHost()->GetWindowHandle();
  EXPECT_NE(wa, wb);
  EXPECT_GT(a->browser->GetIdentifier(), 0);
  EXPECT_NE(a->browser->GetIdentifier(), b->browser->GetIdentifier());
  EXPECT_FALSE(a->browser->IsPopup());
  ASSERT_EQ(WindowChildren(wa).size(), 1u);
  ASSERT_EQ(WindowChildren(wb).size(), 1u);
  EXPECT_NE(WindowChildren(wa)[0], WindowChildren(wb)[0]);
  // The URL given at creation is loaded once the page exists.
  EXPECT_TRUE(PumpUntil([&] { return a->main_load_ends > 0 && !a->loading; }));
  EXPECT_TRUE(a->request_thread_ok);
  a->Close();
  b->Close();
  EXPECT_TRUE(a->callbacks_on_ui && b->callbacks_on_ui);
}

TEST(Browser, WindowHandleIsAnEngineWindowThatChromiumFillsAndFollows) {
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create("", 500, 300));
  unsigned long w = c->browser->GetHost()->GetWindowHandle();
  ASSERT_NE(w, 0u);
  int x, y, width, height;
  bool mapped;
  ASSERT_TRUE(WindowGeometry(w, &x, &y, &width, &height, &mapped));
  EXPECT_TRUE(mapped);
  EXPECT_EQ(width, 500);
  EXPECT_EQ(height, 300);
  std::vector<unsigned long> kids = WindowChildren(w);
  ASSERT_EQ(kids.size(), 1u) << "Chromium's window should live inside the engine's";
  g_server->Serve("/size.html", "<body style='margin:0'>size</body>");
  ASSERT_TRUE(c->Load(g_server->Url("/size.html")));
  // No tab strip or toolbar: the page gets the whole window.
  EXPECT_EQ(c->Eval("window.innerWidth + 'x' + window.innerHeight"), "500x300");

  ResizeWindow(w, 720, 410);
  ASSERT_TRUE(PumpUntil([&] {
    int cx, cy, cw, ch;
    bool m;
    return WindowGeometry(kids[0], &cx, &cy, &cw, &ch, &m) && cw == 720 && ch == 410;
  }, 5000));
  ASSERT_TRUE(PumpUntil([&] { return c->Eval("window.innerWidth + 'x' + window.innerHeight") ==
                                     "720x410"; }, 5000));

  // Lowering and an input shape act on the handle without disturbing the page.
  LowerAndShapeWindow(w);
  EXPECT_EQ(c->Eval("1+1"), "2");

  c->Close();
  EXPECT_FALSE(WindowGeometry(w, &x, &y, &width, &height, &mapped)) << "window survives close";
  EXPECT_TRUE(ProgramXErrorHandlerInPlace()) << "the engine's X work replaced it";
}

TEST_F(Fresh, LoadEventsCarryStatusFramesAndHistory) {
  g_server->Serve("/one.html", "<title>One</title><iframe src='/frame.html'></iframe>");
  g_server->Serve("/frame.html", "<p>frame</p>");
  g_server->Serve("/missing.html", "<title>gone</title>", 404);
  ASSERT_TRUE(c->Load(g_server->Url("/one.html")));
  auto log = c->Log();
  int start = IndexOf(log, "loadstart main " + g_server->Url("/one.html"));
  int sub = IndexOf(log, "loadend sub 200 " + g_server->Url("/frame.html"));
  int end = IndexOf(log, "loadend main 200 " + g_server->Url("/one.html"));
  int idle = IndexOf(log, "loading 0 back 0 fwd 0");
  EXPECT_GE(start, 0);
  EXPECT_GE(IndexOf(log, "loadstart sub " + g_server->Url("/frame.html")), 0);
  EXPECT_GT(sub, start);
  EXPECT_GT(end, start);
  EXPECT_GT(idle, end);
  EXPECT_EQ(IndexOf(log, "loading 1 back 0 fwd 0"), IndexOf(log, "loading 1"));
  EXPECT_EQ(c->title, "One");
  EXPECT_FALSE(c->browser->CanGoBack());

  // Progress runs from above 0 to exactly 1 and never goes back.
  ASSERT_FALSE(c->progress.empty());
  EXPECT_TRUE(std::is_sorted(c->progress.begin(), c->progress.end()));
  EXPECT_GE(c->progress.front(), 0.0);
  EXPECT_DOUBLE_EQ(c->progress.back(), 1.0);

  ASSERT_TRUE(c->Load(g_server->Url("/missing.html")));
  EXPECT_EQ(c->last_status, 404);
  EXPECT_TRUE(c->can_back);
  EXPECT_TRUE(c->browser->CanGoBack());
  EXPECT_FALSE(c->can_forward);

  c->ClearLog();
  ASSERT_TRUE(c->AwaitLoadEnd([&] { c->browser->GoBack(); }));
  EXPECT_TRUE(c->HasLog("address main " + g_server->Url("/one.html")));
  EXPECT_FALSE(c->can_back);
  EXPECT_TRUE(c->can_forward);
  EXPECT_TRUE(c->HasLog("loadstart main " + g_server->Url("/one.html") + " tt 1"));

  ASSERT_TRUE(c->AwaitLoadEnd([&] { c->browser->GoForward(); }));
  EXPECT_TRUE(c->can_back);
  EXPECT_FALSE(c->can_forward);

  c->ClearLog();
  ASSERT_TRUE(c->AwaitLoadEnd([&] { c->browser->Reload(); }));
  EXPECT_TRUE(c->HasLog("loadstart main " + g_server->Url("/missing.html") + " tt 8"));
}

TEST_F(Fresh, HistoryFromChromiumsCachesIsReportedLikeAFreshLoad) {
  // Cacheable pages: Chromium keeps a whole in its back/forward cache; b, with an unload
  // handler, it may not keep, so b comes back from its HTTP cache.
  for (std::string name : {"a", "b"}) {
    g_server->ServeCacheable("/kept-" + name + ".html",
                             "<title>Kept " + name + "</title><img src='/kept.png'><script>" +
                             (name == "b" ? "addEventListener('unload', () => {});" : "") +
                             "addEventListener('pageshow', e => console.log('SHOWN ' + "
                             "document.title + (e.persisted ? ' restored' : ' loaded')));"
                             "</script>");
  }
  g_server->ServeCacheable("/kept.png", "not really an image", "image/png");
  const std::string a = g_server->Url("/kept-a.html"), b = g_server->Url("/kept-b.html");
  ASSERT_TRUE(c->Load(a));
  ASSERT_TRUE(c->Load(b));
  struct Step {
    bool back;
    std::string url, title, idle;
  };
  const Step steps[] = {{true, a, "Kept a", "loading 0 back 0 fwd 1"},
                        {false, b, "Kept b", "loading 0 back 1 fwd 0"},
                        {true, a, "Kept a", "loading 0 back 0 fwd 1"},
                        {false, b, "Kept b", "loading 0 back 1 fwd 0"}};
  bool restored = false;
  for (const Step& step : steps) {
    SCOPED_TRACE((step.back ? "back to " : "forward to ") + step.url);
    c->ClearLog();
    const int ends = c->main_load_ends;
    auto go = [&] { step.back ? c->browser->GoBack() : c->browser->GoForward(); };
    ASSERT_TRUE(c->AwaitLoadEnd(go)) << ::testing::PrintToString(c->Log());
    auto log = c->Log();
    int busy = IndexOf(log, "loading 1");
    int address = IndexOf(log, "address main " + step.url);
    int start = IndexOf(log, "loadstart main " + step.url + " tt 1");
    int title = IndexOf(log, "title " + step.title);
    int end = IndexOf(log, "loadend main 200 " + step.url);
    int idle = IndexOf(log, step.idle);
    EXPECT_GE(busy, 0) << ::testing::PrintToString(log);
    EXPECT_GT(address, busy);
    EXPECT_GT(start, busy);
    EXPECT_GT(title, busy);
    EXPECT_GT(end, start);
    EXPECT_GT(end, address);
    EXPECT_GT(end, title);
    EXPECT_GT(idle, end);
    EXPECT_EQ(c->main_load_ends, ends + 1) << "one load end per page shown";
    EXPECT_EQ(IndexOf(log, "loadend main 200 " + (step.back ? b : a)), -1) << "the page left ended again";
    EXPECT_EQ(c->title, step.title);
    restored = restored || c->HasLog("SHOWN Kept a restored");
  }
  EXPECT_TRUE(restored) << "a never came from the back/forward cache";
  EXPECT_EQ(g_server->CountRequests("/kept-b.html"), 1) << "b was not served from the cache";
}

TEST(Browser, MainFrameLoadEndWaitsForASlowImage) {
  g_server->Serve("/slow.png", "not really an image", 200, "image/png", 1500);
  g_server->Serve("/slowpage.html",
                  "<img src='/slow.png' onerror=\"console.log('IMAGE DONE')\""
                  " onload=\"console.log('IMAGE DONE')\">"
                  "<script>addEventListener('load', () => console.log('LOAD EVENT'));</script>");
  // As the first address of a new browser, and loaded into one that is up.
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(g_server->Url("/slowpage.html")));
  ASSERT_TRUE(PumpUntil([&] { return c->main_load_ends > 0 && !c->loading; }));
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    auto log = c->Log();
    int image = IndexOf(log, "console 2 IMAGE DONE");
    int load = IndexOf(log, "console 2 LOAD EVENT");
    int end = IndexOf(log, "loadend main");
    ASSERT_GE(image, 0);
    EXPECT_GT(load, image);
    EXPECT_GT(end, load);
    EXPECT_EQ(log[end], "loadend main 200 " +
                            g_server->Url(round ? "/slowpage.html?again" : "/slowpage.html"));
    c->ClearLog();
    if (round == 0) {
      ASSERT_TRUE(c->Load(g_server->Url("/slowpage.html?again")));
    }
  }
  c->Close();
}

TEST_F(Fresh, LoadErrorsCarryChromiumsNumbers) {
  ASSERT_TRUE(c->Load("http://127.0.0.1:" + std::to_string(ClosedPort()) + "/"));
  EXPECT_EQ(c->last_error, -102);
  EXPECT_TRUE(c->HasLog("net::ERR_CONNECTION_REFUSED"));
  ASSERT_TRUE(c->Load("file:///nonexistent/vexor-test.html"));
  EXPECT_EQ(c->last_error, -6);
  ASSERT_TRUE(c->Load("http://vexor-test-host.invalid/"));
  EXPECT_EQ(c->last_error, -105);

  // A load replaced by another is aborted (-3).
  g_server->Serve("/slow.html", "<p>slow</p>", 200, "text/html", 3000);
  g_server->Serve("/fast.html", "<p>fast</p>");
  c->ClearLog();
  c->browser->GetMainFrame()->LoadURL(g_server->Url("/slow.html"));
  ASSERT_TRUE(PumpUntil([&] { return c->loading; }));
  ASSERT_TRUE(c->Load(g_server->Url("/fast.html")));
  EXPECT_TRUE(c->HasLog("loaderror main -3 net::ERR_ABORTED " + g_server->Url("/slow.html")));
  EXPECT_EQ(c->last_status, 200);

  // Stop ends a load that would take long.
  c->browser->GetMainFrame()->LoadURL(g_server->Url("/slow.html"));
  ASSERT_TRUE(PumpUntil([&] { return c->loading; }));
  c->browser->StopLoad();
  EXPECT_TRUE(PumpUntil([&] { return !c->loading; }, 2500));
}

TEST_F(Fresh, AddressTitleAndConsoleFollowThePage) {
  g_server->Serve("/doc.html", "<title>First</title><p>doc</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/doc.html")));
  c->ClearLog();
  c->browser->GetMainFrame()->ExecuteJavaScript(
      "history.pushState({}, '', '/doc.html#part2');\n"
      "document.title = 'Second';\n"
      "console.warn('careful', 42);",
      "http://script.test/run.js", 1);
  ASSERT_TRUE(c->WaitForLog("console 3 careful 42"));
  ASSERT_TRUE(c->WaitForLog("title Second"));
  EXPECT_TRUE(c->WaitForLog("address main " + g_server->Url("/doc.html#part2")));
  EXPECT_TRUE(c->HasLog("@http://script.test/run.js:3"));
  EXPECT_TRUE(PumpUntil([&] { return c->can_back; }));
  EXPECT_EQ(c->browser->GetMainFrame()->GetURL().ToString(), g_server->Url("/doc.html#part2"));

  // A title set from a timer, long after the load, is still seen.
  c->browser->GetMainFrame()->ExecuteJavaScript("setTimeout(() => document.title = 'Third', 50)",
                                                "", 0);
  EXPECT_TRUE(c->WaitForLog("title Third"));
}

TEST_F(Fresh, CancelFailsARequestAndSetUrlServesAnother) {
  g_server->Serve("/page.html",
                  "<script>fetch('/blocked.txt').then(()=>console.log('BLOCKED-LOADED'),"
                  "()=>console.log('BLOCKED-FAILED'));"
                  "fetch('/old.txt').then(r=>r.text()).then(t=>console.log('GOT:'+t))</script>");
  g_server->Serve("/blocked.txt", "no", 200, "text/plain");
  g_server->Serve("/old.txt", "old", 200, "text/plain");
  g_server->Serve("/new.txt", "new", 200, "text/plain");
  std::string newUrl = g_server->Url("/new.txt");
  c->on_request = [newUrl](CefRefPtr<CefRequest> r) {
    std::string u = r->GetURL().ToString();
    if (u.find("/blocked.txt") != std::string::npos) return RV_CANCEL;
    if (u.find("/old.txt") != std::string::npos) r->SetURL(newUrl);
    return RV_CONTINUE;
  };
  ASSERT_TRUE(c->Load(g_server->Url("/page.html")));
  EXPECT_TRUE(c->WaitForLog("BLOCKED-FAILED"));
  EXPECT_TRUE(c->WaitForLog("GOT:new"));
  EXPECT_EQ(g_server->CountRequests("/blocked.txt"), 0);
  EXPECT_EQ(g_server->CountRequests("/old.txt"), 0);

  // A cancelled main document is a load error -20.
  c->on_request = [](CefRefPtr<CefRequest> r) {
    return r->GetResourceType() == RT_MAIN_FRAME ? RV_CANCEL : RV_CONTINUE;
  };
  ASSERT_TRUE(c->Load(g_server->Url("/page.html")));
  EXPECT_EQ(c->last_error, -20);
}

TEST_F(Fresh, ARewrittenPageLoadsAtItsNewAddressAndItsRequestComesBack) {
  // A page that shows the address it got, over HTTP and as a local file.
  const std::string page = "<script>document.title = 'got ' + location.search</script>";
  g_server->Serve("/asked.html", page);
  char dir[] = "/tmp/vexor-cef-rewrite-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  const std::string file = std::string(dir) + "/asked.html";
  std::ofstream(file) << page;
  // Only a request without a query is rewritten, as the returning one has one.
  c->on_request = [](CefRefPtr<CefRequest> r) {
    std::string u = r->GetURL().ToString();
    if (u.find("/asked.html") != std::string::npos && u.find('?') == std::string::npos)
      r->SetURL(u + "?day=true");
    return RV_CONTINUE;
  };
  for (const std::string& url : {g_server->Url("/asked.html"), "file://" + file}) {
    SCOPED_TRACE(url);
    c->ClearLog();
    ASSERT_TRUE(c->Load(url));
    EXPECT_EQ(c->title, "got ?day=true");
    EXPECT_TRUE(c->HasLog("address main " + url + "?day=true")) << ::testing::PrintToString(c->Log());
    EXPECT_TRUE(c->HasLog("loadend main")) << ::testing::PrintToString(c->Log());
    std::vector<std::string> asked;
    for (auto& r : c->AskedRequests())
      if (r.first.find("/asked.html") != std::string::npos) asked.push_back(r.first);
    EXPECT_EQ(asked, (std::vector<std::string>{url, url + "?day=true"}));
  }
  EXPECT_EQ(g_server->CountRequests("/asked.html"), 1);
  EXPECT_EQ(g_server->CountRequests("/asked.html?day=true"), 1);
  unlink(file.c_str());
  rmdir(dir);
}

TEST_F(Fresh, AsyncContinueHoldsTheRequestUntilAnsweredFromAnotherThread) {
  g_server->Serve("/held.html", "<title>held</title>");
  std::mutex m;
  CefRefPtr<CefRequestCallback> held;
  c->on_request_async = [&](CefRefPtr<CefRequest> r, CefRefPtr<CefRequestCallback> cb) {
    if (r->GetURL().ToString().find("/held.html") == std::string::npos) return RV_CONTINUE;
    std::lock_guard<std::mutex> l(m);
    held = cb;
    return RV_CONTINUE_ASYNC;
  };
  c->browser->GetMainFrame()->LoadURL(g_server->Url("/held.html"));
  ASSERT_TRUE(PumpUntil([&] { std::lock_guard<std::mutex> l(m); return held != nullptr; }));
  PumpFor(300);
  EXPECT_EQ(g_server->CountRequests("/held.html"), 0);
  EXPECT_EQ(c->main_load_ends, 0);
  std::thread([&] {
    std::lock_guard<std::mutex> l(m);
    held->Continue(true);
  }).join();
  ASSERT_TRUE(PumpUntil([&] { return c->main_load_ends > 0 && !c->loading; }));
  EXPECT_EQ(c->title, "held");
  c->on_request_async = nullptr;
}

TEST(Requests, AHandlerIsAskedAboutEveryRequestOfEveryFrameOrOnlyThoseItNamesAndRefuses) {
  // Of every frame, the cross-site one in a renderer of its own included: images, a script,
  // a fetch and media; some of them under the refusable folder, of this host only.
  const std::string cross = "http://localhost:" + std::to_string(g_server->port());
  g_server->Serve("/mixed.html",
                  "<img src='/plain.png'><img src='/refusable/a.png'>"
                  "<script src='/plain.js'></script><iframe src='/mixed-frame.html'></iframe>"
                  "<iframe src='" + cross + "/mixed-cross.html'></iframe>"
                  "<video src='/clip.webm' preload=auto></video>"
                  "<script>fetch('/refusable/data.txt').then(() => console.log('FETCH:loaded'),"
                  " () => console.log('FETCH:refused'))</script>");
  g_server->Serve("/mixed-frame.html", "<img src='/refusable/b.png'><img src='/frame.png'>");
  g_server->Serve("/mixed-cross.html", "<img src='/cross.png'><img src='/refusable/c.png'>"
                                       "<link rel=stylesheet href='/c.css'>");
  g_server->Serve("/c.css", "p{}", 200, "text/css");
  g_server->Serve("/plain.js", "var plain = 1;", 200, "text/javascript");
  g_server->Serve("/refusable/data.txt", "data", 200, "text/plain");
  g_server->Serve("/clip.webm", std::string(4096, 'x'), 200, "video/webm");
  const std::string refusable = g_server->Url("/refusable/");
  const std::set<std::string> everything = {
      g_server->Url("/mixed.html"),       g_server->Url("/plain.png"),
      refusable + "a.png",                g_server->Url("/plain.js"),
      g_server->Url("/mixed-frame.html"), refusable + "b.png",
      g_server->Url("/frame.png"),        cross + "/mixed-cross.html",
      cross + "/cross.png",               cross + "/refusable/c.png",
      cross + "/c.css",                   g_server->Url("/clip.webm"),
      refusable + "data.txt"};
  auto asked = [](CefRefPtr<TestClient> c) {
    std::set<std::string> urls;
    for (auto& r : c->AskedRequests()) urls.insert(r.first);
    return urls;
  };
  auto asked_all = [&](CefRefPtr<TestClient> c, const std::set<std::string>& expected) {
    return PumpUntil([&] {
      std::set<std::string> seen = asked(c);
      return std::includes(seen.begin(), seen.end(), expected.begin(), expected.end());
    });
  };

  // One that names nothing is asked about every request, on the I/O thread, with its type.
  CefRefPtr<TestClient> all = new TestClient;
  ASSERT_TRUE(all->Create(""));
  ASSERT_TRUE(all->Load(g_server->Url("/mixed.html")));
  EXPECT_TRUE(asked_all(all, everything)) << ::testing::PrintToString(asked(all));
  EXPECT_TRUE(all->WaitForLog("FETCH:loaded"));
  std::map<std::string, int> types;
  for (auto& r : all->AskedRequests()) types[r.first] = r.second;
  EXPECT_EQ(types[g_server->Url("/mixed.html")], RT_MAIN_FRAME);
  EXPECT_EQ(types[g_server->Url("/plain.png")], RT_IMAGE);
  EXPECT_EQ(types[g_server->Url("/plain.js")], RT_SCRIPT);
  EXPECT_EQ(types[g_server->Url("/mixed-frame.html")], RT_SUB_FRAME);
  EXPECT_EQ(types[cross + "/mixed-cross.html"], RT_SUB_FRAME);
  EXPECT_EQ(types[cross + "/cross.png"], RT_IMAGE);
  EXPECT_EQ(types[cross + "/c.css"], RT_STYLESHEET);
  EXPECT_EQ(types[g_server->Url("/clip.webm")], RT_MEDIA);
  EXPECT_TRUE(all->request_thread_ok);
  all->Close();

  // One that names a folder and media is asked about those alone, and refuses them.
  CefRefPtr<TestClient> named = new TestClient;
  named->refusable = CefRefusableRequests{{refusable}, {RT_MEDIA}};
  named->on_request = [](CefRefPtr<CefRequest>) { return RV_CANCEL; };
  ASSERT_TRUE(named->Create(""));
  const int served = static_cast<int>(g_server->Requests().size());
  named->browser->GetMainFrame()->LoadURL(g_server->Url("/mixed.html"));
  const std::set<std::string> held = {refusable + "a.png", refusable + "b.png",
                                      refusable + "data.txt", g_server->Url("/clip.webm")};
  EXPECT_TRUE(asked_all(named, held)) << ::testing::PrintToString(asked(named));
  EXPECT_TRUE(named->WaitForLog("FETCH:refused"));
  ASSERT_TRUE(PumpUntil([&] { return g_server->CountRequests("/refusable/c.png") == 2; }));
  PumpFor(500);
  EXPECT_EQ(asked(named), held);
  std::vector<std::string> fetched = g_server->Requests();
  fetched.erase(fetched.begin(), fetched.begin() + served);
  // Chromium asks for the favicon whenever it likes.
  fetched.erase(std::remove(fetched.begin(), fetched.end(), "/favicon.ico"), fetched.end());
  std::sort(fetched.begin(), fetched.end());
  EXPECT_EQ(fetched, (std::vector<std::string>{"/c.css", "/cross.png", "/frame.png",
                                               "/mixed-cross.html", "/mixed-frame.html",
                                               "/mixed.html", "/plain.js", "/plain.png",
                                               "/refusable/c.png"}));
  EXPECT_TRUE(named->request_thread_ok);

  // The page script's dialogs still wait for the client.
  named->on_dialog = [](JSDialogType, const std::string&, CefRefPtr<CefJSDialogCallback> cb) {
    cb->Continue(true, "typed");
    return true;
  };
  EXPECT_EQ(named->Eval("prompt('name?')"), "typed");
  // Chromium's own pages are screened before they load only when named.
  ASSERT_TRUE(named->Load("chrome://version/"));
  EXPECT_EQ(named->browser->GetMainFrame()->GetURL().ToString(), "chrome://version/");
  EXPECT_EQ(asked(named), held);
  named->Close();
}

TEST_F(Fresh, ThePdfViewersOwnRequestsReachTheHandler) {
  std::string pdf = "%PDF-1.4\n";
  std::vector<size_t> offsets;
  const char* objects[] = {
      "1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj\n",
      "2 0 obj << /Type /Pages /Kids [3 0 R] /Count 1 >> endobj\n",
      "3 0 obj << /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] >> endobj\n"};
  for (const char* o : objects) {
    offsets.push_back(pdf.size());
    pdf += o;
  }
  size_t xref = pdf.size();
  pdf += "xref\n0 4\n0000000000 65535 f \n";
  for (size_t off : offsets) {
    char line[32];
    snprintf(line, sizeof line, "%010zu 00000 n \n", off);
    pdf += line;
  }
  pdf += "trailer << /Size 4 /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
  g_server->Serve("/doc.pdf", pdf, 200, "application/pdf");
  ASSERT_TRUE(c->Load(g_server->Url("/doc.pdf")));
  auto viewer = [&] {
    for (auto& r : c->AskedRequests())
      if (r.first.compare(0, 19, "chrome-extension://") == 0) return true;
    return false;
  };
  EXPECT_TRUE(PumpUntil(viewer, 10000)) << ::testing::PrintToString(c->AskedRequests());
}

TEST_F(Fresh, PagesChromiumServesItselfReachTheHandlerAsDocumentsBeforeTheyLoad) {
  // Its internal pages, and an extension's.
  const std::string internal = "chrome://version/";
  const std::string extension = "chrome-extension://mhjfbmdgcfjbbpaeojofohoefgiehjai/";
  const std::string allowed = extension + "index.html";
  std::atomic<bool> refuse_internal{true};
  c->on_request = [&](CefRefPtr<CefRequest> r) {
    std::string u = r->GetURL().ToString();
    const bool refused = (u.compare(0, extension.size(), extension) == 0 && u != allowed) ||
                         (refuse_internal && u.compare(0, 9, "chrome://") == 0);
    return refused ? RV_CANCEL : RV_CONTINUE;
  };
  auto asked = [&] {
    std::vector<std::string> documents;
    std::lock_guard<std::mutex> l(c->mutex);
    for (auto& r : c->requests)
      if (r.second == RT_MAIN_FRAME) documents.push_back(r.first);
    c->requests.clear();
    return documents;
  };
  const std::string start = g_server->Url("/start.html");
  g_server->Serve("/start.html", "<title>start</title>");
  for (const std::string& refused : {internal, extension + "other.html", allowed + "?page=2"}) {
    SCOPED_TRACE(refused);
    ASSERT_TRUE(c->Load(start));
    asked();
    int errors = c->main_load_errors;
    ASSERT_TRUE(c->Load(refused));
    EXPECT_EQ(asked(), std::vector<std::string>{refused});
    EXPECT_GT(c->main_load_errors, errors);
    EXPECT_EQ(c->last_error, -20);
    PumpFor(300);
    EXPECT_EQ(c->Eval("location.href"), start);
  }

  // The allowed page loads, asked once; going back to it asks again.
  asked();
  ASSERT_TRUE(c->Load(allowed));
  EXPECT_EQ(asked(), std::vector<std::string>{allowed});
  EXPECT_EQ(c->browser->GetMainFrame()->GetURL().ToString(), allowed);
  ASSERT_TRUE(c->Load(start));
  asked();
  ASSERT_TRUE(c->AwaitLoadEnd([&] { c->browser->GoBack(); }));
  EXPECT_EQ(asked(), std::vector<std::string>{allowed});

  // Reloading an allowed one asks again, and so does going back to it.
  refuse_internal = false;
  ASSERT_TRUE(c->Load(internal));
  EXPECT_EQ(c->browser->GetMainFrame()->GetURL().ToString(), internal);
  refuse_internal = true;
  int errors = c->main_load_errors;
  c->browser->Reload();
  ASSERT_TRUE(PumpUntil([&] { return c->main_load_errors > errors; }, 5000));
  EXPECT_EQ(c->last_error, -20);
  ASSERT_TRUE(c->Load(start));
  asked();
  errors = c->main_load_errors;
  c->browser->GoBack();
  ASSERT_TRUE(PumpUntil([&] { return c->main_load_errors > errors; }, 5000));
  EXPECT_EQ(c->last_error, -20);
  const auto documents = asked();
  EXPECT_NE(std::find(documents.begin(), documents.end(), internal), documents.end());
  PumpFor(500);
  EXPECT_EQ(c->Eval("location.href"), start);
  c->on_request = nullptr;
}

TEST_F(Fresh, TitleAndAddressFollowHistoryBothWays) {
  // Pages Chromium keeps whole in its back/forward cache, of one site or two (each in a
  // renderer of its own), pages it must fetch again, and local files.
  g_server->ServeCacheable("/kept-first.html", "<title>First</title><p>first</p>");
  g_server->ServeCacheable("/kept-second.html", "<title>Second</title><p>second</p>");
  g_server->Serve("/fresh-first.html", "<title>First</title><p>first</p>");
  g_server->Serve("/fresh-second.html", "<title>Second</title><p>second</p>");
  char dir[] = "/tmp/vexor-cef-history-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  std::ofstream(std::string(dir) + "/first.html") << "<title>First</title><p>first</p>";
  std::ofstream(std::string(dir) + "/second.html") << "<title>Second</title><p>second</p>";
  const std::pair<std::string, std::string> pairs[] = {
      {g_server->Url("/kept-first.html"), g_server->Url("/kept-second.html")},
      {g_server->Url("/kept-first.html"),
       "http://localhost:" + std::to_string(g_server->port()) + "/kept-second.html"},
      {g_server->Url("/fresh-first.html"), g_server->Url("/fresh-second.html")},
      {"file://" + std::string(dir) + "/first.html", "file://" + std::string(dir) + "/second.html"}};
  auto last_address = [&] {
    std::string address;
    for (const std::string& line : c->Log())
      if (line.compare(0, 13, "address main ") == 0) address = line.substr(13);
    return address;
  };
  for (const auto& pair : pairs) {
    SCOPED_TRACE(pair.first);
    ASSERT_TRUE(c->Load(pair.first));
    ASSERT_TRUE(c->Load(pair.second));
    ASSERT_EQ(c->title, "Second");
    for (int round = 0; round < 2; ++round) {
      ASSERT_TRUE(c->AwaitLoadEnd([&] { c->browser->GoBack(); }));
      EXPECT_TRUE(PumpUntil([&] { return c->title == "First"; }, 5000)) << c->title;
      EXPECT_EQ(last_address(), pair.first);
      ASSERT_TRUE(c->AwaitLoadEnd([&] { c->browser->GoForward(); }));
      EXPECT_TRUE(PumpUntil([&] { return c->title == "Second"; }, 5000)) << c->title;
      EXPECT_EQ(last_address(), pair.second);
    }
  }
  unlink((std::string(dir) + "/first.html").c_str());
  unlink((std::string(dir) + "/second.html").c_str());
  rmdir(dir);
}

TEST(Browser, OnBeforeBrowseStopsALoadAndAHistoryNavigationBeforeTheyCommit) {
  // Slow enough to be stopped for sure, and never kept in a cache.
  g_server->Serve("/long-ago.html", "<title>long ago</title>", 200, "text/html", 1500);
  g_server->Serve("/now.html", "<title>now</title>");
  g_server->Serve("/forbidden.html", "<title>forbidden</title>");
  CefRefPtr<Stopper> c = new Stopper;
  ASSERT_TRUE(c->Create(""));
  ASSERT_TRUE(c->Load(g_server->Url("/long-ago.html")));
  ASSERT_TRUE(c->Load(g_server->Url("/now.html")));
  c->refused = "forbidden";
  c->browser->GetMainFrame()->LoadURL(g_server->Url("/forbidden.html"));
  PumpFor(800);
  EXPECT_EQ(c->Eval("document.title"), "now");

  // Going back ends loading without a load end.
  c->refused = "long-ago";
  c->ClearLog();
  c->browser->GoBack();
  ASSERT_TRUE(c->WaitForLog("loading 1"));
  ASSERT_TRUE(PumpUntil([&] { return !c->loading; })) << ::testing::PrintToString(c->Log());
  EXPECT_FALSE(c->HasLog("loadend")) << ::testing::PrintToString(c->Log());
  EXPECT_EQ(c->Eval("document.title"), "now");
  EXPECT_TRUE(c->can_back);
  EXPECT_FALSE(c->can_forward);
  c->Close();
}

TEST(Closing, ForcedCloseAsksDoCloseThenCloses) {
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(""));
  c->browser->GetHost()->CloseBrowser(true);
  ASSERT_TRUE(PumpUntil([&] { return c->before_close; }));
  auto log = c->Log();
  int doclose = IndexOf(log, "doclose allowed");
  int before = IndexOf(log, "beforeclose");
  EXPECT_GE(doclose, 0);
  EXPECT_GT(before, doclose);
  EXPECT_EQ(c->browser->GetHost()->GetWindowHandle(), 0u);
  EXPECT_FALSE(c->browser->GetMainFrame()->IsValid());
}

TEST(Closing, WindowCloseFromThePageAsksDoCloseAndCanBeRefused) {
  CefRefPtr<TestClient> c = new TestClient;
  ASSERT_TRUE(c->Create(""));
  g_server->Serve("/closer.html", "<p>closer</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/closer.html")));
  c->refuse_close = true;
  c->browser->GetMainFrame()->ExecuteJavaScript("window.close()", "", 0);
  ASSERT_TRUE(c->WaitForLog("doclose refused"));
  PumpFor(200);
  EXPECT_FALSE(c->before_close);
  EXPECT_EQ(c->Eval("document.body.textContent"), "closer");
  c->refuse_close = false;
  c->browser->GetMainFrame()->ExecuteJavaScript("window.close()", "", 0);
  ASSERT_TRUE(PumpUntil([&] { return c->before_close; }));
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  HttpServer server;
  g_server = &server;
  g_app = new App;
  return RunTestsOnEngine(g_app.get());
}
