// The selected signals with their values, the saved selection, and the page's refresh.
#include "CANTestCatalogue.h"
#include "Screen.h"

#include "can/CANDecoder.h"
#include "core/Logger.h"
#include "core/PendingSaves.h"
#include "diag/can/CANDataModel.h"
#include "diag/can/CANSelectionFile.h"
#include "diag/can/CANView.h"
#include "diag/can/CANViewTableModel.h"
#include "diag/can/CANViewTableRenderer.h"
#include "diag/can/DiagCANPage.h"
#include "services/AppInfo.h"
#include "views/MultiPageView.h"
#include "views/table/TableCell.h"
#include "views/table/TableView.h"

#include <QPainter>
#include <QSignalSpy>

#include <cstring>
#include <memory>

namespace {

CanFrame frameOf(uint32_t id, std::initializer_list<uint8_t> bytes, bool extended = false)
{
    CanFrame f;
    f.id = id;
    f.flags = extended ? CanFrame::Extended : 0;
    f.len = uint8_t(bytes.size());
    std::copy(bytes.begin(), bytes.end(), f.data);
    return f;
}

QByteArray readFile(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& text)
{
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(text);
}

// The shipped sample catalogue: classic, CAN FD and 29-bit messages, labels, multiplexing.
class SampleViewer : public ::testing::Test, protected Screen<> {
protected:
    SampleViewer()
        : Screen(QSize(1600, 1000))
    {
        EXPECT_TRUE(CANDataManager::loadCatalogue({testSourceDir() + "/assets/can/sample.dbc"}));
    }
    ~SampleViewer() override
    {
        CANDataManager::removeSources();
        drainEvents();
    }

    static CANSignalNode* sample(const char* message, const char* signal) { return signalNamed("sample", message, signal); }
    QString selectionFile() const { return scratch.dataFile("canViewer.txt"); }
    std::unique_ptr<CANView> makeView(bool showAll = true)
    {
        auto view = std::make_unique<CANView>(&root, nullptr, showAll);
        view->setGeometry(QRect(0, 0, 1600, 1000));
        return view;
    }
    static QStringList names(const CANView& view)
    {
        QStringList out;
        for (const CANSignalNode* s : view.selectedModel()->modelSignals())
            out << CANViewTableRenderer::rowTitle(s);
        return out;
    }

    CANScratch scratch;
};

} // namespace

