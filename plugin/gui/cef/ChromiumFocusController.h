#pragma once

#include <QObject>
#include <QPointer>

class ChromiumClient;
class WebKitView;

// Keeps the browser window's input region to the part of its web view that may take input, so
// touches meant for a popup or the keyboard above never reach the page. A child of its client.
class ChromiumFocusController : public QObject {
    Q_OBJECT
public:
    explicit ChromiumFocusController(ChromiumClient* client);

public slots:
    void updateFocus();

private:
    ChromiumClient* mClient;
    QPointer<WebKitView> mView; // may go before the client finishes closing
};
