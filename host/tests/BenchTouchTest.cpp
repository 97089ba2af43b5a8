// Fingers on the bench as a person's: taps that hold while the UI refreshes under them, and
// scripts a tester writes by what is on the screen rather than by coordinates.
#include "BenchFixture.h"


namespace {

// The sample log's traffic on six interfaces at once, can0 to can5.
QByteArray sixBusLog()
{
    QFile sample(QStringLiteral(ORVANE_CAN_TEST_SOURCE_DIR "/assets/can/sample.log"));
    EXPECT_TRUE(sample.open(QIODevice::ReadOnly));
    QByteArray six;
    for (const QByteArray& line : sample.readAll().split('\n')) {
        for (int bus = 0; bus < 6 && line.contains(" can0 "); ++bus)
            six += QByteArray(line).replace(" can0 ", " can" + QByteArray::number(bus) + " ") + '\n';
    }
    return six;
}

} // namespace

TEST_F(BenchEndToEnd, SelectedSignalsGoByATapHeldAcrossTheirRefreshesWhileSixBusesReplay)
{
    const QString script = file("hold.txt",
                                "tap \"CAN\"\n"
                                "tap \"can3\"\n"
                                "wait 400\n"
                                "tap \"VehicleSpeed\"\n"
                                "wait 400\n"
                                "tap \"ADD ALL SIGNALS\"\n"
                                "wait 300\n"
                                "dump added.json\n"
                                "tap \"can3 : Speed\" hold 40\n"
                                "tap \"can3 : Odometer\" hold 250\n"
                                "tap \"can3 : WheelSpeedFL\" hold 1000\n"
                                "# Held while other commands run and values keep coming.\n"
                                "press \"can3 : WheelSpeedFR\"\n"
                                "wait 300\n"
                                "expect-view \"can3 : WheelSpeedFR\"\n"
                                "wait 300\n"
                                "release\n"
                                "dump removed.json\n");
    QStringList arguments{"--offscreen", "--set", "GUI_developerMode=true", "--data-dir", dir.filePath("data"),
                          "--can-log", file("six.log", sixBusLog()), "--can-loop", "--script", script};
    for (int bus = 0; bus < 6; ++bus)
        arguments << "--dbc" << QStringLiteral("can%1=" ORVANE_CAN_TEST_SOURCE_DIR "/assets/can/sample.dbc").arg(bus);
    const BenchRun run = bench(arguments);
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();

    EXPECT_EQ(shownRows(dump("added.json"), "TableCellRendererAdapter"),
              QStringList({"can3 : Speed", "can3 : WheelSpeedFL", "can3 : WheelSpeedFR", "can3 : Odometer"}));
    // Values were live: the rows were being refreshed while the fingers held them.
    EXPECT_FALSE(shownRows(dump("added.json"), "TableCellRendererAdapter", "text").join(' ').contains("--"));
    EXPECT_TRUE(shownRows(dump("removed.json"), "TableCellRendererAdapter").isEmpty());
    EXPECT_EQ(contents("data/canViewer.txt"), QByteArray());
}

TEST_F(BenchEndToEnd, AButtonHeldWhileItsPageGoesDoesNothingWhenTheFingerLifts)
{
    const QString script = file("held.txt",
                                "tap \"FACTORY\"\n"
                                "press \"SPEAKER\\nTEST\"\n"
                                "# Developer mode goes: the factory page and the button the finger held go with it.\n"
                                "set GUI_developerMode false\n"
                                "set GUI_diagnosticMode true\n"
                                "wait 100\n"
                                "release\n"
                                "expect-no-view \"SPEAKER\\nTEST\"\n"
                                "set GUI_developerMode true\n"
                                "tap \"FACTORY\"\n"
                                "tap \"SPEAKER\\nTEST\" hold 500\n"
                                "expect-journal \"host-command.emit-start-factory-speaker-test()\"\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--script", script});
    ASSERT_EQ(run.exitCode, 0) << run.output.toStdString();
    EXPECT_EQ(run.output.count("Platform request: host-command.emit-start-factory-speaker-test()"), 1) << run.output.toStdString();
}

TEST_F(BenchEndToEnd, ScriptsNameControlsByTheirRowsAndReportEveryFailedExpectation)
{
    const QString script = file("named.txt",
                                "tap \"FACTORY\"\n"
                                "choose \"Power Limit (kW)\" \"120\"\n"
                                "expect-pending GUI_powerLimitRequest 120\n"
                                "tap \"trial car\" \"ON\"\n"
                                "expect-pending GUI_trialCar true\n"
                                "set VAPI_vehicleSpeed invalid\n"
                                "config chromium/user_agent \"\"\n"
                                "wait-for \"~LIMIT (N\"\n"
                                "expect-view \"~speaker\"\n"
                                "dump named.json\n"
                                "expect-pending GUI_trialCar false\n"
                                "expect-view \"NO SUCH BUTTON\"\n"
                                "expect-no-view \"~FACTORY\"\n"
                                "expect-value VAPI_vehicleSpeed invalid\n");
    const BenchRun run = bench({"--offscreen", "--set", "GUI_developerMode=true", "--set", "GUI_factoryMode=true",
                                "--set", "GUI_factoryModeLimitOverride=true", "--vehicle-latency", "60000", "--config", file("orvane.ini", "[chromium]\nuser_agent=Probe\n"), "--keep-going",
                                "--script", script});
    EXPECT_EQ(run.exitCode, 1) << run.output.toStdString();
    // Every failed expectation, each with its line; the passing ones say nothing.
    EXPECT_TRUE(run.output.contains(script + ":11: expected the pending value of GUI_trialCar to be false, it is true")) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains(script + ":12: no shown view labelled 'NO SUCH BUTTON'"));
    EXPECT_TRUE(run.output.contains(script + ":13: a view labelled '~FACTORY' is shown"));
    EXPECT_EQ(run.output.count(script + ":"), 3) << run.output.toStdString();

    const QJsonObject named = dump("named.json");
    EXPECT_EQ(dataValue(named, "GUI_powerLimitRequest")["pendingValue"].toInt(), 120);
    EXPECT_TRUE(dataValue(named, "GUI_powerLimitRequest")["pending"].toBool());
    EXPECT_FALSE(dataValue(named, "VAPI_vehicleSpeed")["valid"].toBool());
    EXPECT_TRUE(dataValue(named, "GUI_trialCar")["pendingValue"].toBool());
    EXPECT_TRUE(contents("orvane.ini").contains("user_agent=\n")) << contents("orvane.ini").toStdString();
}
