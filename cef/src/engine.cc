#include "engine.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <ftw.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "browser_impl.h"
#include "browser_parts.h"
#include "include/cef_task.h"
#include "log.h"
#include "switches.h"

namespace vexorcef {


namespace {

Engine* g_engine = nullptr;

std::string Str(const cef_string_t& s) { return CefString(&s).ToString(); }

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) {
  return remove(path);
}

bool IsExecutableFile(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
}

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

// The launcher the settings name, else the one of that name beside the running program or
// beside this library: a host names it after its working folder, which need not be theirs.
std::string FindLauncher(const std::string& configured) {
  if (IsExecutableFile(configured)) return configured;
  const std::string name = configured.substr(configured.rfind('/') + 1);
  std::vector<std::string> folders;
  char program[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", program, sizeof program);
  if (n > 0) folders.push_back(FolderOf(std::string(program, static_cast<size_t>(n))));
  Dl_info library;
  if (dladdr(reinterpret_cast<void*>(&FindLauncher), &library) && library.dli_fname)
    folders.push_back(FolderOf(library.dli_fname));
  for (const std::string& folder : folders)
    if (IsExecutableFile(folder + name)) return folder + name;
  return std::string();
}

TerminationStatus StatusFromWait(int status) {
  if (WIFSIGNALED(status)) {
    int sig = WTERMSIG(status);
    return sig == SIGKILL || sig == SIGTERM || sig == SIGINT || sig == SIGHUP
               ? TS_PROCESS_WAS_KILLED
               : TS_PROCESS_CRASHED;
  }
  return TS_ABNORMAL_TERMINATION;
}

std::mutex g_pump_request_mutex;
std::function<void(int64)> g_pump_request;  // under the mutex, also while it is called

}  // namespace

void RequestHostPump(int64_t delay_ms) {
  std::lock_guard<std::mutex> lock(g_pump_request_mutex);
  if (g_pump_request) g_pump_request(delay_ms);
}

void SetHostPumpRequest(std::function<void(int64)> request) {
  std::lock_guard<std::mutex> lock(g_pump_request_mutex);
  g_pump_request = std::move(request);
  // Work may have been queued, and its pump asked for, before anyone listened.
  if (g_pump_request) g_pump_request(0);
}

Engine* Engine::Get() { return g_engine; }

bool Engine::Initialize(const CefMainArgs& args, const CefSettings& settings,
                        CefRefPtr<CefApp> app) {
  auto fail = [this](const std::string& why) {
    // Start-up failures are reported whatever the log severity says.
    LogLine(LogLevel::Error, "CefInitialize: " + why);
    RemoveTempProfile();
    return false;
  };
  ui_thread_ = std::this_thread::get_id();
  SetLogLevel(settings.log_severity);
  if (settings.multi_threaded_message_loop)
    return fail("multi_threaded_message_loop is not supported: the thread that calls "
                "CefInitialize is the UI thread and must call CefDoMessageLoopWork");
  app_ = app;
  CefRefPtr<CefBrowserProcessHandler> handler = app_ ? app_->GetBrowserProcessHandler() : nullptr;
  if (settings.external_message_pump && handler)
    ui_work_.SetPumpRequest([handler](int64_t delay_ms) { handler->OnScheduleMessagePumpWork(delay_ms); });
  else
    ui_work_.SetPumpRequest(RequestHostPump);

  CefRefPtr<CefCommandLine> cl = CefCommandLine::CreateCommandLine();
  if (!settings.command_line_args_disabled && args.argc > 0 && args.argv)
    cl->InitFromArgv(args.argc, args.argv);
  if (app_) app_->OnBeforeCommandLineProcessing(CefString(), cl);

  const char* override_dir = getenv("VEXOR_CEF_USER_DATA_DIR");
  ProfilePaths profile = ProfilePathsFor(settings, override_dir ? override_dir : "");
  user_agent_ = Str(settings.user_agent);
  accept_language_ = AcceptLanguageFor(settings);
  if (profile.user_data.empty() && !cl->HasSwitch("user-data-dir")) {
    RemoveStaleProfiles();
    char tmpl[] = "/tmp/vexor-cef-XXXXXX";
    if (!mkdtemp(tmpl)) return fail("cannot make a profile folder in /tmp");
    temp_profile_ = profile.user_data = tmpl;
    // A host that exits without CefShutdown leaves it behind; the next start removes it.
    FILE* f = fopen((temp_profile_ + "/vexor-owner").c_str(), "w");
    if (f) {
      fprintf(f, "%d\n", static_cast<int>(getpid()));
      fclose(f);
    }
  }
  std::vector<CefString> argv;
  cl->GetArgv(argv);
  std::vector<std::string> command_line;
  for (auto& a : argv) command_line.push_back(a.ToString());
  ChromiumStart start = ComposeChromiumStart(settings, command_line, profile);
  switches_ = std::move(start.switches);
  env_ = std::move(start.env);

  std::string configured = Str(settings.browser_subprocess_path);
  if (configured.empty()) {
    const char* env = getenv("VEXOR_CEF_LAUNCHER");
    if (env) configured = env;
  }
  if (configured.empty()) return fail("browser_subprocess_path is empty");
  launcher_ = FindLauncher(configured);
  if (launcher_.empty())
    return fail("browser_subprocess_path " + configured +
                " is not an executable file, nor is one of its name beside the program or "
                "the engine");
  if (const char* t = getenv("VEXOR_CEF_START_TIMEOUT_MS")) start_timeout_ms_ = atoi(t);
  if (start_timeout_ms_ <= 0) start_timeout_ms_ = 15000;

  std::string error;
  if (!x_.Open(&error)) return fail(error);
  page_script_ = BuildPageScript();
  g_engine = this;
  if (!StartChromium(&error)) {
    g_engine = nullptr;
    x_.Close();
    return fail(error);
  }
  if (app_) {
    if (CefRefPtr<CefBrowserProcessHandler> h = app_->GetBrowserProcessHandler())
      h->OnContextInitialized();
  }
  return true;
}

std::shared_ptr<Connection> Engine::Spawn(std::string* error) {
  auto c = std::make_shared<Connection>();
  if (!c->Launch(launcher_, switches_, env_, error)) return nullptr;
  std::weak_ptr<Connection> weak = c;
  c->Start(
      [this](const std::string& m, Json p, const std::string& s) { OnIoEvent(m, std::move(p), s); },
      [this, weak](int status) {
        PostUi([this, weak, status] {
          // Only the current Chromium's death matters; a replaced one was given up already.
          if (weak.lock() == conn()) OnChromiumDied(status);
        });
      });
  return c;
}

void Engine::Adopt(std::shared_ptr<Connection> c, const Json& version) {
  if (user_agent_.empty()) user_agent_ = version["userAgent"].str();
  c->Send("Target.setDiscoverTargets", Json::object().set("discover", true));
  Json aa = Json::object();
  aa.set("autoAttach", true);
  aa.set("waitForDebuggerOnStart", true);
  aa.set("flatten", true);
  c->Send("Target.setAutoAttach", std::move(aa));
  // Without handlers for them, downloads and permission requests are refused, as in CEF;
  // Chromium would otherwise draw its own prompts over the page.
  c->Send("Browser.setDownloadBehavior", Json::object().set("behavior", "deny"));
  for (const char* name : {"geolocation", "notifications", "camera", "microphone", "midi",
                           "idle-detection", "local-fonts", "window-management",
                           "storage-access", "display-capture"}) {
    Json p = Json::object();
    p.set("permission", Json::object().set("name", name));
    p.set("setting", "denied");
    c->Send("Browser.setPermission", std::move(p));
  }
  std::lock_guard<std::mutex> lock(conn_mutex_);
  if (conn_) dead_conns_.push_back(conn_);
  conn_ = c;
}

bool Engine::StartChromium(std::string* error) {
  std::shared_ptr<Connection> c = Spawn(error);
  if (!c) return false;
  Json version;
  if (!c->SendSync("Browser.getVersion", Json::object(), start_timeout_ms_, &version, error)) {
    *error = "Chromium did not answer (" + *error + ")";
    c->Shutdown(500);
    return false;
  }
  Adopt(c, version);
  return true;
}

void Engine::EnsureChromium() {
  if (restarting_ || chromium_alive()) return;
  restarting_ = true;
  x_.ForgetAll();
  std::string error;
  std::shared_ptr<Connection> c = Spawn(&error);
  if (!c) {
    RestartFailed(error);
    return;
  }
  // Held here, not in its own callbacks, so that a shutdown meanwhile ends it.
  starting_ = c;
  std::weak_ptr<Connection> weak = c;
  auto answered = std::make_shared<std::atomic<bool>>(false);
  c->Send("Browser.getVersion", Json::object(), std::string(),
          [this, weak, answered](const Json& r, const Json& err) {
            if (answered->exchange(true)) return;
            PostUi([this, weak, r, err] {
              std::shared_ptr<Connection> c = weak.lock();
              if (!c || c != starting_) return;
              starting_ = nullptr;
              if (!err.isNull()) {
                c->Shutdown(200);
                RestartFailed("Chromium exited at start");
                return;
              }
              restarting_ = false;
              Adopt(c, r);
              for (auto& b : browsers_)
                if (!b->closed()) creation_queue_.push_back(b);
              StartNextCreation();
            });
          });
  PostUiDelayed(start_timeout_ms_, [this, weak, answered] {
    std::shared_ptr<Connection> c = weak.lock();
    if (answered->exchange(true) || !c || c != starting_) return;
    starting_ = nullptr;
    c->Shutdown(200);
    RestartFailed("Chromium did not answer in time");
  });
}

void Engine::RestartFailed(const std::string& why) {
  restarting_ = false;
  VLOG_ERROR("Chromium could not be restarted: " << why);
  for (auto& b : browsers_) {
    std::string url = b->pending_url();
    if (url.empty() || b->closed()) continue;
    if (CefRefPtr<CefClient> c = b->GetClient()) {
      if (CefRefPtr<CefLoadHandler> h = c->GetLoadHandler())
        h->OnLoadError(b.get(), b->GetMainFrame(), ERR_FAILED, "net::ERR_FAILED", url);
    }
  }
}

void Engine::Shutdown() {
  for (auto& b : browsers_)
    if (!b->closed() && !b->target_id().empty() && chromium_alive())
      conn()->Send("Target.closeTarget", Json::object().set("targetId", b->target_id()));
  StopChromiumAndThreads();
  browsers_.clear();
  creation_queue_.clear();
  creating_ = nullptr;
  {
    std::lock_guard<std::mutex> lock(session_mutex_);
    sessions_.clear();
  }
  g_engine = nullptr;
  {
    std::lock_guard<std::mutex> lock(conn_mutex_);
    conn_.reset();
    dead_conns_.clear();
  }
}

void Engine::StopChromiumAndThreads() {
  std::shared_ptr<Connection> c = conn();
  if (c) c->Shutdown(3000);
  if (starting_) starting_->Shutdown(200);
  starting_ = nullptr;
  for (auto& d : dead_conns_) d->Shutdown(100);
  x_.Close();
  RemoveTempProfile();
}

void Engine::StopAtExit() {
  // The host's objects, the clients among them, may be gone already: none is called, and
  // none is released. Only Chromium and the engine's own threads end.
  exiting_ = true;
  StopChromiumAndThreads();
  g_engine = nullptr;
}

void Engine::RemoveTempProfile() {
  if (!temp_profile_.empty()) nftw(temp_profile_.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  temp_profile_.clear();
}

void Engine::RemoveStaleProfiles() {
  DIR* d = opendir("/tmp");
  if (!d) return;
  while (dirent* e = readdir(d)) {
    std::string name = e->d_name;
    if (name.compare(0, 10, "vexor-cef-") != 0 || name.size() != 16) continue;
    std::string dir = "/tmp/" + name;
    FILE* f = fopen((dir + "/vexor-owner").c_str(), "r");
    if (!f) continue;
    int pid = 0;
    bool read = fscanf(f, "%d", &pid) == 1;
    fclose(f);
    if (read && pid > 0 && kill(pid, 0) != 0 && errno == ESRCH)
      nftw(dir.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  }
  closedir(d);
}

void Engine::PostUi(std::function<void()> task) { ui_work_.Post(std::move(task)); }

void Engine::PostUiDelayed(int delay_ms, std::function<void()> task) {
  ui_work_.PostDelayed(delay_ms, std::move(task));
}

void Engine::RunUiWork() {
  for (auto& t : ui_work_.TakeDue()) {
    if (g_engine != this) return;
    t();
  }
}

bool Engine::CreateBrowser(const CefWindowInfo& info, CefRefPtr<CefClient> client,
                           const std::string& url, bool is_popup,
                           const std::string& popup_target, const std::string& popup_session) {
  if (!client) return false;
  CefRefPtr<BrowserImpl> b = new BrowserImpl(next_browser_id_++, client, info, is_popup);
  if (!url.empty()) b->LoadUrlInFrame(url, std::string());  // kept until the page exists
  browsers_.push_back(b);
  creation_queue_.push_back(b);
  popup_args_[b.get()] = {popup_target, popup_session};
  if (!chromium_alive()) {
    EnsureChromium();
    return true;
  }
  StartNextCreation();
  return true;
}

void Engine::StartNextCreation() {
  while (!creating_ && !creation_queue_.empty()) {
    CefRefPtr<BrowserImpl> b = creation_queue_.front();
    creation_queue_.pop_front();
    if (b->closed()) continue;
    creating_ = b;
    auto args = popup_args_.find(b.get());
    if (args != popup_args_.end()) {
      auto a = args->second;
      popup_args_.erase(args);
      b->BeginCreation(a.first, a.second);
    } else {
      b->Recreate();
    }
    // A page that never shows up must not hold up the browsers behind it. The same browser
    // may be made again by then (Chromium died meanwhile): only this creation is given up.
    const int creation = ++creations_started_;
    PostUiDelayed(10000, [this, b, creation] {
      if (creating_ == b && creations_started_ == creation)
        b->OnTargetCreateFailed("no page within 10 s");
    });
  }
}

void Engine::CreationDone(BrowserImpl* browser) {
  if (creating_.get() != browser) return;
  creating_ = nullptr;
  PostUi([this] { StartNextCreation(); });
}

void Engine::BrowserClosed(BrowserImpl* browser) {
  CefRefPtr<BrowserImpl> hold = browser;
  browsers_.erase(std::remove(browsers_.begin(), browsers_.end(), hold), browsers_.end());
  if (creating_.get() == browser) CreationDone(browser);
}

void Engine::RegisterRouter(const std::string& query_fn, const std::string& cancel_fn) {
  for (auto& r : routers_)
    if (r.first == query_fn && r.second == cancel_fn) return;
  routers_.emplace_back(query_fn, cancel_fn);
  std::string script = RouterScript(query_fn, cancel_fn);
  page_script_ += script;
  for (auto& b : browsers_) b->AddRouterScript(script);
}

CefRefPtr<BrowserImpl> Engine::BrowserForSession(const std::string& session) {
  std::lock_guard<std::mutex> lock(session_mutex_);
  auto it = sessions_.find(session);
  return it == sessions_.end() ? nullptr : it->second;
}

void Engine::MapSession(const std::string& session, BrowserImpl* browser) {
  std::lock_guard<std::mutex> lock(session_mutex_);
  sessions_[session] = browser;
}

void Engine::UnmapSession(const std::string& session) {
  std::lock_guard<std::mutex> lock(session_mutex_);
  sessions_.erase(session);
}

void Engine::OnIoEvent(const std::string& method, Json params, const std::string& session) {
  if (exiting_) return;
  if (method == "Fetch.requestPaused") {
    CefRefPtr<BrowserImpl> b = BrowserForSession(session);
    if (b) {
      b->OnRequestPaused(session, params);
    } else {
      // A suppressed popup, or a page of no browser: nothing of it may load.
      Json p = Json::object();
      p.set("requestId", params["requestId"]);
      p.set("errorReason", "BlockedByClient");
      conn()->Send("Fetch.failRequest", std::move(p), session);
    }
    return;
  }
  if (method == "Page.frameStartedNavigating") {
    if (CefRefPtr<BrowserImpl> b = BrowserForSession(session)) b->OnNavigationStarting(session, params);
  }
  auto shared = std::make_shared<Json>(std::move(params));
  PostUi([this, method, shared, session] { OnUiEvent(method, *shared, session); });
}

void Engine::OnUiEvent(const std::string& method, const Json& params,
                       const std::string& session) {
  if (!session.empty()) {
    CefRefPtr<BrowserImpl> b = BrowserForSession(session);
    if (b) b->HandleEvent(session, method, params);
    return;
  }
  if (method == "Target.attachedToTarget") {
    const Json& info = params["targetInfo"];
    std::string sid = params["sessionId"].str();
    std::string target = info["targetId"].str();
    if (info["type"].str() != "page") {
      conn()->Send("Runtime.runIfWaitingForDebugger", Json::object(), sid);
      return;
    }
    if (creating_ && creating_->target_id() == target && creating_->main_session().empty()) {
      creating_->OnAttached(sid);
      return;
    }
    std::string opener = info["openerId"].str();
    if (!opener.empty()) {
      for (auto& b : browsers_) {
        if (b->target_id() == opener && !b->closed()) {
          b->OnPopupAttached(sid, target);
          return;
        }
      }
    }
    if (creating_ && creating_->target_id().empty()) {
      early_attach_[target] = sid;
      return;
    }
    conn()->Send("Runtime.runIfWaitingForDebugger", Json::object(), sid);
    return;
  }
  if (method == "Target.targetCrashed") {
    std::string target = params["targetId"].str();
    for (auto& b : browsers_)
      if (b->target_id() == target) b->OnCrashed(TerminationStatusFromText(params["status"].str()));
    return;
  }
  if (method == "Target.targetDestroyed") {
    std::string target = params["targetId"].str();
    for (auto& b : browsers_)
      if (b->target_id() == target && !b->closed()) b->OnTargetGone();
    return;
  }
}

std::string Engine::TakeEarlyAttach(const std::string& target) {
  auto it = early_attach_.find(target);
  if (it == early_attach_.end()) return std::string();
  std::string sid = it->second;
  early_attach_.erase(it);
  return sid;
}

void Engine::OnChromiumDied(int wait_status) {
  if (g_engine != this) return;
  TerminationStatus ts = StatusFromWait(wait_status);
  VLOG_WARNING("Chromium exited (status " << wait_status << ")");
  {
    std::lock_guard<std::mutex> lock(session_mutex_);
    sessions_.clear();
  }
  early_attach_.clear();
  auto list = browsers_;
  for (auto& b : list) b->OnChromiumGone(ts);
}

}  // namespace vexorcef

using vexorcef::Engine;

namespace {
Engine* g_owned = nullptr;

// Hosts never shut the engine down: it ends with the process, before static objects go
// that its threads might reach.
void StopEngineAtExit() {
  if (Engine* e = Engine::Get()) e->StopAtExit();
}

// The caller of CefInitialize, also when the start failed: the host's UI runs on without
// browsers, and its thread checks must still pass.
std::atomic<std::thread::id> g_ui_thread;
}

bool CefInitialize(const CefMainArgs& args, const CefSettings& settings,
                   CefRefPtr<CefApp> application, void* windows_sandbox_info) {
  (void)windows_sandbox_info;
  if (Engine::Get()) {
    vexorcef::LogLine(vexorcef::LogLevel::Error, "CefInitialize: already initialized");
    return false;
  }
  g_ui_thread = std::this_thread::get_id();
  Engine* e = new Engine;
  if (!e->Initialize(args, settings, application)) {
    delete e;
    return false;
  }
  g_owned = e;
  static bool stop_registered = false;
  if (!stop_registered) stop_registered = std::atexit(StopEngineAtExit) == 0;
  return true;
}

void CefShutdown() {
  if (!CefCurrentlyOn(TID_UI)) return;
  if (Engine* e = Engine::Get()) {
    e->Shutdown();
    delete g_owned;
    g_owned = nullptr;
  }
  g_ui_thread = std::thread::id();
}

void CefDoMessageLoopWork() {
  if (Engine* e = Engine::Get()) e->RunUiWork();
}

void CefSetMessagePumpRequest(std::function<void(int64 delay_ms)> request) {
  vexorcef::SetHostPumpRequest(std::move(request));
}

bool CefCurrentlyOn(CefThreadId threadId) {
  if (threadId == TID_UI) return std::this_thread::get_id() == g_ui_thread.load();
  Engine* e = Engine::Get();
  if (!e) return false;
  if (threadId == TID_IO) {
    auto c = e->conn();
    return c && c->OnIoThread();
  }
  return false;
}

bool CefBrowserHost::CreateBrowser(const CefWindowInfo& windowInfo, CefRefPtr<CefClient> client,
                                   const CefString& url, const CefBrowserSettings& settings,
                                   CefRefPtr<CefRequestContext> request_context) {
  (void)settings;
  (void)request_context;
  Engine* e = Engine::Get();
  if (!e || !e->OnUiThread()) return false;
  if (windowInfo.windowless_rendering_enabled) {
    VLOG_ERROR("windowless rendering is not supported");
    return false;
  }
  return e->CreateBrowser(windowInfo, client, url.ToString(), false, std::string(),
                          std::string());
}
