// Popups, dialogs, input, the page-side script, renderer crashes and context menus.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <thread>

#include "include/cef_app.h"
#include "include/wrapper/cef_message_router.h"
#include "test_support.h"

using namespace testing_support;

namespace {

HttpServer* g_server = nullptr;

}  // namespace

TEST_F(Fresh, PopupsAreOfferedFirstVanishWhenCancelledAndBecomeBrowsersWhenAllowed) {
  g_server->Serve("/opener.html",
                  "<button id=b style='position:absolute;left:0;top:0;width:200px;height:100px'"
                  " onclick=\"var w = window.open('/popup.html?click', '_blank');"
                  " console.log('AFTER-CLICK-OPEN ' + (w === null || w.closed))\">open</button>"
                  "<a href='/popup.html?link' target=_blank style='position:absolute;left:0;"
                  "top:150px;font-size:40px'>link</a>");
  g_server->Serve("/popup.html", "<title>popup</title>");
  int requests_at_offer = -1;
  c->on_popup = [&](const std::string&) {
    requests_at_offer = g_server->CountRequests("/popup.html");
    return true;
  };
  ASSERT_TRUE(c->Load(g_server->Url("/opener.html")));
  int chromium = ChromiumPidOf(c->browser->GetHost()->GetWindowHandle());
  ASSERT_GT(chromium, 0);
  EXPECT_EQ(CountTopLevelsOf(chromium), 0);
  c->browser->GetMainFrame()->ExecuteJavaScript(
      "var w = window.open('/popup.html?script'); console.log('AFTER-OPEN')", "", 0);
  ASSERT_TRUE(c->WaitForLog("popup " + g_server->Url("/popup.html?script")));
  EXPECT_EQ(requests_at_offer, 0);
  EXPECT_TRUE(c->WaitForLog("AFTER-OPEN"));
  Click(c->browser, 50, 50);
  ASSERT_TRUE(c->WaitForLog("popup " + g_server->Url("/popup.html?click")));
  EXPECT_TRUE(c->WaitForLog("AFTER-CLICK-OPEN true"));
  Click(c->browser, 10, 170);
  ASSERT_TRUE(c->WaitForLog("popup " + g_server->Url("/popup.html?link")));
  PumpFor(500);
  EXPECT_EQ(CountTopLevelsOf(chromium), 0) << "a popup window appeared";
  EXPECT_EQ(g_server->CountRequests("/popup.html"), 0)
      << ::testing::PrintToString(g_server->Requests());
  EXPECT_EQ(c->Eval("document.readyState"), "complete");

  // Allowed, it becomes a browser of its own.
  c->on_popup = [](const std::string&) { return false; };
  c->browser->GetMainFrame()->ExecuteJavaScript("window.open('/popup.html?allowed')", "", 0);
  ASSERT_TRUE(PumpUntil([&] {
    for (auto& l : c->Log())
      if (l.compare(0, 8, "created ") == 0 && l.size() > 6 && l.substr(l.size() - 6) == " popup")
        return true;
    return false;
  }));
  EXPECT_TRUE(PumpUntil([&] { return g_server->CountRequests("/popup.html?allowed") > 0; }));
}

TEST_F(Fresh, NavigatingAwayResetsAnOpenDialog) {
  g_server->Serve("/d1.html", "<p>d1</p>");
  g_server->Serve("/d2.html", "<p>d2</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/d1.html")));
  CefRefPtr<CefJSDialogCallback> pending;
  c->on_dialog = [&](JSDialogType, const std::string&, CefRefPtr<CefJSDialogCallback> cb) {
    pending = cb;
    return true;
  };
  c->browser->GetMainFrame()->ExecuteJavaScript("alert('stuck')", "", 0);
  ASSERT_TRUE(c->WaitForLog("dialog 0 stuck"));
  ASSERT_TRUE(c->Load(g_server->Url("/d2.html")));
  EXPECT_TRUE(c->WaitForLog("resetdialog"));
  EXPECT_EQ(c->Eval("document.body.textContent"), "d2");
  pending->Continue(true, CefString());  // late answer: harmless
  EXPECT_EQ(c->Eval("1+2"), "3");

  // Closing the browser resets an open dialog before it goes.
  c->ClearLog();
  c->browser->GetMainFrame()->ExecuteJavaScript("alert('closing')", "", 0);
  ASSERT_TRUE(c->WaitForLog("dialog 0 closing"));
  c->Close();
  auto log = c->Log();
  auto reset = std::find(log.begin(), log.end(), "resetdialog");
  auto gone = std::find(log.begin(), log.end(), "beforeclose");
  EXPECT_TRUE(reset != log.end() && gone != log.end() && reset < gone);
}

