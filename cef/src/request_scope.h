// Which requests Chromium holds until the request handler has answered.
#ifndef VEXOR_CEF_SRC_REQUEST_SCOPE_H_
#define VEXOR_CEF_SRC_REQUEST_SCOPE_H_

#include <set>
#include <string>
#include <vector>

#include "include/cef_request_handler.h"
#include "json.h"

namespace vexorcef {

// The engine's resource type for a request Chromium reports with a DevTools resource type.
cef_resource_type_t ResourceTypeFor(const std::string& devtools_type, bool main_frame,
                                    const std::string& url);

// Every request, or only those a handler named as the ones it may refuse or change. Holding
// a request costs Chromium a round trip through the pipe before it sends it, so a handler
// that names fewer lets the rest go at once.
class RequestScope {
 public:
  RequestScope() = default;  // every request
  explicit RequestScope(const CefRefusableRequests& refusable);
  // What a browser holds for its handler: nothing without one.
  static RequestScope For(CefRequestHandler* handler);

  bool HoldsEverything() const { return holds_everything_; }
  // A request as Chromium holds it: its URL without fragment and its DevTools type.
  bool Holds(const std::string& url, const std::string& devtools_type) const;
  // Fetch.enable's patterns that hold these requests at the request stage.
  Json FetchPatterns() const;

 private:
  bool holds_everything_ = true;
  std::vector<std::string> url_prefixes_;
  // DevTools types that can become one of the named resource types.
  std::set<std::string> devtools_types_;
};

}  // namespace vexorcef

#endif
