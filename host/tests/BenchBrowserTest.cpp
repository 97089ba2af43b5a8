// The bench's browser screens against real Chromium under X: the on-screen keyboard, taps and
// page dialogs end to end, each run on a Chromium profile of its own. Run serially.
#include "BenchProcess.h"
#include "test_support.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QPoint>
#include <QRect>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QUrl>
#include <gtest/gtest.h>

#include "support/X11TestWindow.h"


namespace {

// Where the Browser screen puts the page on a 1920x1200 display: page pixel (0, 0).
const QPoint PageOrigin(32, 144);

// The first tap once the page is there ("ready" as its title) must reach it: one knock at the
// page's top left corner arms it ("armed"). The page ignores that corner from then on.
const char* const ArmScript =
    "<script>let armed = false; document.title = 'ready';"
    "const knock = e => e.clientX < 20 && e.clientY < 20;"
    "for (const type of ['mousedown', 'mouseup', 'click'])"
    "  addEventListener(type, e => {"
    "    if (!knock(e)) return;"
    "    e.stopImmediatePropagation();"
    "    if (type == 'click' && !armed) { armed = true; document.title = 'armed'; }"
    "  }, true);"
    "</script>";

class BenchBrowser : public ::testing::Test {
protected:
    // A bench showing `path` of the test server in its Browser screen (none for an empty
    // path), running `script`.
    BenchRun browse(const std::string& path, const QString& script, const QStringList& more = {},
                    const QStringList& environment = {})
    {
        return browseUrl(path.empty() ? QString() : QString::fromStdString(server.Url(path)), script, more, environment);
    }
    BenchRun browseUrl(const QString& url, const QString& script, const QStringList& more = {},
                       const QStringList& environment = {})
    {
        QFile file(dir.filePath("script.txt"));
        file.open(QIODevice::WriteOnly);
        file.write(script.toUtf8());
        file.close();
        QStringList arguments{"--offscreen", "--service-port", "0", "--data-dir", dir.filePath("data"),
                              "--script", file.fileName()};
        if (!url.isEmpty())
            arguments << "--browser" << url;
        return runBench(arguments + more, dir.path(), 90000, environment);
    }

    // Script lines that type `to` into the Browser screen's address field, which holds `from`.
    static QString typeAddress(const QString& from, const QString& to)
    {
        return "tap \"address\"\nwait-for \"keyboard\"\n" + QString("tap \"BACKSPACE\"\n").repeated(from.size())
               + "keys \"" + to.section('/', 2) + "\"\ntap \"RETURN\"\n";
    }

    // A tap at a page pixel, as a script line.
    static QString tapPage(int x, int y)
    {
        return QStringLiteral("tap %1 %2\n").arg(PageOrigin.x() + x).arg(PageOrigin.y() + y);
    }
    static QString arm() { return "wait-for \"ready\"\n" + tapPage(5, 5) + "wait-for \"armed\"\n"; }

    QJsonObject webView(const QString& dumpName) { return dumpedView(dumpName, "class", "WebKitView"); }

    // The first view of a dump whose `key` is `value`.
    QJsonObject dumpedView(const QString& dumpName, const QString& key, const QString& value)
    {
        return findView(readDump(dir.filePath(dumpName)), [&](const QJsonObject& v) { return v[key].toString() == value; });
    }