TEST_F(Fresh, BeforeUnloadAsksAndCanKeepThePage) {
  g_server->Serve("/stay.html",
                  "<body style='height:500px' onbeforeunload='return \"leave?\"'>stay</body>");
  g_server->Serve("/next.html", "<p>next</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/stay.html")));
  Click(c->browser, 20, 20);  // beforeunload needs a user gesture
  PumpFor(200);
  c->on_unload_dialog = [](CefRefPtr<CefJSDialogCallback> cb) {
    cb->Continue(false, CefString());
    return true;
  };
  c->browser->GetMainFrame()->LoadURL(g_server->Url("/next.html"));
  ASSERT_TRUE(c->WaitForLog("unloaddialog"));
  PumpFor(500);
  EXPECT_EQ(c->Eval("document.body.textContent"), "stay");
  c->on_unload_dialog = nullptr;  // default: leave
  ASSERT_TRUE(c->Load(g_server->Url("/next.html")));
  EXPECT_EQ(c->Eval("document.body.textContent"), "next");
}

TEST_F(Fresh, OnlyTheClientShowsADialogWhichBlocksTheScriptUntilAnswered) {
  // A page of one colour: a dialog of Chromium's own would show in the window, and Chromium
  // dims the page behind one.
  // Its frame, of another site, runs in a renderer of its own.
  const std::string teal = "style='margin:0;background:rgb(0,128,128)'";
  g_server->Serve("/plain.html", "<title>plain</title><body " + teal +
                                     "><iframe style='border:0' src='http://localhost:" +
                                     std::to_string(g_server->port()) + "/inner.html'></iframe>");
  g_server->Serve("/inner.html", "<body " + teal +
                                     "><script>onmessage = () => console.log('FRAME:' + "
                                     "confirm('from the frame?'))</script>");
  ASSERT_TRUE(c->Load(g_server->Url("/plain.html")));
  const unsigned long window = c->browser->GetHost()->GetWindowHandle();
  auto plain = [&] { return PixelsNotOfColour(window, 0x008080) == 0; };
  ASSERT_TRUE(PumpUntil(plain)) << "the page never showed";
  CefRefPtr<CefJSDialogCallback> pending;
  c->on_dialog = [&](JSDialogType, const std::string&, CefRefPtr<CefJSDialogCallback> cb) {
    pending = cb;
    return true;
  };
  c->browser->GetMainFrame()->ExecuteJavaScript(
      "setTimeout(function () {"
      "  alert('note');"
      "  console.log('CONFIRM:' + confirm('sure?'));"
      "  console.log('CONFIRM:' + confirm('really?'));"
      "  console.log('PROMPT:' + prompt('name?', 'def'));"
      "  console.log('PROMPT:' + prompt('again?'));"
      "  frames[0].postMessage('ask', '*');"
      "}, 0)",
      "", 0);
  const struct {
    const char* asked;
    bool accept;
    const char* typed;
    const char* seen;
  } steps[] = {{"dialog 0 note []", true, "", "dialog 1 sure? []"},
               {"dialog 1 sure? []", true, "", "CONFIRM:true"},
               {"dialog 1 really? []", false, "", "CONFIRM:false"},
               {"dialog 2 name? [def]", true, "typed \xE2\x9C\x93", "PROMPT:typed \xE2\x9C\x93"},
               {"dialog 2 again? []", false, "ignored", "PROMPT:null"},
               {"dialog 1 from the frame? []", true, "", "FRAME:true"}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.asked);
    ASSERT_TRUE(c->WaitForLog(step.asked));
    // Chromium would draw its own within a frame or two of the question.
    EXPECT_FALSE(PumpUntil([&] { return !plain(); }, 1000)) << "Chromium drew a dialog of its own";
    EXPECT_FALSE(c->HasLog(step.seen)) << "the script ran on before the answer";
    CefRefPtr<CefJSDialogCallback> answer = pending;
    pending = nullptr;
    std::thread([&] { answer->Continue(step.accept, step.typed); }).join();
    ASSERT_TRUE(c->WaitForLog(step.seen));
  }
  EXPECT_TRUE(c->HasLog("dialogclosed"));

  // Not handled: an alert is acknowledged, a confirm cancelled.
  c->on_dialog = nullptr;
  c->browser->GetMainFrame()->ExecuteJavaScript(
      "alert('x'); console.log('DEFAULT-CONFIRM:' + confirm('y'))", "", 0);
  EXPECT_TRUE(c->WaitForLog("DEFAULT-CONFIRM:false"));
}

