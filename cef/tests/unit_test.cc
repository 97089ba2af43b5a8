// Engine pieces that need no Chromium: strings, structures, command line, JSON, error and
// key tables, and the message router's bookkeeping.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "engine.h"
#include "fake_browser.h"
#include "include/cef_app.h"
#include "include/cef_browser.h"
#include "include/cef_cookie.h"
#include "include/cef_task.h"
#include "include/wrapper/cef_helpers.h"
#include "include/wrapper/cef_message_router.h"
#include "json.h"
#include "request_scope.h"
#include "switches.h"
#include "text_codecs.h"

using testing_support::FakeBrowser;
using vexorcef::Json;

TEST(CefStringTest, ConvertsBetweenUtf8Utf16AndWide) {
  CefString s(std::string("a\xc3\xa9\xf0\x9f\x98\x80"));  // a, e-acute, U+1F600
  ASSERT_EQ(s.length(), 4u);
  EXPECT_EQ(s.c_str()[2], 0xD83D);
  EXPECT_EQ(s.c_str()[3], 0xDE00);
  EXPECT_EQ(s.ToWString(), std::wstring(L"a\u00e9\U0001F600"));
  EXPECT_EQ(CefString(s.ToWString()).ToString(), s.ToString());

  cef_string_wide_t wide = {};
  cef_string_utf16_to_wide(s.c_str(), s.length(), &wide);
  EXPECT_EQ(wide.length, 3u);
  cef_string_wide_clear(&wide);
  EXPECT_EQ(wide.str, nullptr);

  EXPECT_TRUE(CefString().empty());
  EXPECT_EQ(CefString().ToString(), "");
  EXPECT_EQ(CefString(std::wstring()).length(), 0u);
  // A lone surrogate becomes U+FFFD instead of corrupting the text.
  std::u16string lone = {u'x', 0xD800};
  EXPECT_EQ(CefString(lone).ToString(), "x\xef\xbf\xbd");
  // Truncated UTF-8 is replaced too.
  EXPECT_EQ(CefString(std::string("ok\xe2\x82")).ToString16(), (std::u16string{u'o', u'k', 0xFFFD}));
  EXPECT_LT(CefString("abc").compare("abd"), 0);
  EXPECT_EQ(CefString("abc"), CefString(L"abc"));
}

TEST(CefStringTest, AttachedStringsWriteIntoTheStructure) {
  CefSettings settings;
  CefString(&settings.user_agent) = "Agent/1";
  CefString(&settings.locale) = std::wstring(L"de-DE");
  EXPECT_EQ(CefString(&settings.user_agent).ToString(), "Agent/1");
  CefSettings copy = settings;
  CefString(&settings.user_agent) = "Changed";
  EXPECT_EQ(CefString(&copy.user_agent).ToString(), "Agent/1");
  EXPECT_EQ(CefString(&copy.locale).ToString(), "de-DE");
  copy = settings;
  EXPECT_EQ(CefString(&copy.user_agent).ToString(), "Changed");

  CefWindowInfo info;
  CefString(&info.window_name) = "browser";
  info.SetAsChild(42, CefRect(1, 2, 30, 40));
  CefWindowInfo info2 = info;
  EXPECT_EQ(CefString(&info2.window_name).ToString(), "browser");
  EXPECT_EQ(info2.parent_window, 42u);
  EXPECT_EQ(info2.height, 40u);
}

TEST(CommandLineTest, SwitchesKeepOrderValuesAndAcceptDashedNames) {
  CefRefPtr<CefCommandLine> cl = CefCommandLine::CreateCommandLine();
  const char* argv[] = {"prog", "--a", "--lang=en_US", "file", "--", "--not-a-switch"};
  cl->InitFromArgv(6, argv);
  cl->AppendSwitch("kiosk");
  cl->AppendSwitch("--show-fps-counter");
  cl->AppendSwitchWithValue("lang", "de_DE");
  EXPECT_TRUE(cl->HasSwitch("show-fps-counter"));
  EXPECT_TRUE(cl->HasSwitch("--kiosk"));
  EXPECT_EQ(cl->GetSwitchValue("lang").ToString(), "de_DE");
  EXPECT_FALSE(cl->HasSwitch("not-a-switch"));
  std::vector<CefString> args;
  cl->GetArgv(args);
  std::vector<std::string> text;
  for (auto& a : args) text.push_back(a.ToString());
  EXPECT_EQ(text, (std::vector<std::string>{"prog", "--a", "--lang=de_DE", "--kiosk",
                                            "--show-fps-counter", "file", "--not-a-switch"}));
}

