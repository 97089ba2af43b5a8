// The bench's CAN lab tools: the recording of captured values and the live bus counters.
#include "CANBusPanel.h"
#include "CANRecorder.h"

#include "../../framework/can/tests/CANTestSupport.h"
#include "can/CANData.h"
#include "can/CANDataManager.h"

#include <QTableWidget>
#include <QTemporaryDir>

namespace {

CanFrame frameOf(uint32_t id, std::initializer_list<uint8_t> bytes)
{
    CanFrame f;
    f.id = id;
    f.len = uint8_t(bytes.size());
    std::copy(bytes.begin(), bytes.end(), f.data);
    return f;
}

CANSignalNode* sampleSignal(const QString& message, const QString& signal)
{
    return CANDataManager::findSignal(CANDataManager::findMessage(CANDataManager::findBus("sample"), message), signal);
}

} // namespace

TEST(CANRecorder, RowsOfTheCapturedValuesWithANewHeaderWheneverTheSetChanges)
{
    ASSERT_TRUE(CANDataManager::loadCatalogue({sampleCatalogue()}));
    QTemporaryDir dir;
    CANRecorder recorder;
    QString error;
    ASSERT_FALSE(recorder.start(dir.filePath("missing/record.csv"), &error));
    EXPECT_TRUE(error.startsWith("cannot write " + dir.filePath("missing/record.csv")));
    ASSERT_TRUE(recorder.start(dir.filePath("record.csv"), &error)) << error.toStdString();

    CANSignalNode* speed = sampleSignal("VehicleSpeed", "Speed");
    CANSignalNode* gear = sampleSignal("Transmission", "Gear");
    CANDataManager::startCapture(speed);
    recorder.sample(0);
    CANDataManager::decoder()->decode(frameOf(256, {0x10, 0x27, 0, 0, 0, 0, 0, 0}), 0);
    recorder.sample(100);
    CANDataManager::startCapture(gear);
    CANDataManager::decoder()->decode(frameOf(400, {0x03, 0, 0, 0}), 0);
    recorder.sample(200);
    CANDataManager::stopCapture(speed);
    CANDataManager::stopCapture(gear);
    recorder.sample(1250);

    QFile file(dir.filePath("record.csv"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));  // flushed row by row, readable while recording
    EXPECT_EQ(QString::fromUtf8(file.readAll()).split('\n'),
              QStringList({"time,sample:VehicleSpeed:Speed", "0.000,", "0.100,100",
                           "time,sample:VehicleSpeed:Speed,sample:Transmission:Gear", "0.200,100,3",
                           "time", "1.250", ""}));
}

TEST(CANBusPanel, ShowsEachBusCountersAndTheFramesNoBusKnows)
{
    ASSERT_TRUE(CANDataManager::loadCatalogue({"PT=" + sampleCatalogue(), "CH=" + sampleCatalogue()}));
    CANDecoder* decoder = CANDataManager::decoder();
    decoder->decode(frameOf(256, {0, 0, 0, 0, 0, 0, 0, 0}), 0);
    decoder->decode(frameOf(400, {0}), 0);  // shorter than the message
    decoder->decode(frameOf(0x7AA, {0}), 1);  // an id the bus does not know
    decoder->countDropped(1, 4);
    decoder->decode(frameOf(0x7AB, {0}), CANDecoder::Unrouted);
    CANBusPanel panel;
    panel.refresh();
    const auto row = [&](int r) {
        QStringList cells;
        for (int c = 0; c < panel.table()->columnCount(); ++c)
            cells << panel.table()->item(r, c)->text();
        cells.removeAt(1);  // frames per second depend on the clock
        return cells;
    };
    ASSERT_EQ(panel.table()->rowCount(), 3);
    EXPECT_EQ(row(0), QStringList({"PT", "2", "0", "1", "0"}));
    EXPECT_EQ(row(1), QStringList({"CH", "1", "1", "0", "4"}));
    EXPECT_EQ(row(2), QStringList({"(no bus)", "1", "1", "0", "0"}));
}