TEST_F(Fresh, APageThatForbidsTheEnginesRequestStillAsksTheClient) {
  g_server->Serve("/strict.html",
                  "<meta http-equiv='Content-Security-Policy' content=\"connect-src 'none'\">"
                  "<p>strict</p>");
  ASSERT_TRUE(c->Load(g_server->Url("/strict.html")));
  c->on_dialog = [](JSDialogType, const std::string&, CefRefPtr<CefJSDialogCallback> cb) {
    cb->Continue(true, "typed");
    return true;
  };
  c->browser->GetMainFrame()->ExecuteJavaScript(
      "console.log('STRICT:' + confirm('sure?') + ' ' + prompt('name?'))", "", 0);
  EXPECT_TRUE(c->WaitForLog("STRICT:true typed"));
  EXPECT_TRUE(c->HasLog("dialog 1 sure? []"));
  EXPECT_TRUE(c->HasLog("dialog 2 name? []"));
}

TEST_F(Fresh, KeysTypeIntoThePageWithDomKeysAndCodesAndFocusInFieldsIsReported) {
  g_server->Serve("/keys.html",
                  "<form onsubmit=\"console.log('SUBMIT:' + a.value); return false\">"
                  "<input id=a style='position:absolute;left:0;top:0;width:300px;height:40px'>"
                  "<input id=b style='position:absolute;left:0;top:60px;width:300px'>"
                  "<button style='position:absolute;left:0;top:120px'>go</button></form>"
                  "<script>addEventListener('keydown', e => console.log('KD ' + e.key + ' ' +"
                  " e.code + ' ' + e.shiftKey), true);</script>");
  ASSERT_TRUE(c->Load(g_server->Url("/keys.html")));
  c->ClearLog();
  Click(c->browser, 10, 10);
  ASSERT_TRUE(PumpUntil([&] { return c->Eval("document.activeElement.id") == "a"; }, 5000));
  EXPECT_TRUE(c->WaitForLog("message renderer.focused_node_changed true"));
  TypeText(c->browser, u"aB7");
  ASSERT_TRUE(c->WaitForLog("KD a KeyA false"));
  EXPECT_TRUE(c->WaitForLog("KD B KeyB true"));
  EXPECT_TRUE(c->WaitForLog("KD 7 Digit7 false"));
  PressKey(c->browser, 8, 8);  // Backspace
  EXPECT_TRUE(c->WaitForLog("KD Backspace Backspace false"));
  // A character outside the BMP arrives as two units and lands as one.
  TypeText(c->browser, u"\U0001F600é");
  ASSERT_TRUE(PumpUntil([&] { return c->Eval("a.value") == "aB\U0001F600é"; }, 5000))
      << c->Eval("a.value");
  PressKey(c->browser, 13, 13);  // Return submits
  EXPECT_TRUE(c->WaitForLog("SUBMIT:aB\U0001F600é"));
  PressKey(c->browser, 9, 9);  // Tab moves on
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("document.activeElement.id") == "b"; }, 5000));
  TypeText(c->browser, u"z");
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("b.value") == "z"; }, 5000));
  // A key the keyboard handler takes never reaches the page.
  int seen = c->pre_key_events;
  c->swallow_key = 'Q';
  TypeText(c->browser, u"qy");
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("b.value") == "zy"; }, 5000)) << c->Eval("b.value");
  EXPECT_EQ(c->pre_key_events, seen + 6);
  // Out of the fields, onto the page.
  Click(c->browser, 10, 300);
  EXPECT_TRUE(c->WaitForLog("message renderer.focused_node_changed false"));
}