TEST(JsonTest, ParsesAndWritesDevToolsMessages) {
  bool ok = false;
  Json j = Json::parse(
      R"({"id":7,"result":{"s":"a\"b\\c\u00e9\ud83d\ude00","n":-1.5,"arr":[true,null,{}]}})",
      &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(j["id"].integer(), 7);
  EXPECT_EQ(j["result"]["s"].str(), "a\"b\\c\xc3\xa9\xf0\x9f\x98\x80");
  EXPECT_DOUBLE_EQ(j["result"]["n"].number(), -1.5);
  EXPECT_TRUE(j["result"]["arr"][0].boolean());
  EXPECT_TRUE(j["result"]["arr"][1].isNull());
  EXPECT_TRUE(j["missing"]["deeper"].isNull());
  Json back = Json::parse(j.dump(), &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(back["result"]["s"].str(), j["result"]["s"].str());
  Json out = Json::object().set("text", "line\nbreak\x01");
  EXPECT_EQ(out.dump(), "{\"text\":\"line\\nbreak\\u0001\"}");
  EXPECT_EQ(Json(3).dump(), "3");

  for (const char* bad : {"", "{", "{\"a\":}", "[1,]", "tru", "{\"a\":1} x", "\"\\u12\""}) {
    Json::parse(bad, &ok);
    EXPECT_FALSE(ok) << bad;
  }
  std::string deep(5000, '[');
  Json::parse(deep, &ok);
  EXPECT_FALSE(ok);
}

TEST(TextCodecsTest, PercentDecodingUndoesEncodeUriComponentAndKeepsStrayPercents) {
  using vexorcef::PercentDecode;
  EXPECT_EQ(PercentDecode("%7B%22m%22%3A%22%E2%9C%93%20it's%22%7D"), "{\"m\":\"\xE2\x9C\x93 it's\"}");
  EXPECT_EQ(PercentDecode("%2541"), "%41");
  EXPECT_EQ(PercentDecode("100%"), "100%");
  EXPECT_EQ(PercentDecode("%4"), "%4");
  EXPECT_EQ(PercentDecode("%zz%4a"), "%zzJ");
}

TEST(TextCodecsTest, Base64PadsTheLastGroup) {
  using vexorcef::Base64Encode;
  EXPECT_EQ(Base64Encode(""), "");
  EXPECT_EQ(Base64Encode("f"), "Zg==");
  EXPECT_EQ(Base64Encode("fo"), "Zm8=");
  EXPECT_EQ(Base64Encode("foo"), "Zm9v");
  EXPECT_EQ(Base64Encode(std::string("\xff\xfe\x00", 3)), "//4A");
}

TEST(NetErrorTest, NamesWithoutThePrefixAreKnownAndUnknownOnesAreFailed) {
  EXPECT_EQ(vexorcef::NetErrorCode("ERR_TOO_MANY_REDIRECTS"), -310);
  EXPECT_EQ(vexorcef::NetErrorCode("net::ERR_SOMETHING_NEW"), -2);
  EXPECT_EQ(vexorcef::NetErrorCode(""), -2);
}

