#pragma once

#include "diag/DiagExport.h"

#include "include/cef_app.h"

#include <QList>
#include <QObject>
#include <QTimer>

class ChromiumApp;
class ChromiumClient;

// The one browser runtime of the process: starts the engine when the first client registers,
// pumps it from the UI thread while clients exist, and never shuts it down. The engine asks
// for each pump it needs, so an idle browser costs no turn of the loop; a host may still
// call tick() as often as it likes.
class DIAG_EXPORT ChromiumManager : public QObject {
    Q_OBJECT
public:
    // Invokable: a host that loads the plug-in at run time makes it through its meta-object.
    Q_INVOKABLE explicit ChromiumManager(QObject* parent = nullptr);
    ~ChromiumManager() override;

    void initializeCef(ChromiumClient* client);
    void uninitializeCef(ChromiumClient* client);
    // One non-blocking step of engine work.
    Q_INVOKABLE void tick();
    int clientCount() const { return int(mClients.size()); }

    // The engine settings for the host's current locale and user agent.
    static CefSettings engineSettings();

signals:
    void videoAllowedChanged(bool allowed);

public slots:
    void updateVideoAllowed();

private:
    void startEngine();
    // Pumps in delayMs, unless a pump is due sooner already.
    void pumpIn(qint64 delayMs);

    bool mInitialized = false;
    bool mVideoAllowed = false;
    CefRefPtr<ChromiumApp> mApp;
    QList<ChromiumClient*> mClients;
    QTimer mPump;
};