TEST_F(Fresh, MouseWheelAndFocusReachThePage) {
  g_server->Serve("/mouse.html",
                  "<body style='height:5000px;margin:0'>"
                  "<div id=t style='position:absolute;left:100px;top:100px;width:50px;"
                  "height:50px;background:#eee'></div><script>"
                  "addEventListener('click', e => console.log('CLICK ' + e.button + ' ' +"
                  " e.target.id + ' ' + e.detail), true);"
                  "addEventListener('mousemove', e => window.moved = e.clientX + ',' + e.clientY);"
                  "</script></body>");
  ASSERT_TRUE(c->Load(g_server->Url("/mouse.html")));
  Click(c->browser, 120, 120);
  EXPECT_TRUE(c->WaitForLog("CLICK 0 t 1"));
  CefMouseEvent e;
  e.x = 130;
  e.y = 140;
  c->browser->GetHost()->SendMouseMoveEvent(e, false);
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("window.moved") == "130,140"; }, 5000));
  e.x = 300;
  e.y = 300;
  c->browser->GetHost()->SendMouseWheelEvent(e, 0, -240);  // towards the user: down
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("window.scrollY > 0") == "true"; }, 5000));
  c->browser->GetHost()->SendMouseWheelEvent(e, 0, 0);  // nothing to do
  c->browser->GetHost()->SendFocusEvent(true);
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("document.hasFocus()") == "true"; }, 5000));
  c->browser->GetHost()->SendFocusEvent(false);
  EXPECT_TRUE(PumpUntil([&] { return c->Eval("document.hasFocus()") == "false"; }, 5000));
}

TEST_F(Fresh, TheFirstTapRightAfterALoadReachesThePageOnce) {
  // Nothing contentful is painted here: Chromium would hold the old picture, and the
  // input with it, for a while after the load.
  g_server->Serve("/count.html",
                  "<body style='margin:0'><div style='width:400px;height:400px;"
                  "background:#ddd'></div><script>window.downs = 0; window.clicks = 0;"
                  "addEventListener('mousedown', () => ++downs);"
                  "addEventListener('click', () => ++clicks);</script></body>");
  // From the blank start page, then a same-origin page to the next.
  for (const char* query : {"?first", "?second"}) {
    SCOPED_TRACE(query);
    int ends = c->main_load_ends;
    c->browser->GetMainFrame()->LoadURL(g_server->Url(std::string("/count.html") + query));
    ASSERT_TRUE(PumpUntil([&] { return c->main_load_ends > ends; }));
    Click(c->browser, 120, 120);
    EXPECT_TRUE(PumpUntil([&] { return c->Eval("clicks", 2000) == "1"; }, 10000));
    EXPECT_EQ(c->Eval("downs + ',' + clicks"), "1,1");
  }
}

TEST_F(Fresh, RouterQueriesAnswerTheFrameThatAsked) {
  QueryHandler h;
  InstallRouter(c, &h);
  std::string cross = "http://localhost:" + std::to_string(g_server->port());
  g_server->Serve("/router.html",
                  "<script>function ask(r) { return vexorQuery({request: r,"
                  " onSuccess: v => console.log('OK ' + v),"
                  " onFailure: (c, m) => console.log('FAIL ' + c + ' ' + m)}); }</script>"
                  "<iframe src='" + cross + "/rframe.html'></iframe>");
  g_server->Serve("/rframe.html",
                  "<script>vexorQuery({request: 'ping', onSuccess: v =>"
                  " console.log('FRAME-OK ' + v)});</script>");
  ASSERT_TRUE(c->Load(g_server->Url("/router.html")));
  EXPECT_TRUE(c->WaitForLog("FRAME-OK pong:" + cross + "/rframe.html"));
  c->browser->GetMainFrame()->ExecuteJavaScript("ask('ping'); ask('unknown')", "", 0);
  EXPECT_TRUE(c->WaitForLog("OK pong:" + g_server->Url("/router.html")));
  EXPECT_TRUE(c->WaitForLog("FAIL -1"));

  // The page cancels a query the handler is holding.
  c->browser->GetMainFrame()->ExecuteJavaScript("window.q = ask('hold')", "", 0);
  ASSERT_TRUE(PumpUntil([&] { return h.held != nullptr; }));
  c->browser->GetMainFrame()->ExecuteJavaScript("vexorQueryCancel(window.q)", "", 0);
  ASSERT_TRUE(PumpUntil([&] { return !h.canceled.empty(); }));
  EXPECT_EQ(h.canceled.back(), h.held_id);
  h.held->Success("too late");
  PumpFor(200);
  EXPECT_FALSE(c->HasLog("OK too late"));
  c->router->RemoveHandler(&h);
}