TEST(KeyMapTest, VirtualKeysGetDomKeysAndCodes) {
  using vexorcef::DomKeyFor;
  EXPECT_EQ(DomKeyFor('A', false, 0).key, "a");
  EXPECT_EQ(DomKeyFor('A', true, 0).key, "A");
  EXPECT_EQ(DomKeyFor('A', false, 0).code, "KeyA");
  EXPECT_EQ(DomKeyFor('2', true, 0).key, "@");
  EXPECT_EQ(DomKeyFor('2', true, 0).code, "Digit2");
  EXPECT_EQ(DomKeyFor(187, false, 0).key, "=");
  EXPECT_EQ(DomKeyFor(187, true, 0).key, "+");
  EXPECT_EQ(DomKeyFor(187, true, 0).code, "Equal");
  EXPECT_EQ(DomKeyFor(0x70 + 11, false, 0).key, "F12");
  // The character typed wins over the US-layout guess.
  EXPECT_EQ(DomKeyFor(0, false, 0xE9).key, "\xc3\xa9");
  EXPECT_EQ(DomKeyFor(0, false, 0).key, "Unidentified");
  EXPECT_EQ(vexorcef::DevToolsModifiers(EVENTFLAG_SHIFT_DOWN | EVENTFLAG_COMMAND_DOWN), 8 | 4);
  EXPECT_EQ(vexorcef::DevToolsModifiers(EVENTFLAG_ALT_DOWN | EVENTFLAG_CONTROL_DOWN), 1 | 2);
  EXPECT_EQ(vexorcef::DevToolsModifiers(EVENTFLAG_LEFT_MOUSE_BUTTON), 0);
}

namespace {

class RecordingHandler : public CefMessageRouterBrowserSide::Handler {
 public:
  bool OnQuery(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame, int64 query_id,
               const CefString& request, bool, CefRefPtr<Callback> callback) override {
    last_frame = frame ? frame->GetIdentifier() : -1;
    if (request.ToString() == "decline") return false;
    callbacks[query_id] = callback;
    return true;
  }
  void OnQueryCanceled(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, int64 query_id) override {
    canceled.push_back(query_id);
  }
  std::map<int64, CefRefPtr<Callback>> callbacks;
  std::vector<int64> canceled;
  int64 last_frame = 0;
};

CefRefPtr<CefProcessMessage> Query(int64 frame, int context, int request, const std::string& text,
                                   bool persistent) {
  CefRefPtr<CefProcessMessage> m = CefProcessMessage::Create("qMsg");
  CefRefPtr<CefListValue> a = m->GetArgumentList();
  a->SetInt(0, static_cast<int>(frame & 0xffffffff));
  a->SetInt(1, static_cast<int>(frame >> 32));
  a->SetInt(2, context);
  a->SetInt(3, request);
  a->SetString(4, text);
  a->SetBool(5, persistent);
  return m;
}

}  // namespace

