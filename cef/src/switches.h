// What Chromium is started with: its switches and environment, from the settings and the
// command line the application prepared. Pure, so it is tested without Chromium.
#ifndef VEXOR_CEF_SRC_SWITCHES_H_
#define VEXOR_CEF_SRC_SWITCHES_H_

#include <string>
#include <vector>

#include "include/internal/cef_types_wrappers.h"

namespace vexorcef {

struct ProfilePaths {
  std::string user_data;  // empty: the engine makes a temporary one
  std::string cache;
};

// The settings' profile folders; a non-empty override replaces both.
ProfilePaths ProfilePathsFor(const CefSettings& settings, const std::string& override_dir);

// The page's languages: the settings' list, else the locale.
std::string AcceptLanguageFor(const CefSettings& settings);

struct ChromiumStart {
  std::vector<std::string> switches;  // in order, without the program
  std::vector<std::string> env;       // NAME=value added to the engine's environment
};

// command_line is the application's, program first. Its switches win over the settings';
// the engine's own come last, and feature lists are merged, not replaced.
ChromiumStart ComposeChromiumStart(const CefSettings& settings,
                                   const std::vector<std::string>& command_line,
                                   const ProfilePaths& profile);

}  // namespace vexorcef

#endif
