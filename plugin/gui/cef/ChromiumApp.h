#pragma once

#include "diag/DiagExport.h"

#include "include/cef_app.h"
#include "include/cef_browser_process_handler.h"

#include <QObject>

// The application object the engine is started with: the command line that suits the car's
// display hardware and input, and a cookie store for web schemes only.
class DIAG_EXPORT ChromiumApp : public QObject, public CefApp, public CefBrowserProcessHandler {
    Q_OBJECT
public:
    ChromiumApp();
    ~ChromiumApp() override;

    void OnBeforeCommandLineProcessing(const CefString& processType,
                                       CefRefPtr<CefCommandLine> commandLine) override;
    CefRefPtr<CefBrowserProcessHandler> GetBrowserProcessHandler() override;
    void OnContextInitialized() override;

    IMPLEMENT_REFCOUNTING(ChromiumApp);
};