TEST(MessageRouterTest, QueriesAreAnsweredCanceledAndDeclined) {
  CefMessageRouterConfig config;
  EXPECT_EQ(config.js_query_function.ToString(), "cefQuery");
  config.js_query_function = "q";
  config.js_cancel_function = "qc";
  CefRefPtr<CefMessageRouterBrowserSide> router = CefMessageRouterBrowserSide::Create(config);
  RecordingHandler h;
  EXPECT_TRUE(router->AddHandler(&h, false));
  EXPECT_FALSE(router->AddHandler(&h, false));
  CefRefPtr<FakeBrowser> b = new FakeBrowser(3);

  const int64 frame = (int64{5} << 32) | 7;
  EXPECT_TRUE(router->OnProcessMessageReceived(b.get(), PID_RENDERER, Query(frame, 11, 1, "hi", false)));
  EXPECT_EQ(h.last_frame, frame);
  ASSERT_EQ(h.callbacks.size(), 1u);
  h.callbacks.begin()->second->Success("yes");
  h.callbacks.begin()->second->Success("again");  // a one-shot query answers once
  ASSERT_EQ(b->messages.size(), 1u);
  EXPECT_EQ(b->messages[0], "qMsg|11|1|true|yes");
  EXPECT_EQ(router->GetPendingCount(b.get(), nullptr), 0);

  // Persistent: many answers until a failure ends it.
  router->OnProcessMessageReceived(b.get(), PID_RENDERER, Query(1, 11, 2, "p", true));
  auto cb = h.callbacks.rbegin()->second;
  cb->Success("1");
  cb->Success("2");
  EXPECT_EQ(router->GetPendingCount(b.get(), &h), 1);
  cb->Failure(7, "done");
  EXPECT_EQ(b->messages.back(), "qMsg|11|2|false|7|done");
  EXPECT_EQ(router->GetPendingCount(b.get(), &h), 0);

  // Nobody takes it: the page hears of it at once.
  router->OnProcessMessageReceived(b.get(), PID_RENDERER, Query(1, 11, 3, "decline", false));
  EXPECT_EQ(b->messages.back(), "qMsg|11|3|false|-1|The query has been canceled");

  // The page cancels: the handler hears of it, a late answer goes nowhere.
  router->OnProcessMessageReceived(b.get(), PID_RENDERER, Query(1, 11, 4, "hold", false));
  int64 held = h.callbacks.rbegin()->first;
  CefRefPtr<CefProcessMessage> cancel = CefProcessMessage::Create("qcMsg");
  cancel->GetArgumentList()->SetInt(0, 1);
  cancel->GetArgumentList()->SetInt(1, 0);
  cancel->GetArgumentList()->SetInt(2, 11);
  cancel->GetArgumentList()->SetInt(3, 4);
  size_t sent = b->messages.size();
  EXPECT_TRUE(router->OnProcessMessageReceived(b.get(), PID_RENDERER, cancel));
  ASSERT_EQ(h.canceled.size(), 1u);
  EXPECT_EQ(h.canceled[0], held);
  h.callbacks[held]->Success("late");
  EXPECT_EQ(b->messages.size(), sent);

  // Navigation of a sub-frame cancels only that frame's queries; of the main frame, all.
  router->OnProcessMessageReceived(b.get(), PID_RENDERER, Query(1, 11, 5, "main", false));
  router->OnProcessMessageReceived(b.get(), PID_RENDERER, Query(9, 12, 6, "sub", false));
  router->OnBeforeBrowse(b.get(), b->GetFrame(9));
  EXPECT_EQ(router->GetPendingCount(b.get(), nullptr), 1);
  EXPECT_EQ(b->messages.back(), "qMsg|12|6|false|-1|The query has been canceled");
  router->OnRenderProcessTerminated(b.get());
  EXPECT_EQ(router->GetPendingCount(b.get(), nullptr), 0);
  EXPECT_EQ(h.canceled.size(), 3u);

  // Other messages are not the router's.
  EXPECT_FALSE(router->OnProcessMessageReceived(
      b.get(), PID_RENDERER, CefProcessMessage::Create("renderer.focused_node_changed")));
  EXPECT_TRUE(router->RemoveHandler(&h));
}

TEST(ValuesTest, ListValuesKeepTypes) {
  CefRefPtr<CefListValue> l = CefListValue::Create();
  l->SetBool(0, true);
  l->SetInt(1, -4);
  l->SetString(3, "s");
  EXPECT_EQ(l->GetSize(), 4u);
  EXPECT_EQ(l->GetType(2), VTYPE_NULL);
  EXPECT_EQ(l->GetType(9), VTYPE_INVALID);
  EXPECT_TRUE(l->GetBool(0));
  EXPECT_EQ(l->GetInt(1), -4);
  EXPECT_EQ(l->GetString(3).ToString(), "s");
  EXPECT_EQ(l->GetString(1).ToString(), "");
  CefRefPtr<CefListValue> copy = l->Copy();
  l->Clear();
  EXPECT_EQ(copy->GetSize(), 4u);
}

