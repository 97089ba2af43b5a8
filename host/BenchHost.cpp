#include "BenchHost.h"

#include "BenchDrive.h"
#include "BrowserScreen.h"
#include "CANCommandLine.h"
#include "InputFile.h"
#include "can/CANDataManager.h"
#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "hostcommand/HostCommandReport.h"
#include "services/AppInfo.h"
#include "services/PluginExports.h"
#include "services/StorageUtils.h"
#include "views/AppChooser.h"
#include "views/AppWindow.h"
#include "views/ButtonView.h"
#include "views/CenterDisplay.h"
#include "views/PageView.h"
#include "views/ViewDump.h"
#include "views/WebView.h"
#include "views/popup/OverlayView.h"
#include "views/popup/PopupView.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QTimer>
#include <algorithm>
#include <functional>

namespace {

// The one local folder the browser may read.
const QString LocalContent = QStringLiteral("/usr/vexor/UI/assets/web_content");

} // namespace

BenchHost::BenchHost(const BenchOptions& options)
    : mOptions(options)
{
    connect(theCenterDisplay, &CenterDisplay::restartRequested, this, &BenchHost::restart, Qt::QueuedConnection);
}

BenchHost::~BenchHost()
{
    CANDataManager::removeSources();
    if (mDisplay)
        mDisplay->setRoot(nullptr);
    delete mWindow;
}

bool BenchHost::assign(const QString& name, const QString& value, QString* error)
{
    DataValue* dv = DataValueRegistry::find(name);
    if (!dv) {
        *error = QStringLiteral("unknown data value '%1'").arg(name);
        return false;
    }
    // A car that stops sending a fact leaves its value invalid.
    if (value == QLatin1String("invalid")) {
        DataValue::EventLocker lock(*dv);
        dv->setValidNoLock(false);
        return true;
    }
    return dv->setFromString(value, error);
}

bool BenchHost::prepare(QString* error)
{
    if (mPrepared)
        return true;
    if (!mScratch.isValid()) {
        *error = QStringLiteral("cannot create a scratch folder: %1").arg(mScratch.errorString());
        return false;
    }
    if (!openConfiguration(error))
        return false;
    // Each bench has a browser profile of its own: Chromium locks the one it uses.
    qputenv("VEXOR_CEF_USER_DATA_DIR", QFile::encodeName(StorageUtils::dataFolder() + QStringLiteral("/chromium")));
    if (!mOptions.failingHostCommands.isEmpty())
        qputenv(HostCommandReport::FailingVariable, mOptions.failingHostCommands.join(QLatin1Char(',')).toUtf8());
    QString reason;
    if (!mNetwork.bindHostCommandSocket(mScratch.path(), &reason))
        Logger(this, "ERROR") << reason << "- host commands will run but not reach the journal";
    mPrepared = true;
    return true;
}

bool BenchHost::start(QString* error)
{
    if (!prepare(error))
        return false;
    mCar = std::make_unique<BenchCar>(mOptions.vehicleLatencyMs);

    if (!mLoader.load(mOptions.pluginPath, error))
        return false;
    StorageUtils::setAssetsFolder(assetsDirectory());
    // The catalogue must be there before the plug-in's pages look signals up.
    if (!startCanTraffic(error))
        return false;
    bindServiceEndpoint();
    registerHostScreens();
    installManual();

    mDisplay = std::make_unique<DisplayDevice>(nullptr, mOptions.size);
    startBrowserRuntime();
    buildApp();
    // Web views start their browsers from here on.
    GUI_allReady.setValue(true);
    if (!mOptions.browserUrl.isEmpty())
        openBrowser(QStringLiteral("Browser"), QUrl::fromUserInput(mOptions.browserUrl), true);
    return true;
}

bool BenchHost::openConfiguration(QString* error)
{
    // Scripts may write configuration values; without a store of its own a run gets a scratch one.
    const QString configPath =
        mOptions.configPath.isEmpty() ? mScratch.filePath(QStringLiteral("orvane.ini")) : mOptions.configPath;
    if (!QFile::exists(configPath)) {
        QFile created(configPath);
        if (!created.open(QIODevice::WriteOnly)) {
            *error = QStringLiteral("cannot create configuration file %1: %2").arg(configPath, created.errorString());
            return false;
        }
    } else if (const QString problem = InputFile::problem(configPath); !problem.isEmpty()) {
        *error = QStringLiteral("--config: %1").arg(problem);
        return false;
    } else if (!ConfigStore::check(configPath, error)) {
        return false;
    }
    ConfigStore::setPath(configPath);
    if (!mOptions.dataDir.isEmpty() && !StorageUtils::setDataFolder(mOptions.dataDir, error)) {
        *error = QStringLiteral("--data-dir: %1").arg(*error);
        return false;
    }
    for (const QString& assignment : mOptions.assignments) {
        const int eq = assignment.indexOf(QLatin1Char('='));
        if (!assign(assignment.left(eq), assignment.mid(eq + 1), error)) {
            *error = QStringLiteral("--set %1: %2").arg(assignment, *error);
            return false;
        }
    }
    return true;
}