TEST_F(SampleViewer, AddingListsOnceCapturesOnceAndRemovingReleases)
{
    CANViewTableModel model;
    QSignalSpy changed(&model, &TableModel::modelItemCountChanged);
    CANSignalNode* speed = sample("VehicleSpeed", "Speed");
    CANSignalNode* gear = sample("Transmission", "Gear");
    CANSignalNode* tyre = sample("TirePressure", "TirePressureRearLeft");
    model.addItem(speed, true);
    model.addItem(gear, false);  // newest first
    model.addItem(tyre, true);   // restored from a file: in file order
    model.addItem(speed, false);
    EXPECT_EQ(model.modelSignals(), QVector<CANSignalNode*>({gear, speed, tyre}));
    EXPECT_EQ(changed.count(), 3);
    CANDecoder* decoder = CANDataManager::decoder();
    EXPECT_TRUE(decoder->isCaptured(speed->id()));

    model.removeItemAt(TableModelIndex(nullptr, 1, 1));
    EXPECT_FALSE(decoder->isCaptured(speed->id()));  // one capture only, now released
    model.removeItemAt(TableModelIndex(nullptr, 1, 5));
    EXPECT_EQ(model.modelSignals(), QVector<CANSignalNode*>({gear, tyre}));
    EXPECT_EQ(changed.count(), 4);

    model.clearItems();
    EXPECT_FALSE(decoder->isCaptured(gear->id()));
    EXPECT_FALSE(decoder->isCaptured(tyre->id()));
    changed.clear();
    model.clearItems();  // empty already: still says so once
    EXPECT_EQ(changed.count(), 1);
    model.CANDataRefreshed();  // nothing listed, nothing to draw
    EXPECT_EQ(changed.count(), 1);
    model.addItem(gear, true);
    changed.clear();
    model.CANDataRefreshed();
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(SampleViewer, CaptureIsKeptAliveOnlyWhileSomethingIsListed)
{
    QTemporaryDir dir;
    const QString log = dir.filePath("speed.log");
    writeFile(log, "(1.0) can0 100#1027000000000000\n");
    CANDataManager::addLogReplay(log, 0, false);  // not started
    CANViewTableModel model;
    model.checkCapture();
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    CANSignalNode* speed = sample("VehicleSpeed", "Speed");
    model.addItem(speed, true);
    EXPECT_EQ(CANViewTableRenderer::valueText(speed), "--");
    model.checkCapture();
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    EXPECT_EQ(CANViewTableRenderer::valueText(speed), "100.000");
}

TEST_F(SampleViewer, RowsShowLiveValuesHonestly)
{
    CANViewTableModel model;
    CANDecoder* decoder = CANDataManager::decoder();
    CANSignalNode* lever = sample("Transmission", "GearLeverPosition");
    CANSignalNode* voltage = sample("BatteryStatus", "BatteryVoltage");
    CANSignalNode* cabin = sample("ClimateSensors", "CabinTemp");
    CANSignalNode* tyre = sample("TirePressure", "TirePressureRearRight");
    CANSignalNode* latitude = sample("Position", "Latitude");
    for (CANSignalNode* s : {lever, voltage, cabin, tyre, latitude})
        model.addItem(s, true);
    EXPECT_EQ(CANViewTableRenderer::valueText(cabin), "--");

    decoder->decode(frameOf(400, {0x30, 0, 0, 0}), 0);                                  // lever 3
    decoder->decode(frameOf(512, {0x66, 0x66, 0x4A, 0x41, 0, 0, 0, 0}), 0);             // a float: 7 decimals
    decoder->decode(frameOf(1024, {0, 0xD7, 0x00, 0, 0, 0, 0, 0}), 0);                  // cabin selected
    decoder->decode(frameOf(0x18FEF1FE, {0, 0, 0, 0xC8, 0, 0, 0, 0}, true), 0);         // 29-bit id
    CanFrame fd = frameOf(1280, {});
    fd.flags = CanFrame::Fd;
    fd.len = 16;
    const double north = 59.25;
    std::memcpy(fd.data, &north, sizeof north);
    decoder->decode(fd, 0);                                                            // CAN FD, 16 bytes
    EXPECT_EQ(CANViewTableRenderer::valueText(lever), "3 (DRIVE)");
    EXPECT_EQ(CANViewTableRenderer::valueText(voltage), "12.6499996");
    EXPECT_EQ(CANViewTableRenderer::valueText(cabin), "21.500");
    EXPECT_EQ(CANViewTableRenderer::valueText(tyre), "2.000");
    EXPECT_EQ(CANViewTableRenderer::valueText(latitude), "59.2500000");

    decoder->decode(frameOf(1024, {1, 0xDD, 0xFF, 0, 0, 0, 0, 0}), 0);  // the multiplexer moved on
    EXPECT_EQ(CANViewTableRenderer::valueText(cabin), "--");

    // What a row shows, as dumps and scripts read it; drawn with the shipped skin.
    root.resize(800, 600);
    TableView table(&root, &model, nullptr, nullptr, 80);
    table.setGeometry(QRect(0, 0, 800, 600));
    CANViewTableRenderer renderer;
    EXPECT_EQ(renderer.textForItem(&table, TableModelIndex(nullptr, 1, 3)), "sample : TirePressureRearRight 2.000 bar");
    EXPECT_EQ(renderer.textForItem(&table, TableModelIndex(nullptr, 1, 2)), "sample : CabinTemp -- degC");
    QImage row(800, 80, QImage::Format_RGB32);
    row.fill(Qt::black);
    QPainter painter(&row);
    renderer.drawItem(painter, &table, TableModelIndex(nullptr, 1, 3), TableRenderer::Normal);
    painter.end();
    EXPECT_NE(row.pixelColor(40, 40), QColor(Qt::black));  // the delete mark at the left
}

TEST_F(SampleViewer, TappingARowRemovesItsSignal)
{
    auto view = makeView();
    for (const char* s : {"Speed", "Odometer", "WheelSpeedFL"})
        view->selectedModel()->addItem(sample("VehicleSpeed", s), true);
    const TableCell* row = nullptr;
    for (TableCell* cell : view->rightTable()->visibleCells())
        row = cell->describe() == "sample : Odometer" ? cell : row;
    ASSERT_TRUE(row);
    tap(row);
    EXPECT_EQ(names(*view), QStringList({"sample : Speed", "sample : WheelSpeedFL"}));
}

TEST_F(SampleViewer, NoSavedFileMeansAnEmptyTableAndNoFileUntilTheFirstChangeWhichAnEarlyExitStillSaves)
{
    auto view = makeView();
    EXPECT_TRUE(names(*view).isEmpty());
    view->refreshData();
    view->clearRightTable();  // nothing to clear: nothing changes on disk either
    drainEvents();
    EXPECT_FALSE(QFile::exists(selectionFile()));
    view->selectedModel()->addItem(sample("Transmission", "Gear"), false);
    // The process ends before the loop turns again.
    PendingSaves::flushAll();
    EXPECT_EQ(readFile(selectionFile()), "sample:Transmission:Gear\n");
    view->selectedModel()->addItem(sample("TirePressure", "TirePressureRearLeft"), false);
    drainEvents();
    EXPECT_EQ(readFile(selectionFile()), "sample:TirePressure:TirePressureRearLeft\nsample:Transmission:Gear\n");
    view->clearPressed();
    drainEvents();
    EXPECT_TRUE(QFile::exists(selectionFile()));
    EXPECT_EQ(readFile(selectionFile()), QByteArray());
}

TEST_F(SampleViewer, SavedSelectionComesBackInFileOrderAndOddEntriesAreSkipped)
{
    const QByteArray binary("\x00\x01\xFF\xFE binary\x7F:\x80:\x81\n", 17);
    const QByteArray saved = QByteArray("sample:VehicleSpeed:Odometer,sample:Transmission:Gear\r\n"
                                        "sample:VehicleSpeed\n"              // two fields
                                        "sample:VehicleSpeed:Speed:extra\n"  // four fields
                                        "sample:VehicleSpeed:Odometer\n"     // listed already
                                        "other:VehicleSpeed:Speed,sample:Nope:Speed,sample:VehicleSpeed:nope\n")
                             + binary + QByteArray(200000, 'x') + ":a:b\n"
                             + "sample:ClimateSensors:CabinTemp";  // no line end at the end
    writeFile(selectionFile(), saved);
    CapturingLogSink log;
    auto view = makeView();
    EXPECT_EQ(names(*view), QStringList({"sample : Odometer", "sample : Gear", "sample : CabinTemp"}));
    EXPECT_TRUE(log.contains("INFO", "CAN selection: 7 saved entries name no signal of this catalogue; left out"));
    // Reading it changed nothing on disk, and neither do the refreshes.
    view->refreshData();
    view->refreshData();
    drainEvents();
    EXPECT_EQ(readFile(selectionFile()), saved);
    // The first change writes the list as it is, and keeps the file it had read beside it.
    view->selectedModel()->removeItemAt(TableModelIndex(nullptr, 1, 1));
    drainEvents();
    EXPECT_EQ(readFile(selectionFile()), "sample:VehicleSpeed:Odometer\nsample:ClimateSensors:CabinTemp\n");
    EXPECT_EQ(readFile(selectionFile() + ".bak"), saved);
}

TEST_F(SampleViewer, AWrongCatalogueCostsNoSavedSelection)
{
    const QByteArray saved = "sample:Transmission:Gear\nsample:VehicleSpeed:Speed\n";
    writeFile(selectionFile(), saved);
    writeFile(selectionFile() + ".bak", "an older generation\n");
    // A start with a mistyped catalogue: nothing saved matches, and the user picks one signal.
    useCatalogue({{"typo", {{"M", {"S", "T"}}}}});
    {
        auto view = makeView();
        EXPECT_TRUE(names(*view).isEmpty());
        view->selectedModel()->addItem(signalNamed("typo", "M", "S"), true);
        drainEvents();
        EXPECT_EQ(readFile(selectionFile()), "typo:M:S\n");
        EXPECT_EQ(readFile(selectionFile() + ".bak"), saved);
        // Later saves of the same start leave the kept file alone.
        view->selectedModel()->addItem(signalNamed("typo", "M", "T"), true);
        drainEvents();
        EXPECT_EQ(readFile(selectionFile() + ".bak"), saved);
    }
    // A start whose catalogue knows every saved entry keeps no copy.
    {
        auto view = makeView();
        view->clearPressed();
        drainEvents();
        EXPECT_EQ(readFile(selectionFile()), QByteArray());
        EXPECT_EQ(readFile(selectionFile() + ".bak"), saved);
    }
    // Brought back as the README says, with the right catalogue, it loads whole.
    ASSERT_TRUE(QFile::remove(selectionFile()));
    ASSERT_TRUE(QFile::rename(selectionFile() + ".bak", selectionFile()));
    ASSERT_TRUE(CANDataManager::loadCatalogue({testSourceDir() + "/assets/can/sample.dbc"}));
    auto view = makeView();
    EXPECT_EQ(names(*view), QStringList({"sample : Gear", "sample : Speed"}));
}

TEST_F(SampleViewer, WhatAnInterruptedSaveLeftIsRemovedAtTheNextStart)
{
    writeFile(selectionFile(), "sample:Transmission:Gear\n");
    for (const char* name : {"canViewer.txt.saving-a1B2c3", "canViewer.txt.saving-ZZZZZZ"})
        writeFile(scratch.dataFile(name), "sample:VehicleSpeed:Speed\n");
    // Not what a save leaves: somebody's own files.
    for (const char* name : {"canViewer.txt.bak", "canViewer.txt.backup", "canViewer.txt.saving", "other.txt.saving-a1B2c3"})
        writeFile(scratch.dataFile(name), "kept");
    auto view = makeView();
    EXPECT_EQ(names(*view), QStringList({"sample : Gear"}));
    QStringList left = QDir(QFileInfo(selectionFile()).path()).entryList(QDir::Files);
    left.sort();
    EXPECT_EQ(left, QStringList({"canViewer.txt", "canViewer.txt.backup", "canViewer.txt.bak", "canViewer.txt.saving",
                                 "other.txt.saving-a1B2c3"}));
}

TEST_F(SampleViewer, NamesWithSeparatorsAreSavedAsTheyAreAndSkippedWhenRead)
{
    useCatalogue({{"odd:bus", {{"M", {"S"}}}}, {"odd,bus", {{"M", {"S"}}}}, {"ok", {{"M", {"S"}}}}});
    {
        auto view = makeView();
        for (const char* bus : {"odd:bus", "odd,bus", "ok"})
            view->selectedModel()->addItem(signalNamed(bus, "M", "S"), true);
    }
    EXPECT_EQ(readFile(selectionFile()), "odd:bus:M:S\nodd,bus:M:S\nok:M:S\n");
    auto view = makeView();
    EXPECT_EQ(names(*view), QStringList({"ok : S"}));
}

TEST_F(SampleViewer, AFailedSaveIsLoggedLeavesTheViewWorkingAndIsMadeUpLater)
{
    auto view = makeView();
    view->selectedModel()->addItem(sample("Transmission", "Gear"), true);
    drainEvents();
    const QString folder = QFileInfo(selectionFile()).path();
    ASSERT_TRUE(QDir(folder).removeRecursively());
    // Where the folder was, a file now stands: nothing can be saved there.
    writeFile(folder, "in the way");
    CapturingLogSink log;
    view->selectedModel()->addItem(sample("VehicleSpeed", "Speed"), true);
    drainEvents();
    ASSERT_EQ(log.records().size(), 1);
    EXPECT_TRUE(log.lines().first().startsWith("WARN CAN selection not saved to " + selectionFile()));
    EXPECT_EQ(names(*view).size(), 2);

    QFile::remove(folder);
    QDir().mkpath(folder);
    view->selectedModel()->addItem(sample("VehicleSpeed", "Odometer"), true);
    drainEvents();
    EXPECT_EQ(readFile(selectionFile()), "sample:Transmission:Gear\nsample:VehicleSpeed:Speed\nsample:VehicleSpeed:Odometer\n");
    // Nothing but the file itself is left behind by the saves.
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList({"canViewer.txt"}));
}

