#include "gui/cef/ChromiumManager.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "core/PendingSaves.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumApp.h"
#include "gui/cef/ChromiumUtils.h"
#include "services/Escalator.h"
#include "services/VehicleUtils.h"
#include "services/VxWebContentFilter.h"
#include "services/WifiManager.h"
#include "views/DisplayView.h"

#include <QDir>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

// The manager the engine asks for pumps; it stops the asking as it goes.
ChromiumManager* gPumpedManager = nullptr;

// Engine sub-processes inherit the group the process is in while the engine starts.
void moveToControlGroup(const char* command, const char* failure)
{
    if (Escalator(QString::fromLatin1(command), QStringList()).runCommand() != 0) {
        // exit() skips the loop's later turns, where deferred saves would have run.
        PendingSaves::flushAll();
        perror(failure);
        exit(1);
    }
}

} // namespace

ChromiumManager::ChromiumManager(QObject* parent)
    : QObject(parent)
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "ChromiumManager::ChromiumManager(QObject*)";
    DisplayView::dvConnect(&LINK_linkState, this, SLOT(updateVideoAllowed()), false);
    VehicleUtils::gearConnect(this, SLOT(updateVideoAllowed()), false);
    mPump.setSingleShot(true);
    mPump.setTimerType(Qt::PreciseTimer);
    connect(&mPump, &QTimer::timeout, this, &ChromiumManager::tick);
}

ChromiumManager::~ChromiumManager()
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual ChromiumManager::~ChromiumManager()";
    if (gPumpedManager == this) {
        CefSetMessagePumpRequest(nullptr);
        gPumpedManager = nullptr;
    }
    mClients.clear();
    mApp = nullptr;
}

CefSettings ChromiumManager::engineSettings()
{
    QString locale;
    {
        DataValue::ConditionalLocker locker(GUI_locale);
        locale = GUI_locale.value();
    }
    locale.replace(QLatin1Char('_'), QLatin1Char('-'));

    CefSettings settings;
    CefString(&settings.browser_subprocess_path) = ChromiumUtils::toCefString(QDir::currentPath() + "/vexor-cef-launcher");
    settings.multi_threaded_message_loop = 0;
    CefString(&settings.locales_dir_path) = "/usr/lib/locales";
    CefString(&settings.user_agent) = ChromiumUtils::toCefString(ChromiumUserAgent.value());
    settings.log_severity = LOGSEVERITY_DISABLE;
    CefString(&settings.locale) = ChromiumUtils::toCefString(locale);
    CefString(&settings.accept_language_list) = ChromiumUtils::toCefString(locale + ",en");
    CefString(&settings.cache_path) = "/home/vexor-cef";
    CefString(&settings.user_data_path) = "/home/vexor-cef";
    settings.persist_session_cookies = 1;
    settings.persist_user_preferences = 1;
    // Zero alpha: the engine's own opaque white for windowed browsers.
    settings.background_color = 0x00FFFFFF;
    return settings;
}

void ChromiumManager::startEngine()
{
    mApp = new ChromiumApp;
    // The engine says when it has work, on its own threads: the UI thread is not woken to find none.
    gPumpedManager = this;
    CefSetMessagePumpRequest([this](int64 delayMs) {
        QMetaObject::invokeMethod(this, [this, delayMs] { pumpIn(delayMs); }, Qt::QueuedConnection);
    });
    const CefSettings settings = engineSettings();

    moveToControlGroup("internet-cgroup", "failed to set internet-cgroups");
    // The engine stops its threads when the process exits, after the statics built later are
    // gone: the filter the request policy reads there is built first.
    VxWebContentFilter::instance();
    char program[] = "chromium";
    char noStackTraces[] = "--disable-in-process-stack-traces";
    char* argv[] = {program, noStackTraces, nullptr};
    const CefMainArgs args(2, argv);
    if (CefInitialize(args, settings, mApp.get(), nullptr))
        Logger(this, "INFO") << "CefInitialize success";
    else
        Logger(this, "ERROR") << "CEF failed to initialize";
    moveToControlGroup("orvane-cgroup", "failed to set orvane-cgroups");
    // Also after a failed start: it is never retried.
    mInitialized = true;
}

void ChromiumManager::initializeCef(ChromiumClient* client)
{
    if (!client || mClients.lastIndexOf(client) != -1) {
        Logger::logAssert("client && mClients.lastIndexOf(client) == -1", "invalid browser client", "ChromiumManager", 36);
        return;
    }
    if (!mInitialized)
        startEngine();
    mClients.append(client);
    Logger(this, "INFO") << "added browser client, current count" << mClients.size();
    // Pumps asked for while there was no client were let go by; the work waits still.
    pumpIn(0);
}

void ChromiumManager::uninitializeCef(ChromiumClient* client)
{
    if (mClients.lastIndexOf(client) == -1) {
        Logger::logAssert("mClients.lastIndexOf(client) != -1", "unknown browser client", "ChromiumManager", 108);
        return;
    }
    mClients.removeAll(client);
    if (DebugChromium.value())
        Logger(this, "INFO") << "void ChromiumManager::uninitializeCef(ChromiumClient*)"
                             << "browser client removed, current count" << mClients.size();
}

void ChromiumManager::tick()
{
    if (!mClients.isEmpty())
        CefDoMessageLoopWork();
}

void ChromiumManager::pumpIn(qint64 delayMs)
{
    if (!mPump.isActive() || mPump.remainingTime() > delayMs)
        mPump.start(int(qBound<qint64>(0, delayMs, std::numeric_limits<int>::max())));
}

void ChromiumManager::updateVideoAllowed()
{
    const bool allowed = VehicleUtils::isCarParked() && WifiManager::usingWifi();
    if (allowed == mVideoAllowed)
        return;
    mVideoAllowed = allowed;
    emit videoAllowedChanged(allowed);
}