bool BenchHost::startCanTraffic(QString* error)
{
    const bool driving = mOptions.driveAt >= 0;
    if (mOptions.parser
        && !CANCommandLine::apply(*mOptions.parser, assetsDirectory(), error,
                                  driving ? BenchDrive::sampleSignals() : CANTrafficGenerator::ValueSource()))
        return false;
    if (driving) {
        auto* drive = new BenchDrive(this);
        drive->start(mOptions.driveAt);
    }
    const QString record = mOptions.parser ? CANCommandLine::recordPath(*mOptions.parser) : QString();
    if (!record.isEmpty()) {
        mRecorder = std::make_unique<CANRecorder>();
        if (!mRecorder->start(record, error)) {
            *error = QStringLiteral("--can-record: %1").arg(*error);
            return false;
        }
    }
    return true;
}

void BenchHost::bindServiceEndpoint()
{
    QString reason;
    if (!mNetwork.bindServicePort(mOptions.servicePort, &reason)) {
        Logger(this, "WARN") << "Service endpoint off:" << reason << "- the bench runs on without it";
        return;
    }
    const QString url = mNetwork.serviceUrl();
    Logger(this, "INFO") << "Service endpoint on" << url;
    // The pages that show the car's endpoint reach this bench's, whatever its port, unless the
    // configuration names another.
    ConfigHostDefaults::set(QStringLiteral("diag/dravik_url"), url);
    ConfigHostDefaults::set(QStringLiteral("diag/vitals_url"),
                            QStringLiteral("%1/web_content/vitals/vitals.html?endpoint=") + url);
}

void BenchHost::startNetworkServices()
{
    mNetwork.start();
}

// The host screens the APPS page offers, one line each.
void BenchHost::registerHostScreens()
{
    AppChooser::registerApp(QStringLiteral("Diagnostic Tools"), [this] { openScreen(nullptr); });
    if (const QMetaObject* navigation = mLoader.exportedPage(QStringLiteral("DeveloperNavigationPage"))) {
        AppChooser::registerApp(QStringLiteral("Developer Navigation"), [this, navigation] {
            openScreen(qobject_cast<PageView*>(navigation->newInstance(Q_ARG(DisplayView*, mWindow))));
        });
    }
    AppChooser::registerApp(QStringLiteral("Browser"), [this] { openBrowser(QStringLiteral("Browser"), QUrl("about:blank"), true); });
    AppChooser::registerApp(QStringLiteral("Owner's Manual"), [this] {
        openBrowser(QStringLiteral("Owner's Manual"), QUrl::fromLocalFile(LocalContent + QStringLiteral("/manual/index.html")), false);
    });
}

namespace {

bool sameContent(const QString& a, const QString& b)
{
    QFile first(a);
    QFile second(b);
    if (first.size() != second.size() || !first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly))
        return false;
    return first.readAll() == second.readAll();
}

} // namespace

void BenchHost::installManual()
{
    const QString from = assetsDirectory() + QStringLiteral("/web_content/manual");
    const QString to = LocalContent + QStringLiteral("/manual");
    QString problem;
    if (!QDir().mkpath(to)) {
        problem = QStringLiteral("cannot create the folder");
    } else {
        for (const QString& name : QDir(from).entryList(QDir::Files)) {
            // A manual installed with the package, or by an earlier start, is left as it is.
            if (sameContent(from + QLatin1Char('/') + name, to + QLatin1Char('/') + name))
                continue;
            QFile::remove(to + QLatin1Char('/') + name);
            QFile source(from + QLatin1Char('/') + name);
            if (!source.copy(to + QLatin1Char('/') + name)) {
                problem = QStringLiteral("cannot copy %1: %2").arg(name, source.errorString());
                break;
            }
        }
    }
    if (problem.isEmpty())
        Logger(this, "INFO") << "Owner's manual installed in" << to;
    else
        Logger(this, "WARN") << "Owner's manual not installed in" << to << "(" << problem
                             << ") - the Owner's Manual screen shows whatever is there, or the browser's error page";
}

void BenchHost::openBrowser(const QString& title, const QUrl& url, bool withAddress)
{
    const PluginExports* exports = mLoader.exports();
    openScreen(new BrowserScreen(mWindow, title, exports ? exports->webView : nullptr, url, withAddress));
}

void BenchHost::startBrowserRuntime()
{
    const PluginExports* exports = mLoader.exports();
    mChromiumManager = exports && exports->createBrowserRuntime ? exports->createBrowserRuntime(this) : nullptr;
    if (!mChromiumManager) {
        Logger(this, "WARN") << "The plug-in has no browser runtime: web views stay empty";
        return;
    }
    theCenterDisplay->setChromiumManager(mChromiumManager);
}

QString BenchHost::assetsDirectory() const
{
    return mLoader.directory() + QStringLiteral("/assets");
}

