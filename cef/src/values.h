#ifndef VEXOR_CEF_SRC_VALUES_H_
#define VEXOR_CEF_SRC_VALUES_H_

#include <string>

#include "include/cef_process_message.h"
#include "include/cef_values.h"
#include "json.h"

namespace vexorcef {

// Page-side messages travel as {"name": ..., "args": [...]}.
Json ProcessMessageToJson(CefRefPtr<CefProcessMessage> message);
CefRefPtr<CefProcessMessage> ProcessMessageFromJson(const std::string& name, const Json& args);

}  // namespace vexorcef

#endif
