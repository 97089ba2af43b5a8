#include "core/DataValues.h"
#include "core/Logger.h"
#include "services/VehicleUtils.h"
#include "TestSupport.h"

#include <QSet>
#include <gtest/gtest.h>

namespace {

class GearListener : public QObject {
    Q_OBJECT
public:
    int calls = 0;
public slots:
    void gearChanged() { ++calls; }
};

void setFact(DataValue& value, const QVariant& content, bool valid = true)
{
    DataValue::EventLocker lock(value);
    value.setVariantNoLock(content);
    value.setValidNoLock(valid);
}

// Every fact the tests touch, put back as the bench's car has it.
class VehicleUtilsTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        setFact(VAPI_gear, 1);
        for (BoolDataValue* fact : {&VAPI_hasParkAssist, &VAPI_esp2, &VAPI_velocorCapable, &VAPI_hasActiveSpoiler,
                                    &VAPI_fourWheelDrive})
            setFact(*fact, true);
        setFact(VAPI_towModeEnabled, false);
        setFact(GUI_factoryMode, false);
        setFact(GUI_diagnosticMode, false);
        drainEvents();
    }
};

} // namespace

TEST_F(VehicleUtilsTest, ParkedFollowsTheGearAndAnUnknownGearAnswersWhatTheCallerRisks)
{
    struct Case {
        int gear;
        bool valid;
        bool strict;  // isCarParked(true)
        bool lenient; // isCarParked(false)
    };
    const Case cases[] = {
        {1, true, true, true},   // P
        {2, true, false, false}, // R
        {4, true, false, false}, // D
        {0, true, false, true},  // the car reports it does not know
        {1, false, false, true}, // not heard from the car
    };
    for (const Case& c : cases) {
        setFact(VAPI_gear, c.gear, c.valid);
        EXPECT_EQ(VehicleUtils::isCarParked(true), c.strict) << c.gear << (c.valid ? " valid" : " invalid");
        EXPECT_EQ(VehicleUtils::isCarParked(false), c.lenient) << c.gear << (c.valid ? " valid" : " invalid");
        EXPECT_EQ(VehicleUtils::isCarParked(), c.strict);
    }
}

TEST_F(VehicleUtilsTest, FactsFollowTheirValuesAndAnUnconfirmedFactIsAbsent)
{
    const QList<QPair<BoolDataValue*, bool (*)()>> facts = {
        {&VAPI_hasParkAssist, &VehicleUtils::hasParkAssist},
        {&VAPI_esp2, &VehicleUtils::isEsp2},
        {&VAPI_velocorCapable, &VehicleUtils::allowVelocorMode},
        {&VAPI_hasActiveSpoiler, &VehicleUtils::hasActiveSpoiler},
        {&VAPI_fourWheelDrive, &VehicleUtils::isFourWheelDrive},
    };
    for (const auto& fact : facts) {
        setFact(*fact.first, true);
        EXPECT_TRUE(fact.second()) << fact.first->name().toStdString();
        setFact(*fact.first, false);
        EXPECT_FALSE(fact.second()) << fact.first->name().toStdString();
        setFact(*fact.first, true, /*valid=*/false);
        EXPECT_FALSE(fact.second()) << fact.first->name().toStdString() << " invalid";
    }
}

TEST_F(VehicleUtilsTest, PowerOffOnlyWhenKnownParkedAndKnownNotTowed)
{
    setFact(VAPI_gear, 1);
    setFact(VAPI_towModeEnabled, false);
    EXPECT_TRUE(VehicleUtils::allowPowerOff());
    setFact(VAPI_towModeEnabled, true);
    EXPECT_FALSE(VehicleUtils::allowPowerOff());
    setFact(VAPI_towModeEnabled, false, /*valid=*/false);
    EXPECT_FALSE(VehicleUtils::allowPowerOff());
    setFact(VAPI_towModeEnabled, false);
    setFact(VAPI_gear, 4);
    EXPECT_FALSE(VehicleUtils::allowPowerOff());
    setFact(VAPI_gear, 1, /*valid=*/false);
    EXPECT_FALSE(VehicleUtils::allowPowerOff());
}

TEST_F(VehicleUtilsTest, MotorSelectionOnFourWheelDriveOnTheLineOrInService)
{
    setFact(VAPI_fourWheelDrive, true);
    EXPECT_FALSE(VehicleUtils::allowMotorModeSelection()); // a customer's car
    setFact(GUI_factoryMode, true);
    EXPECT_TRUE(VehicleUtils::allowMotorModeSelection());
    setFact(GUI_factoryMode, false);
    setFact(GUI_diagnosticMode, true);
    EXPECT_TRUE(VehicleUtils::allowMotorModeSelection());
    setFact(VAPI_fourWheelDrive, false);
    EXPECT_FALSE(VehicleUtils::allowMotorModeSelection());
}

TEST_F(VehicleUtilsTest, GearConnectCallsNowOnlyWhenAskedAndQueuedWaitsForTheLoop)
{
    GearListener direct;
    ASSERT_TRUE(VehicleUtils::gearConnect(&direct, SLOT(gearChanged()), /*callNow=*/true));
    EXPECT_EQ(direct.calls, 1);
    GearListener later;
    ASSERT_TRUE(VehicleUtils::gearConnect(&later, SLOT(gearChanged()), /*callNow=*/false));
    EXPECT_EQ(later.calls, 0);
    GearListener queued;
    ASSERT_TRUE(VehicleUtils::gearConnect(&queued, SLOT(gearChanged()), /*callNow=*/true, /*queued=*/true));
    EXPECT_EQ(queued.calls, 1); // "now" is now, queued or not

    VAPI_gear.setValue(4);
    EXPECT_EQ(direct.calls, 2);
    EXPECT_EQ(later.calls, 1);
    EXPECT_EQ(queued.calls, 1);
    QCoreApplication::processEvents();
    EXPECT_EQ(queued.calls, 2); // once: the direct connection was replaced, not added to
    EXPECT_EQ(direct.calls, 2);

    CapturingLogSink log;
    GearListener wrong;
    EXPECT_FALSE(VehicleUtils::gearConnect(&wrong, SLOT(noSuchSlot()), true, true));
    EXPECT_EQ(wrong.calls, 0);
    EXPECT_EQ(log.records().size(), 1);
}

TEST(ModeNameMaps, RowIsValueAndTheTableEndsWithANullName)
{
    for (const ModeName* map : {EspModeRequestNameMap, TractionControlModeRequestNameMap, DragStripModeNameMap}) {
        QSet<QString> names;
        int row = 0;
        for (; map[row].name; ++row) {
            EXPECT_EQ(map[row].value, row) << map[row].name; // pickers write the row
            EXPECT_FALSE(QString(map[row].name).isEmpty());
            names.insert(map[row].name);
        }
        EXPECT_GE(row, 3);
        EXPECT_EQ(names.size(), row);
    }
}

#include "VehicleUtilsTest.moc"
