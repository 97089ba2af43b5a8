#include "request_scope.h"

#include <algorithm>

namespace vexorcef {

namespace {

// The resource types Chromium holds requests by (it refuses the protocol's others).
const char* const kFetchTypes[] = {"Document", "Stylesheet", "Image", "Media", "Font",
                                   "Script", "XHR", "Fetch", "EventSource", "Ping",
                                   "CSPViolationReport", "Other"};

bool EndsWith(const std::string& s, const std::string& suffix) {
  return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// Fetch patterns take '*' and '?' as wildcards and a backslash as escape.
std::string PrefixPattern(const std::string& prefix) {
  std::string pattern;
  for (char c : prefix) {
    if (c == '*' || c == '?' || c == '\\') pattern += '\\';
    pattern += c;
  }
  return pattern + '*';
}

}  // namespace

cef_resource_type_t ResourceTypeFor(const std::string& type, bool main_frame,
                                    const std::string& url) {
  if (type == "Document") return main_frame ? RT_MAIN_FRAME : RT_SUB_FRAME;
  if (type == "Stylesheet") return RT_STYLESHEET;
  if (type == "Script") return RT_SCRIPT;
  if (type == "Image") return RT_IMAGE;
  if (type == "Font") return RT_FONT_RESOURCE;
  if (type == "Media" || type == "TextTrack") return RT_MEDIA;
  if (type == "XHR" || type == "Fetch" || type == "EventSource") return RT_XHR;
  if (type == "Prefetch") return RT_PREFETCH;
  if (type == "Ping") return RT_PING;
  if (type == "CSPViolationReport") return RT_CSP_REPORT;
  if (type == "Other" && EndsWith(url.substr(0, url.find_first_of("?#")), "/favicon.ico"))
    return RT_FAVICON;
  return RT_SUB_RESOURCE;
}

RequestScope::RequestScope(const CefRefusableRequests& refusable) : holds_everything_(false) {
  for (const CefString& prefix : refusable.url_prefixes) url_prefixes_.push_back(prefix.ToString());
  auto named = [&](cef_resource_type_t t) {
    return std::find(refusable.resource_types.begin(), refusable.resource_types.end(), t) !=
           refusable.resource_types.end();
  };
  // Derived from ResourceTypeFor itself, so that the two cannot disagree.
  for (const char* type : kFetchTypes) {
    if (named(ResourceTypeFor(type, true, "")) || named(ResourceTypeFor(type, false, "")) ||
        named(ResourceTypeFor(type, false, "/favicon.ico")))
      devtools_types_.insert(type);
  }
}

RequestScope RequestScope::For(CefRequestHandler* handler) {
  CefRefusableRequests refusable;
  if (!handler) return RequestScope(refusable);
  return handler->GetRefusableRequests(refusable) ? RequestScope(refusable) : RequestScope();
}

bool RequestScope::Holds(const std::string& url, const std::string& devtools_type) const {
  if (holds_everything_ || devtools_types_.count(devtools_type)) return true;
  return std::any_of(url_prefixes_.begin(), url_prefixes_.end(), [&](const std::string& p) {
    return url.compare(0, p.size(), p) == 0;
  });
}

Json RequestScope::FetchPatterns() const {
  Json patterns = Json::array();
  auto add = [&](const std::string& url_pattern, const char* devtools_type) {
    Json p = Json::object();
    p.set("urlPattern", url_pattern);
    if (devtools_type) p.set("resourceType", devtools_type);
    p.set("requestStage", "Request");
    patterns.push(std::move(p));
  };
  if (holds_everything_) {
    add("*", nullptr);
    return patterns;
  }
  for (const std::string& prefix : url_prefixes_) add(PrefixPattern(prefix), nullptr);
  for (const std::string& type : devtools_types_) add("*", type.c_str());
  return patterns;
}

}  // namespace vexorcef