TEST(SwitchesTest, SettingsFillGapsTheCommandLineLeavesAndTheEnginesComeLast) {
  using vexorcef::ComposeChromiumStart;
  CefSettings settings;
  CefString(&settings.locale).FromString("de-AT");
  CefString(&settings.user_agent).FromString("Agent/1");
  settings.log_severity = LOGSEVERITY_WARNING;
  auto start = ComposeChromiumStart(
      settings,
      {"prog", "--user-agent=Mine", "--kiosk", "page.html", "--disable-features=Foo,Translate"},
      {"/data", "/cache"});
  std::vector<std::string> expected = {
      "--user-agent=Mine", "--kiosk", "--disable-features=Foo,Translate,PreloadTopChromeWebUI,"
      "WebUIOmniboxPopup,SpareRendererForSitePerProcess,MediaRouter,PaintHolding",
      "--lang=de-AT", "--accept-lang=de-AT", "--user-data-dir=/data", "--disk-cache-dir=/cache",
      "--log-level=1", "--remote-debugging-pipe", "--no-first-run",
      "--no-default-browser-check", "--disable-background-networking",
      "--disable-component-update", "--disable-sync", "--ozone-platform=x11", "--test-type",
      "--keep-alive-for-test", "--no-startup-window", "--password-store=basic",
      "--disable-session-crashed-bubble", "--disable-popup-blocking",
      "--disable-backgrounding-occluded-windows", "page.html"};
  EXPECT_EQ(start.switches, expected);
  EXPECT_EQ(start.env, std::vector<std::string>{"LANGUAGE=de_AT"});

  // Nothing set: no empty values, the engine's feature list alone, no language.
  start = ComposeChromiumStart(CefSettings(), {"prog"}, {"/p", ""});
  EXPECT_EQ(start.switches.front(), "--user-data-dir=/p");
  EXPECT_EQ(std::count_if(start.switches.begin(), start.switches.end(),
                          [](const std::string& s) { return s.back() == '='; }),
            0);
  EXPECT_NE(std::find(start.switches.begin(), start.switches.end(),
                      "--disable-features=PreloadTopChromeWebUI,WebUIOmniboxPopup,"
                      "SpareRendererForSitePerProcess,Translate,MediaRouter,PaintHolding"),
            start.switches.end());
  EXPECT_TRUE(start.env.empty());
}

TEST(RequestScopeTest, ChromiumHoldsWhatTheHandlerNamesOrEverythingItAsksAbout) {
  using vexorcef::RequestScope;
  struct Handler : public CefRequestHandler {
    bool GetRefusableRequests(CefRefusableRequests& r) override {
      if (names) r = refusable;
      return names;
    }
    bool names = false;
    CefRefusableRequests refusable;
    IMPLEMENT_REFCOUNTING(Handler);
  };
  CefRefPtr<Handler> handler = new Handler;
  // Without a handler nothing is held; with one that names nothing, every request.
  EXPECT_EQ(RequestScope::For(nullptr).FetchPatterns().size(), 0u);
  EXPECT_FALSE(RequestScope::For(nullptr).Holds("http://a/", "Document"));
  RequestScope all = RequestScope::For(handler.get());
  EXPECT_TRUE(all.HoldsEverything());
  ASSERT_EQ(all.FetchPatterns().size(), 1u);
  EXPECT_EQ(all.FetchPatterns()[0]["urlPattern"].str(), "*");
  EXPECT_EQ(all.FetchPatterns()[0]["requestStage"].str(), "Request");

  // Prefixes keep Chromium's wildcards literal; a type becomes every type Chromium holds
  // requests by that the engine reports as it. No request is reported as a plug-in's.
  handler->names = true;
  handler->refusable.url_prefixes = {"file://", "http://x/a*b?c\\"};
  handler->refusable.resource_types = {RT_MEDIA, RT_SUB_RESOURCE, RT_PLUGIN_RESOURCE};
  RequestScope named = RequestScope::For(handler.get());
  EXPECT_FALSE(named.HoldsEverything());
  std::vector<std::string> patterns;
  const Json named_patterns = named.FetchPatterns();
  for (const Json& p : named_patterns.items()) {
    EXPECT_EQ(p["requestStage"].str(), "Request");
    patterns.push_back(p["urlPattern"].str() + " " + p["resourceType"].str());
  }
  EXPECT_EQ(patterns, (std::vector<std::string>{"file://* ", "http://x/a\\*b\\?c\\\\* ",
                                                "* Media", "* Other"}));
  EXPECT_TRUE(named.Holds("file:///etc/passwd", "Image"));
  EXPECT_TRUE(named.Holds("http://x/a*b?c\\d.png", "Image"));
  EXPECT_FALSE(named.Holds("http://x/aXbYc\\d.png", "Image"));
  EXPECT_FALSE(named.Holds("https://example.com/file://", "Document"));
  EXPECT_TRUE(named.Holds("https://example.com/v.webm", "Media"));
  EXPECT_TRUE(named.Holds("https://example.com/embedded", "Other"));
  EXPECT_FALSE(named.Holds("https://example.com/a.png", "Image"));

  handler->refusable = CefRefusableRequests{{}, {RT_MAIN_FRAME, RT_FAVICON, RT_XHR}};
  patterns.clear();
  const Json typed_patterns = RequestScope::For(handler.get()).FetchPatterns();
  for (const Json& p : typed_patterns.items()) patterns.push_back(p["resourceType"].str());
  EXPECT_EQ(patterns, (std::vector<std::string>{"Document", "EventSource", "Fetch", "Other", "XHR"}));
}