TEST_F(Fresh, NeitherContextMenusNorPermissionPromptsAppear) {
  g_server->Serve("/menu.html",
                  "<body style='margin:0;height:400px' oncontextmenu=\"console.log('PAGE-MENU ' +"
                  " event.defaultPrevented)\">menu</body>");
  ASSERT_TRUE(c->Load(g_server->Url("/menu.html")));
  int chromium = ChromiumPidOf(c->browser->GetHost()->GetWindowHandle());
  ASSERT_GT(chromium, 0);
  Click(c->browser, 40, 40, MBT_RIGHT);
  ASSERT_TRUE(c->WaitForLog("contextmenu 40,40"));
  c->browser->GetMainFrame()->ExecuteJavaScript(
      "navigator.geolocation.getCurrentPosition(() => console.log('GEO-OK'),"
      " e => console.log('GEO-ERR ' + e.code));"
      "navigator.permissions.query({name: 'notifications'}).then(s =>"
      " console.log('NOTIFY ' + s.state));",
      "", 0);
  EXPECT_TRUE(c->WaitForLog("GEO-ERR 1"));
  EXPECT_TRUE(c->WaitForLog("NOTIFY denied"));
  PumpFor(500);
  EXPECT_EQ(CountTopLevelsOf(chromium), 0) << "a menu or prompt appeared";
}

TEST_F(Fresh, RendererCrashIsReportedAndTheNextLoadWorks) {
  QueryHandler h;
  InstallRouter(c, &h);
  g_server->Serve("/victim.html", "<title>victim</title>");
  ASSERT_TRUE(c->Load(g_server->Url("/victim.html")));
  c->browser->GetMainFrame()->ExecuteJavaScript("vexorQuery({request: 'hold'})", "", 0);
  ASSERT_TRUE(PumpUntil([&] { return h.held != nullptr; }));

  int chromium = ChromiumPidOf(c->browser->GetHost()->GetWindowHandle());
  ASSERT_GT(chromium, 0);
  std::vector<int> renderers = RendererPids(chromium);
  ASSERT_FALSE(renderers.empty());
  for (int pid : renderers) kill(pid, SIGKILL);
  ASSERT_TRUE(PumpUntil([&] { return c->terminations > 0; }, 10000));
  EXPECT_EQ(c->termination_status, TS_PROCESS_WAS_KILLED);
  EXPECT_EQ(c->url_at_termination, g_server->Url("/victim.html"));
  EXPECT_EQ(h.canceled.size(), 1u);
  EXPECT_TRUE(c->callbacks_on_ui);

  ASSERT_TRUE(c->Load(g_server->Url("/victim.html")));
  EXPECT_EQ(c->last_status, 200);
  EXPECT_EQ(c->Eval("document.title"), "victim");

  // A renderer that crashes by itself is reported as crashed.
  c->ClearLog();
  // Loading the page again from inside the callback works too.
  c->reload_on_termination = true;
  int ends = c->main_load_ends;
  chromium = ChromiumPidOf(c->browser->GetHost()->GetWindowHandle());
  for (int pid : RendererPids(chromium)) kill(pid, SIGSEGV);
  ASSERT_TRUE(PumpUntil([&] { return c->terminations > 1; }, 10000));
  EXPECT_EQ(c->termination_status, TS_PROCESS_CRASHED);
  ASSERT_TRUE(PumpUntil([&] { return c->main_load_ends > ends && !c->loading; }, 10000));
  EXPECT_EQ(c->Eval("document.title"), "victim");
  c->router->RemoveHandler(&h);
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  g_window_x = 1000;
  g_window_y = 0;
  HttpServer server;
  g_server = &server;
  return RunTestsOnEngine();
}
