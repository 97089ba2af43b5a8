#include "switches.h"

#include <algorithm>

#include "include/internal/cef_string.h"

namespace vexorcef {

namespace {

std::string Str(const cef_string_t& s) { return CefString(&s).ToString(); }

bool IsSwitch(const std::string& arg) { return arg.size() > 2 && arg.compare(0, 2, "--") == 0; }

std::string NameOf(const std::string& arg) {
  size_t eq = arg.find('=');
  return arg.substr(2, eq == std::string::npos ? std::string::npos : eq - 2);
}

std::vector<std::string>::iterator Find(std::vector<std::string>& switches,
                                        const std::string& name) {
  return std::find_if(switches.begin(), switches.end(),
                      [&](const std::string& s) { return NameOf(s) == name; });
}

std::string ValueOf(const std::string& arg) {
  size_t eq = arg.find('=');
  return eq == std::string::npos ? std::string() : arg.substr(eq + 1);
}

// What the engine itself relies on: the pipe, no first-run UI, no browser UI, no window at
// start, and Chromium staying up without windows.
const char* const kEngineSwitches[] = {
    "--remote-debugging-pipe", "--no-first-run", "--no-default-browser-check",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--ozone-platform=x11", "--test-type", "--keep-alive-for-test", "--no-startup-window",
    "--kiosk", "--password-store=basic", "--disable-session-crashed-bubble",
    // Every window.open reaches OnBeforePopup, which decides; no blocker in between.
    "--disable-popup-blocking",
    // A browser covered by the host's own windows must keep painting and taking input.
    "--disable-backgrounding-occluded-windows"};

// PaintHolding keeps the previous picture after a load until something contentful is
// painted, and older Chromium drops clicks and keys meanwhile: a tap right after a load
// would be lost.
const char* const kDisabledFeatures[] = {"PreloadTopChromeWebUI", "WebUIOmniboxPopup",
                                         "SpareRendererForSitePerProcess", "Translate",
                                         "MediaRouter", "PaintHolding"};

}  // namespace

ProfilePaths ProfilePathsFor(const CefSettings& settings, const std::string& override_dir) {
  if (!override_dir.empty()) return ProfilePaths{override_dir, override_dir};
  ProfilePaths p{Str(settings.user_data_path), Str(settings.cache_path)};
  if (p.user_data.empty()) p.user_data = Str(settings.root_cache_path);
  if (p.user_data.empty()) p.user_data = p.cache;
  return p;
}

std::string AcceptLanguageFor(const CefSettings& settings) {
  // Without a list the page's languages follow the locale, as in CEF. (Debian ships the
  // UI translations apart, so the locale alone would not reach navigator.language.)
  std::string list = Str(settings.accept_language_list);
  return list.empty() ? Str(settings.locale) : list;
}

ChromiumStart ComposeChromiumStart(const CefSettings& settings,
                                   const std::vector<std::string>& command_line,
                                   const ProfilePaths& profile) {
  std::vector<std::string> switches, args;
  for (size_t i = 1; i < command_line.size(); ++i)
    (IsSwitch(command_line[i]) ? switches : args).push_back(command_line[i]);

  auto set_default = [&](const std::string& name, const std::string& value) {
    if (!value.empty() && Find(switches, name) == switches.end())
      switches.push_back("--" + name + "=" + value);
  };
  set_default("user-agent", Str(settings.user_agent));
  set_default("lang", Str(settings.locale));
  set_default("accept-lang", AcceptLanguageFor(settings));
  set_default("user-data-dir", profile.user_data);
  set_default("disk-cache-dir", profile.cache);
  int sev = settings.log_severity;
  // Chromium's own errors here are D-Bus and GPU noise; they show from WARNING down.
  set_default("log-level", sev == LOGSEVERITY_VERBOSE || sev == LOGSEVERITY_INFO ? "0"
                           : sev == LOGSEVERITY_WARNING                          ? "1"
                                                                                 : "3");
  if (sev == LOGSEVERITY_VERBOSE) set_default("v", "1");

  for (const char* s : kEngineSwitches)
    if (Find(switches, NameOf(s)) == switches.end()) switches.push_back(s);

  auto features = Find(switches, "disable-features");
  std::string list = features == switches.end() ? std::string() : ValueOf(*features);
  for (const char* f : kDisabledFeatures) {
    std::string padded = "," + list + ",";
    if (padded.find("," + std::string(f) + ",") == std::string::npos)
      list += (list.empty() ? "" : ",") + std::string(f);
  }
  if (features == switches.end()) switches.push_back("--disable-features=" + list);
  else *features = "--disable-features=" + list;

  ChromiumStart start;
  // On Linux Chromium takes its language from the environment, not from --lang.
  auto lang = Find(switches, "lang");
  if (lang != switches.end() && !ValueOf(*lang).empty()) {
    std::string value = ValueOf(*lang);
    std::replace(value.begin(), value.end(), '-', '_');
    start.env.push_back("LANGUAGE=" + value);
  }
  start.switches = std::move(switches);
  start.switches.insert(start.switches.end(), args.begin(), args.end());
  return start;
}

}  // namespace vexorcef
