#pragma once

#include "diag/DiagExport.h"

#include "include/cef_app.h"

#include <QList>
#include <QObject>

class ChromiumApp;
class ChromiumClient;

// The one browser runtime of the process: starts the engine when the first client registers,
// pumps it from the UI thread while clients exist, and never shuts it down.
class DIAG_EXPORT ChromiumManager : public QObject {
    Q_OBJECT
public:
    // Invokable: a host that loads the plug-in at run time makes it through its meta-object.
    Q_INVOKABLE explicit ChromiumManager(QObject* parent = nullptr);
    ~ChromiumManager() override;

    void initializeCef(ChromiumClient* client);
    void uninitializeCef(ChromiumClient* client);
    // One non-blocking step of engine work; the host calls it periodically while clients exist.
    Q_INVOKABLE void tick();
    int clientCount() const { return int(mClients.size()); }

    // The engine settings for the host's current locale and user agent.
    static CefSettings engineSettings();

signals:
    void videoAllowedChanged(bool allowed);
    // A client came or went: a host pumps the engine only while there is one.
    void clientCountChanged(int count);

public slots:
    void updateVideoAllowed();

private:
    void startEngine();

    bool mInitialized = false;
    bool mVideoAllowed = false;
    CefRefPtr<ChromiumApp> mApp;
    QList<ChromiumClient*> mClients;
};