void BenchHost::buildApp()
{
    mWindow = new AppWindow;
    mWindow->setObjectName(QStringLiteral("appWindow"));
    mWindow->setGeometry(QRect(QPoint(0, 0), mOptions.size));
    mDisplay->setRoot(mWindow);
    mAppInfo = std::make_unique<AppInfo>(mLoader.directory(), mWindow);
    mPluginView = mLoader.create(mAppInfo.get(), mWindow);
    if (mPluginView) {
        // The app fills the area above the bar, as far in from the right as it starts from the left.
        const QRect area = mWindow->appArea();
        mPluginView->resize(area.width() - 2 * mPluginView->x(), area.height() - mPluginView->y() - 20);
    }
    Logger(this, "INFO") << "Plug-in loaded from" << mLoader.path();
}

void BenchHost::openScreen(PageView* screen)
{
    delete mScreen;
    delete mScreenBack;
    mScreen = screen;
    if (mPluginView)
        mPluginView->show(!screen);
    if (!screen)
        return;
    // A host screen takes the app's place until BACK in the window's bar brings the app back.
    screen->setGeometry(mPluginView ? mPluginView->geometry() : mWindow->appArea());
    screen->pageShown();
    mScreenBack = new ButtonView(mWindow->barView(), Style("SettingsPushButton"), QStringLiteral("BACK"));
    mScreenBack->moveTo(22, (mWindow->barView()->height() - mScreenBack->height()) / 2);
    connect(mScreenBack, &ControlBase::released, this, [this] { openScreen(nullptr); }, Qt::QueuedConnection);
}

void BenchHost::restart(bool customerMode)
{
    Logger(this, "INFO") << (customerMode ? "Restarting the UI in customer mode" : "Restarting the UI");
    mDisplay->setRoot(nullptr);
    // A restarted UI starts without the old one's questions and lists.
    for (PopupView* popup : theCenterDisplay->openPopups())
        popup->close();
    delete mWindow;
    mWindow = nullptr;
    mPluginView = nullptr;
    if (customerMode) {
        // The car comes back as a customer would find it.
        GUI_developerMode.setValue(false);
        GUI_diagnosticMode.setValue(false);
    }
    buildApp();
    emit restarted();
}

void BenchHost::settle(const std::function<void()>& then)
{
    // Layouts and restarts are queued work; a few turns of the loop let all of it land.
    QTimer::singleShot(0, this, [this, then] {
        for (int turn = 0; turn < 8; ++turn)
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        then();
    });
}

void BenchHost::settleWithPageData(const std::function<void()>& then)
{
    // A dashboard shows its first values once the requests its page made have come back;
    // a page that never quiets down is taken as it is after a while.
    constexpr int PatienceMs = 5000;
    QElapsedTimer waited;
    waited.start();
    auto* look = new QTimer(this);
    look->setInterval(10);
    connect(look, &QTimer::timeout, this, [this, look, waited, then] {
        const QList<DisplayView*> shown = shownViews();
        const bool busy = std::any_of(shown.begin(), shown.end(), [](DisplayView* view) {
            auto* page = qobject_cast<WebView*>(view);
            return page && page->isBusy();
        });
        if (busy && waited.elapsed() < PatienceMs)
            return;
        look->stop();
        look->deleteLater();
        settle(then);
    });
    look->start();
}

bool BenchHost::writeScreenshot(const QString& path, QString* error) const
{
    const QImage image = mDisplay->render();
    if (!image.save(path, "PNG")) {
        *error = QStringLiteral("cannot write screenshot %1").arg(path);
        return false;
    }
    return true;
}

bool BenchHost::writeViewDump(const QString& path, QString* error) const
{
    QJsonObject root = ViewDump::toJson(mWindow);
    root.insert(QStringLiteral("overlay"), ViewDump::toJson(theCenterDisplay->overlay()));
    // What the views show comes from these: a test reads the state beside the views.
    QJsonArray values;
    for (const DataValue* value : DataValueRegistry::all())
        values.append(value->toJson());
    root.insert(QStringLiteral("dataValues"), values);
    return ViewDump::writeFile(root, path, error);
}

QList<DisplayView*> BenchHost::shownViews(bool overlayOnly) const
{
    QList<DisplayView*> found;
    std::function<void(DisplayView*)> visit = [&](DisplayView* view) {
        if (!view->isVisible())
            return;
        found.append(view);
        for (DisplayView* child : view->childViews())
            visit(child);
    };
    if (mWindow && !overlayOnly)
        visit(mWindow);
    visit(theCenterDisplay->overlay());
    return found;
}

bool BenchHost::labelMatches(const DisplayView* view, const QString& wanted)
{
    const QString text = view->describe();
    if (!wanted.startsWith(QLatin1Char('~')))
        return !text.isEmpty() && text == wanted;
    // A part of a label is looked for as a person reads it: line breaks are blanks, any case.
    return text.simplified().contains(wanted.mid(1).simplified(), Qt::CaseInsensitive);
}

bool BenchHost::readsAs(const DisplayView* view, const QString& words)
{
    const QString text = view->describe().simplified();
    return !text.isEmpty() && text.compare(words.simplified(), Qt::CaseInsensitive) == 0;
}

QList<DisplayView*> BenchHost::findShownViews(const QString& text, bool overlayOnly) const
{
    QList<DisplayView*> found;
    for (DisplayView* view : shownViews(overlayOnly)) {
        if (labelMatches(view, text))
            found.append(view);
    }
    return found;
}