TEST_F(SampleViewer, AFilteredPageStillRestoresWhatTheFilterHides)
{
    writeFile(selectionFile(), "sample:Position:Latitude\n");
    QTemporaryDir appDir;
    writeFile(appDir.filePath("diagCAN-config.json"), R"({"buses": ["sample"], "messages": ["VehicleSpeed"], "signals": ["Speed"]})");
    AppInfo app(appDir.path(), nullptr);
    CANView view(&root, &app, false);
    EXPECT_EQ(view.dataModel()->getMessageCount(0), 1);
    EXPECT_EQ(names(view), QStringList({"sample : Latitude"}));
}

TEST_F(SampleViewer, ValuesAreDrawnAgainOnlyWhileThePageIsShown)
{
    MultiPageView pages(&root);
    pages.setGeometry(QRect(0, 0, 1600, 1000));
    auto* can = new DiagCANPage(&pages, nullptr, true);
    auto* other = new PageView(&pages, "OTHER");
    pages.addPage(can, nullptr);
    pages.addPage(other, nullptr);
    CANView* view = can->canView();
    EXPECT_TRUE(view->refreshTimer()->isActive());
    view->selectedModel()->addItem(sample("VehicleSpeed", "Speed"), true);
    QSignalSpy redrawn(view->selectedModel(), &TableModel::modelItemCountChanged);
    view->refreshData();
    EXPECT_EQ(redrawn.count(), 1);
    pages.selectPage(1);
    view->refreshData();
    EXPECT_EQ(redrawn.count(), 1);
    pages.selectPage(0);
    view->refreshData();
    EXPECT_EQ(redrawn.count(), 2);
}