TEST(SwitchesTest, ProfileFoldersFollowTheSettingsUnlessOverridden) {
  using vexorcef::ProfilePathsFor;
  CefSettings settings;
  CefString(&settings.cache_path).FromString("/c");
  EXPECT_EQ(ProfilePathsFor(settings, "").user_data, "/c");
  CefString(&settings.root_cache_path).FromString("/root");
  EXPECT_EQ(ProfilePathsFor(settings, "").user_data, "/root");
  CefString(&settings.user_data_path).FromString("/u");
  auto p = ProfilePathsFor(settings, "");
  EXPECT_EQ(p.user_data, "/u");
  EXPECT_EQ(p.cache, "/c");
  p = ProfilePathsFor(settings, "/tmp/run-1");
  EXPECT_EQ(p.user_data, "/tmp/run-1");
  EXPECT_EQ(p.cache, "/tmp/run-1");
}

TEST(StartTest, EngineCallsBeforeInitializeAreHarmless) {
  CefDoMessageLoopWork();
  EXPECT_FALSE(CefCurrentlyOn(TID_UI));
  EXPECT_FALSE(CefBrowserHost::CreateBrowser(CefWindowInfo(), nullptr, "", CefBrowserSettings(),
                                             nullptr));
  EXPECT_EQ(CefCookieManager::GetGlobalManager(nullptr), nullptr);
}

TEST(StartTest, ThreadChecksReportAndGoOn) {
  ::testing::internal::CaptureStderr();
  bool went_on = false;
  CEF_REQUIRE_UI_THREAD();  // no engine: no thread is the UI thread
  went_on = true;
  std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(went_on);
  EXPECT_NE(err.find("Check failed: CefCurrentlyOn(TID_UI). "), std::string::npos) << err;
  EXPECT_NE(err.find("unit_test.cc("), std::string::npos) << err;
}

TEST(LauncherTest, ExecsTheConfiguredBinaryWithTheSwitches) {
  std::string cmd = std::string("VEXOR_CHROMIUM_BINARY=/bin/echo ") + VEXOR_TEST_LAUNCHER +
                    " --remote-debugging-pipe --user-data-dir=/tmp/x";
  FILE* p = popen(cmd.c_str(), "r");
  ASSERT_NE(p, nullptr);
  char buf[512] = {};
  size_t n = fread(buf, 1, sizeof buf - 1, p);
  pclose(p);
  std::string out(buf, n);
  EXPECT_NE(out.find("--remote-debugging-pipe --user-data-dir=/tmp/x"), std::string::npos) << out;
  // The sandbox is dropped for root only, which Chromium refuses to sandbox.
  EXPECT_EQ(out.find("--no-sandbox") != std::string::npos, geteuid() == 0) << out;

  cmd = std::string("VEXOR_CHROMIUM_BINARY=/nonexistent ") + VEXOR_TEST_LAUNCHER + " 2>&1";
  p = popen(cmd.c_str(), "r");
  ASSERT_NE(p, nullptr);
  n = fread(buf, 1, sizeof buf - 1, p);
  int status = pclose(p);
  EXPECT_NE(std::string(buf, n).find("cannot run /nonexistent"), std::string::npos);
  EXPECT_EQ(WEXITSTATUS(status), 127);
}
