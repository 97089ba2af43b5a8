// orvane-bench as a person or CI runs it: a real process, off screen, driven by scripts.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>
#include <algorithm>
#include <functional>
#include "BenchFixture.h"
#include "TestSupport.h"
#include "services/PlacesHistoryDB.h"
#include "services/StorageUtils.h"
#include <gtest/gtest.h>
#include <sys/stat.h>

TEST_F(BenchEndToEnd, TheExitButtonRestartsTheBenchInCustomerMode)
{
    const QString script = file("modes.txt",
                                "tap \"EXIT DEVELOPER MODE AND RESTART\"\n"
                                "wait 50\n"
                                "expect-journal \"CenterDisplay.restartInCustomerMode()\"\n"
                                "expect-view \"Enable Developer or Diagnostic Mode to access Diagnostic Tools\"\n"
                                "dump restarted.json\n"
                                "screenshot restarted.png\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();

    const QJsonObject restarted = dump("restarted.json");
    EXPECT_FALSE(byClass(restarted, "DiagnosticTools")["visible"].toBool()); // modes came back off
    EXPECT_EQ(tabTitles(restarted).count("FONTS"), 0);
    EXPECT_TRUE(run.output.contains("Platform request: CenterDisplay.restartInCustomerMode()"));
    EXPECT_TRUE(QFile::exists(dir.filePath("restarted.png")));
}

TEST_F(BenchEndToEnd, ActionsReachTheBenchsHostCommandsAndPopupsAreDumpedWithTheOverlay)
{
    const QString script = file("pages.txt",
                                "tap \"ACTIONS\"\n"
                                "tap \"REBOOT\\nGATEWAY\"\n"
                                "tap \"REBOOT\\nGATEWAY\"\n"
                                "expect-journal \"host-command.emit-reboot-gateway()\"\n"
                                "tap \"ARM ECALL\\nCIRCUIT\"\n"
                                "tap \"ARM ECALL\\nCIRCUIT\"\n"
                                "expect-journal \"host-command.arm-ecall(on)\"\n"
                                "tap \"MODEM\\nAIRPLANE\"\n"
                                "tap \"MODEM\\nAIRPLANE\"\n"
                                "expect-journal \"host-command.modem-airplane-toggle()\"\n"
                                "tap \"RESET\\nDATA\"\n"
                                "expect-view \"RESET DATA\"\n"
                                "dump question.json\n"
                                "answer \"RESET\"\n"
                                "expect-no-view \"RESET DATA\"\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    // Popups are dumped with the overlay they are shown in.
    const QJsonObject overlay = dump("question.json")["overlay"].toObject();
    EXPECT_EQ(byClass(overlay, "ConfirmationPopup")["title"].toString(), "RESET DATA");
}

TEST_F(BenchEndToEnd, FactoryModeGoesThroughTheBenchsCarAndTheHostsTransportQuestion)
{
    const QString script = file("factory.txt",
                                "tap \"FACTORY\"\n"
                                "# English: factory mode is asked of the car at once, no question.\n"
                                "tap \"FACTORY MODE\" \"FACTORY\"\n"
                                "expect-no-view \"FACTORY MODE\"\n"
                                "expect-pending GUI_factoryMode true\n"
                                "wait-for-value GUI_factoryMode true\n"
                                "expect-view \"SEAT\\nINSTALL\"\n"
                                "# Off asks first; YES on car type 3 turns the rails off too.\n"
                                "drag \"OFF/FACTORY/TRANSPORT\" -210 0\n"
                                "answer \"YES\"\n"
                                "expect-log \"INFO exiting factory mode, turn rails off\"\n"
                                "expect-pending GUI_powerOffRailsRequest true\n"
                                "expect-pending GUI_factoryMode false\n"
                                "wait-for-value GUI_factoryMode false\n"
                                "expect-value VAPI_driveRailOn false\n"
                                "set GUI_powerOffRailsRequest false\n"
                                "# Another language: the restart notice, and CANCEL changes nothing.\n"
                                "set GUI_language 42\n"
                                "tap \"FACTORY MODE\" \"FACTORY\"\n"
                                "expect-view \"FACTORY MODE\"\n"
                                "answer \"CANCEL\"\n"
                                "expect-value GUI_factoryMode false\n"
                                "expect-pending GUI_factoryMode none\n"
                                "set GUI_language 31\n"
                                "# Transport goes through the host's own question.\n"
                                "drag \"OFF/FACTORY/TRANSPORT\" 420 0\n"
                                "expect-view \"TRANSPORT MODE\"\n"
                                "answer \"ENTER\"\n"
                                "expect-journal \"CenterDisplay.setTransportMode(true)\"\n"
                                "expect-value GUI_transportMode true\n"
                                "expect-value GUI_factoryMode false\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--set", "VAPI_carType=3",
                                "--vehicle-latency", "100", "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
}

TEST_F(BenchEndToEnd, AppsListsTheBenchScreensAndTheNavigationScreensResetEmptiesTheRealDatabase)
{
    const QString data = dir.filePath("data");
    QString error;
    ASSERT_TRUE(StorageUtils::setDataFolder(data, &error)) << error.toStdString();
    ASSERT_TRUE(PlacesHistoryDB::instance()->setPlace(PlacesHistoryDB::Kind::Home, {"Home", "1 Elm St", 52.1, 4.3}));
    ASSERT_TRUE(PlacesHistoryDB::instance()->setPlace(PlacesHistoryDB::Kind::Work, {"Work", "9 Dock Rd", 52.2, 4.4}));

    const QString script = file("nav.txt",
                                "tap \"APPS\"\n"
                                "expect-view \"Diagnostic Tools\"\n"
                                "expect-view \"Browser\"\n"
                                "expect-view \"Owner's Manual\"\n"
                                "tap \"Developer Navigation\"\n"
                                "expect-journal \"AppChooser.openApp(Developer Navigation)\"\n"
                                "expect-view \"DEV NAV\"\n"
                                "tap \"RESET HOME/WORK\"\n"
                                "tap \"BACK\"\n"
                                "expect-no-view \"DEV NAV\"\n"
                                "expect-view \"APPS\"\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--vehicle-latency", "60000",
                                "--service-port", "0", "--data-dir", data, "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_FALSE(PlacesHistoryDB::instance()->hasHome());
    EXPECT_FALSE(PlacesHistoryDB::instance()->hasWork());
}

TEST_F(BenchEndToEnd, WithoutAScriptOutputsAreWrittenOnceSettledThenItExits)
{
    const BenchRun run = bench({"--offscreen", "--set", "GUI_diagnosticMode=true", "--size", "1280x800", "--screenshot",
                           file("shot.png"), "--dump-views", file("views.json")});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    const QJsonObject root = dump("views.json");
    EXPECT_EQ(root["geometry"].toObject()["width"].toInt(), 1280);
    EXPECT_EQ(tabTitles(root).size(), 7);
    EXPECT_TRUE(byLabel(root, "IN\nSERVICE")["shown"].toBool());
    QImage image;
    EXPECT_TRUE(image.load(dir.filePath("shot.png")));
    EXPECT_EQ(image.size(), QSize(1280, 800));
    // Out of the box the CAN viewer has a catalogue and live traffic.
    EXPECT_TRUE(run.output.contains("CAN catalogue: 1 buses, 7 messages, 24 signals")) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("CAN capture from traffic generator")) << run.output.toStdString();
}

TEST_F(BenchEndToEnd, BadInputIsAClearMessageAndANonZeroExit)
{
    BenchRun run = bench({"--offscreen", "--plugin", "/no/such/plugin.so", "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("orvane-bench: plug-in /no/such/plugin.so does not exist")) << run.output.toStdString();

    run = bench({"--offscreen", "--set", "GUI_warpDrive=true", "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("--set GUI_warpDrive=true: unknown data value 'GUI_warpDrive'")) << run.output.toStdString();

    run = bench({"--offscreen", "--set", "GUI_developerMode=sometimes", "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("'sometimes' is not a bool value for GUI_developerMode")) << run.output.toStdString();

    run = bench({"--offscreen", "--config", file("bad.ini", "[chromium]\ndebug=true\n<<garbage>>\n"), "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("bad.ini:3: expected [section], key=value or a comment")) << run.output.toStdString();

    run = bench({"--offscreen", "--config", dir.filePath("no/such/folder/new.ini"), "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("cannot create configuration file")) << run.output.toStdString();

    run = bench({"--offscreen", "--set", "GUI_language=English", "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("orvane-bench: --set GUI_language=English: 'English' is not an int value for "
                                    "GUI_language: expected a whole number"))
        << run.output.toStdString();

    for (const char* latency : {"-1", "soon"}) {
        run = bench({"--offscreen", "--vehicle-latency", latency});
        EXPECT_EQ(run.exitCode, 2) << latency;
        EXPECT_TRUE(run.output.contains(QString("orvane-bench: --vehicle-latency wants milliseconds, 0 or more, not '%1'").arg(latency)))
            << run.output.toStdString();
    }

    run = bench({"--offscreen", "--data-dir", file("plain-file", "x") + "/data", "--screenshot", file("x.png")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("orvane-bench: --data-dir: cannot create data folder")) << run.output.toStdString();

    run = bench({"--offscreen", "--script", file("bad.txt", "wait 10\nset GUI_warpDrive 1\n")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("bad.txt:2: unknown data value 'GUI_warpDrive'")) << run.output.toStdString();

    run = bench({"--offscreen", "--size", "huge"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("--size wants WIDTHxHEIGHT")) << run.output.toStdString();
    for (const char* size : {"99999x99999", "8193x600", "800x65536"}) {
        run = bench({"--offscreen", "--size", size});
        EXPECT_EQ(run.exitCode, 2) << size;
        EXPECT_TRUE(run.output.contains(QString("--size: the display paints at most 8192x8192, not '%1'").arg(size)))
            << run.output.toStdString();
    }
}

TEST_F(BenchEndToEnd, InputFilesThatAreNotThereOrNotFilesStopTheStart)
{
    const QString fifo = dir.filePath("no-writer");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString folder = dir.filePath("folder.dbc");
    ASSERT_TRUE(QDir().mkpath(folder));
    const QList<QPair<QStringList, QString>> refused{
        {{"--dbc", "/no/such/bus.dbc"}, "--dbc: /no/such/bus.dbc does not exist"},
        {{"--dbc", "PT=" + folder}, "--dbc: " + folder + " is a folder, not a file"},
        {{"--dbc", fifo}, "--dbc: " + fifo + " is not a regular file"},
        {{"--config", fifo}, "--config: " + fifo + " is not a regular file"},
        {{"--config", folder}, "--config: " + folder + " is a folder, not a file"},
        {{"--can-log", "/no/such/drive.log"}, "--can-log: /no/such/drive.log does not exist"},
        {{"--can-log", folder}, "--can-log: " + folder + " is a folder, not a file"},
        {{"--can-log", "/dev/zero"}, "--can-log: /dev/zero is not a regular file"},
        {{"--can-log", fifo, "--can-loop"}, "--can-loop: " + fifo + " is a pipe, which cannot start over"},
    };
    for (const auto& bad : refused) {
        const BenchRun run = bench(QStringList{"--offscreen", "--dump-views", file("v.json")} + bad.first);
        EXPECT_EQ(run.exitCode, 2) << bad.first.join(' ').toStdString();
        EXPECT_TRUE(run.output.contains("orvane-bench: " + bad.second)) << run.output.toStdString();
    }

    // A pipe is what a live log is: the bench says so and runs, whether a writer comes or not;
    // an empty catalogue loads with a warning.
    const QString empty = file("empty.dbc", "");
    const BenchRun run = bench({"--offscreen", "--dbc", empty, "--can-log", fifo, "--dump-views", file("v.json")});
    EXPECT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("CAN log " + fifo + " is a pipe: frames are replayed as its writer sends them"))
        << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("WARN CAN catalogue " + empty + " holds no messages")) << run.output.toStdString();
}

TEST_F(BenchEndToEnd, PluginConfigAndDataFolderOptionsAreOurs)
{
    // Qt has a -plugin option of its own; ours must reach the bench untouched.
    const QString config = dir.filePath("new.ini");
    const QString data = dir.filePath("car/data");
    const BenchRun run = bench({"--offscreen", "--plugin", DIAG_PLUGIN_PATH, "--config", config, "--data-dir", data,
                                "--vehicle-latency", "0", "--dump-views", file("v.json")});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_FALSE(run.output.contains("No such plugin")) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains(QString("Plug-in loaded from %1").arg(DIAG_PLUGIN_PATH))) << run.output.toStdString();
    EXPECT_TRUE(QFileInfo(config).isFile()); // a new, empty store
    EXPECT_EQ(QFileInfo(config).size(), 0);
    EXPECT_TRUE(QFileInfo(data).isDir());

    // The same store again: it exists now and is read, not replaced.
    QFile store(config);
    ASSERT_TRUE(store.open(QIODevice::WriteOnly));
    store.write("[diag]\nvitals_url=file:///x\n");
    store.close();
    const BenchRun again = bench({"--offscreen", "--config", config, "--dump-views", file("v.json")});
    ASSERT_EQ(again.exitCode, 0) << again.output.toStdString();
    ASSERT_TRUE(store.open(QIODevice::ReadOnly));
    EXPECT_EQ(store.readAll(), "[diag]\nvitals_url=file:///x\n");
}

TEST_F(BenchEndToEnd, FailedExpectationsStopTheScriptWithStatusOne)
{
    const BenchRun run = bench({"--offscreen", "--script",
                           file("expect.txt", "expect-journal \"restart\"\ndump never.json\n")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.output.contains("expect.txt:1: expected the journal line 'restart'")) << run.output.toStdString();
    EXPECT_FALSE(QFile::exists(dir.filePath("never.json")));

    const BenchRun tap = bench({"--offscreen", "--script", file("tap.txt", "tap \"NO SUCH BUTTON\"\n")});
    EXPECT_EQ(tap.exitCode, 1);
    EXPECT_TRUE(tap.output.contains("tap.txt:1: no shown view labelled 'NO SUCH BUTTON' to tap")) << tap.output.toStdString();
}

TEST_F(BenchEndToEnd, OpensAWindowWhereThereIsADisplay)
{
    ASSERT_FALSE(qEnvironmentVariableIsEmpty("DISPLAY")) << "needs an X display (the test command runs Xvfb)";
    const BenchRun run = bench({"--set", "GUI_developerMode=true", "--screenshot", file("window.png")});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_FALSE(run.output.contains("running off screen")) << run.output.toStdString();
    EXPECT_TRUE(QFile::exists(dir.filePath("window.png")));
}

// What a user learns of the bench comes from --help: it lists every option and command.
TEST_F(BenchEndToEnd, HelpListsEveryOptionAndScriptCommand)
{
    const BenchRun run = bench({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    for (const char* word : {"--plugin", "--config", "--set", "--offscreen", "--screenshot", "--dump-views", "--script",
                             "--size", "--vehicle-latency", "--data-dir", "--can-record", "--browser", "--fail-host-command",
                             "expect-journal", "screenshot FILE", "keys \"TEXT\"", "wait-for \"LABEL\"", "wait-for-value"})
        EXPECT_TRUE(run.output.contains(word)) << word;
}

TEST_F(BenchEndToEnd, CanViewerPicksShowsLiveValuesSavesAndRestoresTheSelection)
{
    const QString pick = file("pick.txt",
                              "tap \"CAN\"\n"
                              "expect-view \"Busses\"\n"
                              "tap \"sample\"\n"
                              "wait 400\n"
                              "tap \"VehicleSpeed\"\n"
                              "wait 400\n"
                              "expect-view \"sample:VehicleSpeed\"\n"
                              "tap \"Speed\"\n"
                              "wait 300\n"
                              "dump first.json\n"
                              "wait 700\n"
                              "dump later.json\n"
                              "tap \"ADD ALL SIGNALS\"\n"
                              "tap \"sample : Odometer\"\n"
                              "wait 600\n");
    const QString data = dir.filePath("data");
    BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--data-dir", data, "--can-record",
                          file("values.csv"), "--script", pick});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();

    // The value comes from the generator and moves.
    const QStringList first = shownRows(dump("first.json"), "TableCellRendererAdapter", "text");
    const QStringList later = shownRows(dump("later.json"), "TableCellRendererAdapter", "text");
    ASSERT_EQ(first.size(), 1);
    ASSERT_EQ(later.size(), 1);
    EXPECT_TRUE(first[0].startsWith("sample : Speed ")) << first[0].toStdString();
    EXPECT_TRUE(first[0].endsWith(" km/h")) << first[0].toStdString();
    EXPECT_FALSE(first[0].contains("--")) << first[0].toStdString();
    EXPECT_NE(first[0], later[0]);
    EXPECT_EQ(contents("data/canViewer.txt"),
              "sample:VehicleSpeed:WheelSpeedFL\nsample:VehicleSpeed:WheelSpeedFR\nsample:VehicleSpeed:Speed\n");
    // The recording followed the selection.
    const QStringList csv = QString::fromUtf8(contents("values.csv")).split('\n');
    EXPECT_TRUE(csv.contains("time,sample:VehicleSpeed:Speed"));
    // Columns in catalogue order.
    EXPECT_TRUE(csv.contains("time,sample:VehicleSpeed:Speed,sample:VehicleSpeed:WheelSpeedFL,sample:VehicleSpeed:WheelSpeedFR"));

    // The next start brings the selection back.
    run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--data-dir", data, "--script",
                 file("again.txt", "tap \"CAN\"\ndump restored.json\n")});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(shownRows(dump("restored.json"), "TableCellRendererAdapter"),
              QStringList({"sample : WheelSpeedFL", "sample : WheelSpeedFR", "sample : Speed"}));
}

TEST_F(BenchEndToEnd, DiagnosticModeShowsOnlyWhatTheShippedFilterNamesAndStartsEmpty)
{
    ASSERT_TRUE(QDir().mkpath(dir.filePath("data")));
    file("data/canViewer.txt", "sample:Position:Latitude\n");
    const QString script = file("diag.txt",
                                "tap \"CAN\"\n"
                                "dump buses.json\n"
                                "tap \"sample\"\n"
                                "wait 400\n"
                                "dump messages.json\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_diagnosticMode=true", "--data-dir", dir.filePath("data"),
                                "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("Loading CAN View Filter from")) << run.output.toStdString();
    EXPECT_TRUE(shownRows(dump("buses.json"), "TableCellRendererAdapter").isEmpty());
    EXPECT_EQ(shownRows(dump("buses.json"), "TableCell"), QStringList({"sample"}));
    EXPECT_EQ(shownRows(dump("messages.json"), "TableCell"),
              QStringList({"VehicleSpeed", "EngineData", "BatteryStatus", "ClimateSensors", "TirePressure"}));
}

TEST_F(BenchEndToEnd, TheFirstScreenShowsTheCarsLiveValuesFromTheBenchsOwnEndpointWhateverItsPort)
{
    const auto shownPage = [](const QJsonObject& root) {
        return findView(root, [](const QJsonObject& v) { return v["class"].toString() == "WebView" && v["shown"].toBool(); });
    };
    BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--service-port", "0", "--dump-views",
                          file("first.json"), "--screenshot", file("first.png")});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    // The dump waits for the dashboard's first answer: the values are there, not "--".
    const QJsonObject vitals = shownPage(dump("first.json"));
    EXPECT_EQ(vitals["pageTitle"].toString(), "Vitals (live)") << vitals["url"].toString().toStdString();
    QImage shot;
    ASSERT_TRUE(shot.load(dir.filePath("first.png")));
    QSet<QRgb> colours;
    for (int y = 150; y < 900; y += 7)
        for (int x = 60; x < 1800; x += 7)
            colours.insert(shot.pixel(x, y));
    EXPECT_GT(colours.size(), 20) << "the dashboard painted next to nothing";
    // The web engine, the costliest part of start-up, waits for the first frame.
    const int firstFrame = run.output.indexOf("First frame painted");
    EXPECT_GE(firstFrame, 0);
    EXPECT_GT(run.output.indexOf("Web engine loaded"), firstFrame) << run.output.toStdString();

    // A script starts from the first frame and does not hold it back.
    const QString script =
        file("dravik.txt", "expect-log \"First frame painted\"\ntap \"DRAVIK\"\nwait-for \"~Service\"\ndump dravik.json\n");
    run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--service-port", "0", "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    const QString endpoint = run.output.section("Service endpoint on ", 1).section('\n', 0, 0).trimmed();
    ASSERT_TRUE(endpoint.startsWith("http://127.0.0.1:")) << run.output.toStdString();
    EXPECT_EQ(shownPage(dump("dravik.json"))["url"].toString(), endpoint);

    // An address the user configured is theirs to keep.
    const QString mine = QUrl::fromLocalFile(file("mine.html", "<title>Mine</title>")).toString();
    run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--service-port", "0", "--config",
                 file("mine.ini", "[diag]\ndravik_url=" + mine.toUtf8() + "\n"), "--script",
                 file("mine.txt", "tap \"DRAVIK\"\nwait-for \"Mine\"\ndump mine.json\n")});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(shownPage(dump("mine.json"))["url"].toString(), mine);
}

TEST_F(BenchEndToEnd, OnADriveTheCarsCanTrafficCarriesTheSpeedTheCarReports)
{
    const QString script = file("drive.txt",
                                "tap \"CAN\"\n"
                                "tap \"sample\"\n"
                                "wait 400\n"
                                "tap \"VehicleSpeed\"\n"
                                "wait 400\n"
                                "tap \"Speed\"\n"
                                "wait 500\n"
                                "dump drive.json\n");
    // Well into the motorway stretch, where the speed holds for over a minute.
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--data-dir", dir.filePath("data"),
                                "--service-port", "0", "--drive-at", "130", "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    const QJsonObject drive = dump("drive.json");
    EXPECT_EQ(dataValue(drive, "VAPI_vehicleSpeed")["value"].toDouble(), 110);
    EXPECT_EQ(dataValue(drive, "VAPI_gear")["value"].toInt(), 4);
    const QStringList rows = shownRows(drive, "TableCellRendererAdapter", "text");
    ASSERT_EQ(rows.size(), 1);
    EXPECT_TRUE(rows[0].startsWith("sample : Speed 110.")) << rows[0].toStdString();

    const BenchRun bad = bench({"--offscreen", "--drive-at", "soon"});
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_TRUE(bad.output.contains("--drive-at wants seconds from 0, not \"soon\"")) << bad.output.toStdString();
}
