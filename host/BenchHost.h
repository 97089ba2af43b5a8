#pragma once

#include "BenchCar.h"
#include "CANRecorder.h"
#include "BenchOptions.h"
#include "BenchNetwork.h"
#include "PluginLoader.h"

#include <QObject>
#include <QUrl>
#include <QPointer>
#include <QTemporaryDir>
#include <memory>

class AppInfo;
class AppWindow;
class DataValue;
class DisplayDevice;
class ButtonView;
class ChromiumManager;
class DisplayView;
class PageView;

// The car's centre display: the application window with the plug-in's view in it, the
// configuration store and data folder, restarts as the car performs them, host commands, and
// the simulated car behind it all.
class BenchHost : public QObject {
    Q_OBJECT
public:
    explicit BenchHost(const BenchOptions& options);
    ~BenchHost() override;

    // Opens the store and sets every environment variable the bench and its children need.
    // Call it while the process has one thread: glibc's setenv may move the environment that
    // other threads' getenv is reading (start() does it first when it has not been done).
    bool prepare(QString* error);
    // Sets up the data values, loads the plug-in and builds the app. False with a reason on bad
    // input.
    bool start(QString* error);

    // The shipped data beside the plug-in (sample CAN catalogue and log, skins, web pages).
    QString assetsDirectory() const;
    DisplayDevice* display() const { return mDisplay.get(); }
    AppWindow* window() const { return mWindow; }
    DisplayView* pluginView() const { return mPluginView; }
    // Null until start().
    BenchCar* car() const { return mCar.get(); }
    // Loads the service endpoint and the host commands' listener onto the sockets start() bound.
    // Their clients wait until then: call it once the first frame is out.
    void startNetworkServices();

    // Runs the event loop until queued work (layouts, restarts) is done, then calls back.
    void settle(const std::function<void()>& then);
    // Settles, and first waits (a few seconds at most) for the shown pages' first data.
    void settleWithPageData(const std::function<void()>& then);

    // "NAME=VALUE" or name and value: sets a data value, false with a reason.
    static bool assign(const QString& name, const QString& value, QString* error);

    bool writeScreenshot(const QString& path, QString* error) const;
    bool writeViewDump(const QString& path, QString* error) const;
    // The shown views whose label or title is this text, in paint order (the last is on
    // top): the application's, then the overlay's (popups, open lists).
    QList<DisplayView*> findShownViews(const QString& text, bool overlayOnly = false) const;
    // Every shown view, in paint order.
    QList<DisplayView*> shownViews(bool overlayOnly = false) const;
    // Whether the view's label or title is `wanted`, or contains TEXT when `wanted` is "~TEXT"
    // (line breaks read as blanks, any case).
    static bool labelMatches(const DisplayView* view, const QString& wanted);
    // Whether the view's label reads as these words, whatever its line breaks and case: how a
    // person names a control's row ("Power Limit (kW)" for "POWER\nLIMIT (kW)").
    static bool readsAs(const DisplayView* view, const QString& words);

signals:
    // The app was torn down and built again.
    void restarted();

private:
    bool openConfiguration(QString* error);
    bool startCanTraffic(QString* error);
    void bindServiceEndpoint();
    void registerHostScreens();
    void buildApp();
    void startBrowserRuntime();
    // Copies the shipped owner's manual where the browser may read local pages.
    void installManual();
    void openBrowser(const QString& title, const QUrl& url, bool withAddress);
    // Shows a host screen in place of the plug-in's app, or the app again for null.
    void openScreen(PageView* screen);
    void restart(bool customerMode);

    BenchOptions mOptions;
    PluginLoader mLoader;
    QTemporaryDir mScratch;
    bool mPrepared = false;
    std::unique_ptr<BenchCar> mCar;
    std::unique_ptr<CANRecorder> mRecorder;
    std::unique_ptr<DisplayDevice> mDisplay;
    std::unique_ptr<AppInfo> mAppInfo;
    AppWindow* mWindow = nullptr;
    DisplayView* mPluginView = nullptr;
    QPointer<PageView> mScreen;
    QPointer<ButtonView> mScreenBack;
    // The plug-in's browser runtime, made through its exports; it pumps its engine itself.
    ChromiumManager* mChromiumManager = nullptr;
    // Declared last, so its services stop first: they read the car and the journal until then.
    BenchNetwork mNetwork;
};
