#pragma once

#include "include/wrapper/cef_message_router.h"

class ChromiumClient;

// The page-query router's one handler: the geolocation request.
class ChromiumMessageHandler : public CefMessageRouterBrowserSide::Handler {
public:
    explicit ChromiumMessageHandler(ChromiumClient* client) : mClient(client) {}

    bool OnQuery(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, int64 queryId,
                 const CefString& request, bool persistent, CefRefPtr<Callback> callback) override;

private:
    ChromiumClient* mClient;
};
