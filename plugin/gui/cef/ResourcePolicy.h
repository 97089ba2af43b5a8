#pragma once

#include "diag/DiagExport.h"

#include "include/cef_request_handler.h"

// What a web view may load: extensions' and internal pages, files outside the web content
// folder, media, plug-ins and objects are refused, and the owner's manual is given the car's
// features. Decided on the engine's I/O thread from the request alone, so it reads no client.
class DIAG_EXPORT ResourcePolicy {
public:
    static cef_return_value_t decide(CefRefPtr<CefRequest> request);
    // The requests decide() may refuse or rewrite, by address prefix and resource type.
    static void refusableRequests(CefRefusableRequests& refusable);
};
