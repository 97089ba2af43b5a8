#include "core/DataValues.h"
#include "core/Logger.h"
#include "core/PendingSaves.h"
#include "gui/cef/ChromiumManager.h"
#include "services/Escalator.h"

#include "BrowserTestSupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The manager only keeps the pointers; distinct addresses are all it needs of a client.
ChromiumClient* fakeClient(int& slot)
{
    return reinterpret_cast<ChromiumClient*>(&slot);
}

} // namespace

TEST(ChromiumManager, TheFirstClientStartsTheEngineOnceBetweenTheGroupMoves)
{
    ControlGroupCommands commands;
    CapturingLogSink log;
    ChromiumManager manager;
    int a = 0, b = 0;

    manager.initializeCef(fakeClient(a));
    EXPECT_EQ(commands.runs(), (QStringList{"internet-cgroup 0", "orvane-cgroup 0"}));
    EXPECT_TRUE(log.contains("ERROR", "CEF failed to initialize")) << log.lines().join("\n").toStdString();
    EXPECT_TRUE(log.contains("INFO", "added browser client, current count 1"));

    // A failed start is not retried by later clients.
    manager.initializeCef(fakeClient(b));
    EXPECT_EQ(commands.runs().size(), 2);
    EXPECT_TRUE(log.contains("INFO", "added browser client, current count 2"));
    EXPECT_EQ(log.lines().filter("CEF failed to initialize").size(), 1);
}

TEST(ChromiumManager, BadRegistrationsAssertAndLeaveTheListAlone)
{
    ControlGroupCommands commands;
    CapturingLogSink log;
    ChromiumManager manager;
    int a = 0, stranger = 0;

    manager.initializeCef(nullptr);
    EXPECT_TRUE(commands.runs().isEmpty()) << "a null client must not start the engine";
    manager.initializeCef(fakeClient(a));
    manager.initializeCef(fakeClient(a));
    EXPECT_EQ(log.lines().filter("invalid browser client (ChromiumManager:36)").size(), 2)
        << log.lines().join("\n").toStdString();
    EXPECT_EQ(log.lines().filter("added browser client").size(), 1);

    manager.uninitializeCef(fakeClient(stranger));
    EXPECT_EQ(log.lines().filter("unknown browser client (ChromiumManager:108)").size(), 1);

    manager.uninitializeCef(fakeClient(a));
    manager.uninitializeCef(fakeClient(a));
    EXPECT_EQ(log.lines().filter("unknown browser client (ChromiumManager:108)").size(), 2)
        << "the one entry is gone after the first removal";
    manager.tick(); // no clients: no engine work, and nothing to fail
}

TEST(ChromiumManagerDeathTest, AFailedMoveToTheBrowserGroupEndsTheProcessAfterThePendingSaves)
{
    QTemporaryDir scratch;
    const QString saved = scratch.filePath("saved");
    int owner = 0;
    // A save the loop would have made in its next turn, which never comes.
    PendingSaves::add(&owner, [&] {
        QFile file(saved);
        file.open(QIODevice::WriteOnly);
        file.write("selection");
    });
    {
        ControlGroupCommands commands(3);
        ChromiumManager manager;
        int a = 0;
        EXPECT_EXIT(manager.initializeCef(fakeClient(a)), ::testing::ExitedWithCode(1),
                    "failed to set internet-cgroups: Operation not permitted");
    }
    EXPECT_TRUE(QFile::exists(saved)) << "the process ended before the pending save";
    QFile::remove(saved);
    {
        // A command that never answers is ended; the display is not frozen for good.
        ControlGroupCommands commands(ControlGroupCommands::Hangs);
        const int before = Escalator::timeoutMs();
        Escalator::setTimeoutMs(300);
        ChromiumManager manager;
        int a = 0;
        EXPECT_EXIT(manager.initializeCef(fakeClient(a)), ::testing::ExitedWithCode(1),
                    "failed to set internet-cgroups: Connection timed out");
        Escalator::setTimeoutMs(before);
    }
    EXPECT_TRUE(QFile::exists(saved));
    PendingSaves::remove(&owner);
}

TEST(ChromiumManager, SettingsFollowTheHostLocale)
{
    const QString before = GUI_locale.value();
    GUI_locale.setValue("en_GB");
    const CefSettings settings = ChromiumManager::engineSettings();
    GUI_locale.setValue(before);

    EXPECT_EQ(CefString(&settings.locale).ToString(), "en-GB");
    EXPECT_EQ(CefString(&settings.accept_language_list).ToString(), "en-GB,en");
    EXPECT_EQ(CefString(&settings.browser_subprocess_path).ToString(),
              (QDir::currentPath() + "/vexor-cef-launcher").toStdString());
    EXPECT_EQ(settings.external_message_pump, 0) << "an unlisted setting keeps the engine's default";
}

TEST(ChromiumManager, VideoIsAllowedOnlyParkedOnWifiAndEachChangeIsToldOnce)
{
    VAPI_gear.setValue(4);
    LINK_linkState.setValue(1);
    ChromiumManager manager;
    QList<bool> told;
    QObject::connect(&manager, &ChromiumManager::videoAllowedChanged, [&](bool allowed) { told << allowed; });

    VAPI_gear.setValue(1);
    drainEvents();
    EXPECT_TRUE(told.isEmpty()) << "parked on a cellular link";

    LINK_linkState.setValue(2);
    drainEvents();
    EXPECT_EQ(told, QList<bool>{true});

    manager.updateVideoAllowed();
    EXPECT_EQ(told, QList<bool>{true});

    VAPI_gear.setValue(4);
    drainEvents();
    EXPECT_EQ(told, (QList<bool>{true, false}));
}
