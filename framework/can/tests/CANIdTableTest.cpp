#include "CANTestSupport.h"

#include "can/CANIdTable.h"

namespace {

QByteArray message(uint32_t dbcId, const char* name)
{
    return QByteArray("BO_ ") + QByteArray::number(dbcId) + " " + name + ": 8 X\n";
}

constexpr uint32_t ExtendedInCatalogue = 0x80000000u;

} // namespace

TEST(CANIdTable, FindsEveryMessageOfEveryBusAndNothingElse)
{
    // Consecutive ids fill a bus's stretch to half, wrapping its probes round the end; the same
    // numbers as extended ids and on the other bus are other messages.
    QByteArray first, second;
    for (uint32_t id = 0; id < 300; ++id) {
        first += message(id, qPrintable(QStringLiteral("S%1").arg(id)));
        first += message(ExtendedInCatalogue | id, qPrintable(QStringLiteral("E%1").arg(id)));
    }
    second += message(5, "Five");
    second += message(ExtendedInCatalogue | 0x1FFFFFFFu, "Last");
    CANData data;
    ASSERT_TRUE(data.addBusFromText(first, "first", "a"));
    ASSERT_TRUE(data.addBusFromText(second, "second", "b"));
    const CANIdTable table(data);
    for (int b = 0; b < data.busCount(); ++b) {
        const CANBusNode* bus = data.busAt(b);
        for (int m = 0; m < bus->messageCount(); ++m) {
            const CANMessageNode* node = bus->messageAt(m);
            EXPECT_EQ(table.messageFor(b, node->frameId(), node->isExtended()), node->globalIndex()) << node->name().constData();
        }
    }
    EXPECT_EQ(table.messageFor(0, 300, false), -1);
    EXPECT_EQ(table.messageFor(0, 300, true), -1);
    EXPECT_EQ(table.messageFor(1, 6, false), -1);
    EXPECT_EQ(table.messageFor(1, 5, true), -1);
    EXPECT_EQ(table.messageFor(1, 0x1FFFFFFFu, false), -1);
    // Past 29 bits no frame is a message, whatever its bits look like to the table.
    EXPECT_EQ(table.messageFor(1, 0x7FFFFFFFu, true), -1);
}

TEST(CANIdTable, TakesTheMessageTheBusGivesASharedIdAndCopesWithEmptyBuses)
{
    CANData data;
    ASSERT_TRUE(data.addBusFromText(message(7, "One") + message(7, "Two"), "shared", "a"));
    ASSERT_TRUE(data.addBusFromText("VERSION \"\"\n", "empty", "b"));
    const CANIdTable table(data);
    const CANBusNode* bus = data.busAt(0);
    EXPECT_EQ(table.messageFor(0, 7, false), bus->messageAt(bus->messageIndexForFrame(7, false))->globalIndex());
    EXPECT_EQ(table.messageFor(1, 7, false), -1);
}