    QTemporaryDir dir;
    testing_support::HttpServer server;
};

TEST_F(BenchBrowser, TypingThroughTheKeyboardReachesTheFocusedInputWhichShowsAndHidesIt)
{
    server.Serve("/type", std::string("<body style='margin:0'><input id=f style='position:absolute;left:100px;top:100px;"
                                      "width:600px;height:60px' oninput=\"document.title = 'v:' + this.value\""
                                      " onblur=\"document.title = 'left:' + this.value\">")
                              + ArmScript);
    const QString script = arm() + QString::fromUtf8("expect-no-view \"keyboard\"\n"
                                             + tapPage(400, 130).toUtf8()
                                             + "wait-for \"keyboard\"\n"
                                               "keys \"Hé! ž€ A1~\"\n"
                                               "tap \"BACKSPACE\"\n"
                                               "wait-for \"v:Hé! ž€ A1\"\n"
                                             + tapPage(400, 500).toUtf8()
                                             + "wait-for-no \"keyboard\"\n"
                                               "wait-for \"left:Hé! ž€ A1\"\n"
                                               "dump " + dir.filePath("views.json").toUtf8() + "\n");
    const BenchRun run = browse("/type", script);
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(webView("views.json")["pageTitle"].toString(), QString::fromUtf8("left:Hé! ž€ A1"));
}

TEST_F(BenchBrowser, ATapIsExactlyOneClickAtThePixel)
{
    server.Serve("/click", std::string("<body style='margin:0;height:2000px'><script>"
                                       "let down = 0, up = 0, clicks = 0;"
                                       "const show = e => { document.title = `down ${down} up ${up} click ${clicks} at ${e.clientX},${e.clientY}`; };"
                                       "addEventListener('mousedown', e => { ++down; show(e); });"
                                       "addEventListener('mouseup', e => { ++up; show(e); });"
                                       "addEventListener('click', e => { ++clicks; show(e); });"
                                       "</script>")
                               + ArmScript);
    // Were a tap two clicks, the second tap's count would tell.
    const BenchRun run = browse("/click", arm() + tapPage(300, 200)
                                              + "wait-for \"down 1 up 1 click 1 at 300,200\"\n" + tapPage(7, 911)
                                              + "wait-for \"down 2 up 2 click 2 at 7,911\"\n");
    EXPECT_EQ(run.exitCode, 0) << run.output.toStdString();
}

TEST_F(BenchBrowser, PageDialogsShowAsPopupsAndThePageSeesTheAnswer)
{
    // Five bands to tap: alert, confirm, prompt, leave the page, and a sign of life.
    server.Serve("/dialogs", std::string("<body style='margin:0'><script>"
                                         "addEventListener('beforeunload', e => { e.preventDefault(); e.returnValue = ''; });"
                                         "addEventListener('click', e => {"
                                         "  const band = Math.floor(e.clientY / 100);"
                                         "  if (band == 0) { alert('Hello'); document.title = 'alert done'; }"
                                         "  if (band == 1) document.title = 'confirm:' + confirm('Sure?');"
                                         "  if (band == 2) document.title = 'prompt:' + prompt('Name?', 'def');"
                                         "  if (band == 3) location.href = '/left';"
                                         "  if (band == 4) document.title = 'still here';"
                                         "});</script>")
                                 + ArmScript);
    server.Serve("/left", "<title>left</title>");
    const QString popup = "wait-for \"127.0.0.1\"\n";
    const QString script = arm() + tapPage(50, 50) + popup + "expect-no-view \"CANCEL\"\nanswer \"OK\"\n"
                           "wait-for \"alert done\"\n"
                           + tapPage(50, 150) + popup + "answer \"CANCEL\"\nwait-for \"confirm:false\"\n"
                           + tapPage(50, 150) + popup + "answer \"OK\"\nwait-for \"confirm:true\"\n"
                           + tapPage(50, 250) + popup + "keys \"ñ!\"\nanswer \"OK\"\n"
                           + QString::fromUtf8("wait-for \"prompt:defñ!\"\n")
                           + tapPage(50, 250) + popup + "keys \"x\"\nanswer \"CANCEL\"\nwait-for \"prompt:null\"\n"
                           + tapPage(50, 350) + popup + "answer \"CANCEL\"\nwait-for-no \"127.0.0.1\"\n"
                           + tapPage(50, 450) + "wait-for \"still here\"\ndump " + dir.filePath("stayed.json") + "\n"
                           + tapPage(50, 350) + popup + "answer \"OK\"\nwait-for \"left\"\ndump " + dir.filePath("left.json") + "\n";
    const BenchRun run = browse("/dialogs", script);
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(webView("stayed.json")["url"].toString(), QString::fromStdString(server.Url("/dialogs")));
    EXPECT_EQ(webView("left.json")["pageTitle"].toString(), "left");
}

TEST_F(BenchBrowser, TheAddressFieldLoadsWhatIsTypedAndTheButtonsShowPagesChromiumKeepsInItsCaches)
{
    server.ServeCacheable("/first", "<title>first</title>");
    server.ServeCacheable("/second", "<title>second</title><script>if (performance.getEntriesByType('navigation')[0].type"
                                     " == 'reload') document.title = 'second again';</script>");
    const QString first = QString::fromStdString(server.Url("/first"));
    const QString second = QString::fromStdString(server.Url("/second"));
    const QString back = "tap \"GO BACK\"\nwait-for \"first\"\nwait-for-enabled \"GO FORWARD\"\nexpect-disabled \"GO BACK\"\n";
    const QString forward = "tap \"GO FORWARD\"\nwait-for \"second\"\nwait-for-enabled \"GO BACK\"\nexpect-disabled \"GO FORWARD\"\n";
    const QString script = "wait-for \"first\"\nexpect-disabled \"GO BACK\"\nexpect-disabled \"GO FORWARD\"\n"
                           + typeAddress(first, second) + "wait-for \"second\"\nwait-for-no \"keyboard\"\nwait-for-enabled \"GO BACK\"\n"
                           + back + forward + back + forward + "dump " + dir.filePath("views.json") + "\n"
                           + "tap \"RELOAD\"\nwait-for \"second again\"\n";
    const BenchRun run = browse("/first", script);
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(dumpedView("views.json", "name", "address")["text"].toString().toStdString(), second.toStdString());
    EXPECT_EQ(webView("views.json")["pageTitle"].toString().toStdString(), "second");
    EXPECT_EQ(server.CountRequests("/first"), 1) << "not shown from a cache";
    EXPECT_EQ(server.CountRequests("/second"), 2) << "not shown from a cache, or not reloaded";
}

TEST_F(BenchBrowser, TheInputRegionFollowsTheViewTheKeyboardAndPopups)
{
    server.Serve("/shape", std::string("<body style='margin:0'><input style='position:absolute;left:100px;top:100px'>"
                                       "<script>addEventListener('click', e => { if (e.clientY > 300) alert('Hi'); });</script>")
                               + ArmScript);
    QFile config(dir.filePath("car.ini"));
    config.open(QIODevice::WriteOnly);
    config.write("[chromium]\nenable_input_shaping=true\n");
    config.close();
    QFile script(dir.filePath("script.txt"));
    script.open(QIODevice::WriteOnly);
    // The page leaves its input as the alert comes, but may tell so only once the alert is gone.
    script.write((arm() + "dump " + dir.filePath("views.json") + "\n" + tapPage(110, 110)
                  + "wait-for \"keyboard\"\npause \"keyboard\"\n" + tapPage(50, 400)
                  + "wait-for \"127.0.0.1\"\npause \"popup\"\n"
                    "answer \"OK\"\nwait-for-no \"127.0.0.1\"\nwait-for-no \"keyboard\"\npause \"closed\"\n")
                     .toUtf8());
    script.close();

    QProcess bench;
    bench.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", dir.path());
    bench.setProcessEnvironment(env);
    bench.start(ORVANE_BENCH_PATH, {"--offscreen", "--service-port", "0", "--data-dir", dir.filePath("data"), "--config",
                                    config.fileName(), "--browser", QString::fromStdString(server.Url("/shape")),
                                    "--script", script.fileName()});
    QString output;
    const auto pausedAt = [&](const QString& step) {
        while (!output.contains("Paused: " + step)) {
            if (!bench.waitForReadyRead(30000))
                return false;
            output += QString::fromUtf8(bench.readAll());
        }
        return true;
    };
    const QRect view(PageOrigin, QSize(1856, 936));
    ASSERT_TRUE(pausedAt("keyboard")) << output.toStdString();
    const unsigned long window = webView("views.json")["window"].toString().toULong();
    ASSERT_NE(window, 0u);
    EXPECT_EQ(X11TestWindow::inputBoundsOf(window), QRect(view.topLeft(), QSize(view.width(), 1200 - view.top() - 440)))
        << "the keyboard's part is not the page's";
    bench.write("\n");
    ASSERT_TRUE(pausedAt("popup")) << output.toStdString();
    EXPECT_TRUE(X11TestWindow::inputBoundsOf(window).isEmpty()) << "a popup over the page takes its input";
    bench.write("\n");
    ASSERT_TRUE(pausedAt("closed")) << output.toStdString();
    EXPECT_EQ(X11TestWindow::inputBoundsOf(window), view);
    bench.write("\n");
    EXPECT_TRUE(bench.waitForFinished(30000));
    output += QString::fromUtf8(bench.readAll());
    EXPECT_EQ(bench.exitCode(), 0) << output.toStdString();
}

TEST_F(BenchBrowser, AFailingControlGroupCommandEndsTheProcessWithStatusOne)
{
    server.Serve("/", "<title>never</title>");
    for (const char* name : {"internet-cgroup", "orvane-cgroup"}) {
        const QString command = QString::fromLatin1(name);
        const BenchRun run = browse("/", "wait-for \"never\"\n", {"--fail-host-command", command});
        EXPECT_EQ(run.exitCode, 1) << run.output.toStdString();
        const QString perror = command == "internet-cgroup" ? "failed to set internet-cgroups: " : "failed to set orvane-cgroups: ";
        EXPECT_TRUE(run.output.contains(perror)) << run.output.toStdString();
        EXPECT_FALSE(run.output.contains("never")) << "the page never loads";
    }
}

TEST_F(BenchBrowser, AManualPageGetsTheCarsParametersInItsAddress)
{
    // A page of the manual folder that shows what it received.
    const QString folder = "/usr/vexor/UI/assets/web_content/manual";
    if (!QDir().mkpath(folder) || !QFileInfo(folder).isWritable())
        GTEST_SKIP() << "the manual folder " << folder.toStdString() << " cannot be written";
    QTemporaryFile page(folder + "/received-XXXXXX.html");
    ASSERT_TRUE(page.open());
    page.write("<title>nothing</title><script>const q = new URLSearchParams(location.search);"
               "document.title = 'got ' + [...q.keys()].join() + ' / ' + [...q.values()].join(' / ');</script>");
    page.close();
    page.setPermissions(page.permissions() | QFile::ReadOther);
    const QString url = QUrl::fromLocalFile(page.fileName()).toString();
    for (const QString dayMode : {"true", "false"}) {
        SCOPED_TRACE(dayMode.toStdString());
        const QString received = "got features,product,country,daymode / {\"summon\":true} / model3 / DE / " + dayMode;
        const BenchRun run =
            browseUrl(url, "wait-for \"~got \"\ndump " + dir.filePath("views.json") + "\n",
                      {"--set", "GUI_dayMode=" + dayMode, "--set", "VAPI_carType=3", "--set", "GUI_locale=de_DE", "--set",
                       "GUI_featureConfig={\"summon\":true}"});
        ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
        EXPECT_EQ(webView("views.json")["pageTitle"].toString().toStdString(), received.toStdString());
    }
}

TEST_F(BenchBrowser, ABrowserStartedLateFindsItsLauncherAndAFailedStartIsOnlyLogged)
{
    // The bench runs in a folder without the launcher; its web views start once the UI is ready.
    const QString late = "set GUI_allReady false\ntap \"APPS\"\ntap \"Owner's Manual\"\n"
                         "expect-log \"conditions not met for starting browser client\"\n"
                         "set GUI_allReady true\nwait-for \"Owner's Manual: Contents\"\n";
    BenchRun run = browse("", late, {"--set", "GUI_developerMode=true"});
    EXPECT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("CefInitialize success")) << run.output.toStdString();
    EXPECT_FALSE(run.output.contains("Check failed")) << run.output.toStdString();

    const QString opened = "tap \"APPS\"\ntap \"Owner's Manual\"\nexpect-log \"failed to create browser\"\n";
    run = browse("", opened, {"--set", "GUI_developerMode=true"}, {"VEXOR_CHROMIUM_BINARY=/nonexistent/chromium"});
    EXPECT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("CEF failed to initialize")) << run.output.toStdString();
    EXPECT_FALSE(run.output.contains("Check failed")) << run.output.toStdString();
}

} // namespace
