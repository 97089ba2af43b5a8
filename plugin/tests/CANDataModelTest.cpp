// The viewer's catalogue model and its filter file.
#include "CANTestCatalogue.h"

#include "core/Logger.h"
#include "diag/can/CANDataModel.h"
#include "services/AppInfo.h"

#include <memory>

namespace {

// Two buses that share message names, as real cars do.
void useTwoBuses()
{
    useCatalogue({{"PT", {{"Engine", {"Rpm", "Torque", "rpm"}}, {"Gearbox", {"Gear"}}, {"Diag", {"Code"}}}},
                  {"CH", {{"Brakes", {"Pressure"}}, {"Engine", {"Rpm", "Load"}}}},
                  {"BODY", {{"Engine", {"Rpm"}}}}});
}

// The shown tree as text: "bus/message/signal" for every leaf, "bus/message" for a message
// without signals, "bus" for a bus without messages.
QStringList shown(const CANDataModel& model)
{
    QStringList out;
    for (int b = 0; b < model.getBusCount(); ++b) {
        if (model.getMessageCount(b) == 0)
            out << model.getBusName(b);
        for (int m = 0; m < model.getMessageCount(b); ++m) {
            const QString message = model.getBusName(b) + '/' + model.getMessageName(b, m);
            if (model.getSignalCount(b, m) == 0)
                out << message;
            for (int s = 0; s < model.getSignalCount(b, m); ++s) {
                out << message + '/' + model.getSignalName(b, m, s);
                EXPECT_EQ(QString::fromUtf8(model.getSignal(b, m, s)->name()), model.getSignalName(b, m, s));
            }
        }
    }
    return out;
}

class CANFilterTest : public ::testing::Test {
protected:
    CANFilterTest()
        : app(dir.path(), nullptr)
    {
        useTwoBuses();
        log.clear();
    }

    // A model filtered by this text, placed beside the application.
    std::unique_ptr<CANDataModel> filtered(const QByteArray& text)
    {
        if (QFile::exists(CANDataModel::filterFileCandidates(nullptr).first()))
            ADD_FAILURE() << "a filter in /var/etc would win over the test's own";
        QFile file(dir.filePath("diagCAN-config.json"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        log.clear();
        return std::make_unique<CANDataModel>(&app, false);
    }

    QTemporaryDir dir;
    AppInfo app;
    CapturingLogSink log;
};

} // namespace

TEST_F(CANFilterTest, WithoutFilterItIsTheCatalogueAndReadsNoFile)
{
    CANDataModel model(&app, true);
    EXPECT_FALSE(model.isFiltered());
    EXPECT_EQ(shown(model), QStringList({"PT/Engine/Rpm", "PT/Engine/Torque", "PT/Engine/rpm", "PT/Gearbox/Gear",
                                         "PT/Diag/Code", "CH/Brakes/Pressure", "CH/Engine/Rpm", "CH/Engine/Load",
                                         "BODY/Engine/Rpm"}));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(CANFilterTest, TheSystemFileComesFirstAndWithoutAnyTheModelIsEmptyWithOneError)
{
    EXPECT_EQ(CANDataModel::filterFileCandidates(&app),
              QStringList({"/var/etc/diagCAN-config.json", dir.filePath("diagCAN-config.json")}));
    if (QFile::exists("/var/etc/diagCAN-config.json"))
        GTEST_SKIP() << "this machine has a system filter";
    CANDataModel model(&app, false);
    EXPECT_TRUE(model.isFiltered());
    EXPECT_EQ(model.getBusCount(), 0);
    EXPECT_EQ(log.lines(), QStringList({"ERROR CAN View Filter File " + dir.filePath("diagCAN-config.json") + " does not exist"}));
}

TEST_F(CANFilterTest, CatalogueOrderAlwaysAndNamesMatchWholeAndCaseSensitive)
{
    // Listed out of order, twice, and once in the wrong case.
    auto model = filtered(R"({"buses": ["CH", "PT", "CH", "pt"], "messages": ["Engine", "Brakes", "Engine"],
                              "signals": ["Rpm", "Pressure", "RPM", "Rp"], "comment": "other keys are ignored"})");
    EXPECT_EQ(shown(*model), QStringList({"PT/Engine/Rpm", "CH/Brakes/Pressure", "CH/Engine/Rpm"}));
    EXPECT_EQ(log.lines(), QStringList({"INFO Loading CAN View Filter from " + dir.filePath("diagCAN-config.json")}));
}

TEST_F(CANFilterTest, BusesListedAloneShowNoMessagesAndUnlistedBusesHideTheirs)
{
    EXPECT_EQ(shown(*filtered(R"({"buses": ["BODY", "PT"]})")), QStringList({"PT", "BODY"}));
    // "Engine" is on all three buses; only the listed ones show it.
    EXPECT_EQ(shown(*filtered(R"({"buses": ["PT", "CH"], "messages": ["Engine"]})")),
              QStringList({"PT/Engine", "CH/Engine"}));
    EXPECT_EQ(shown(*filtered(R"({"messages": ["Engine"], "signals": ["Rpm"]})")), QStringList());
}

TEST_F(CANFilterTest, EntriesThatAreNoNamesAreSkippedAndSaid)
{
    auto model = filtered(R"({"buses": ["PT", 7, null, ["CH"]], "messages": "Engine", "signals": [{"Rpm": 1}, "Gear"]})");
    EXPECT_EQ(shown(*model), QStringList({"PT"}));
    EXPECT_TRUE(log.contains("WARN", "CAN View Filter: 3 entries of buses are not names; skipped"));
    EXPECT_TRUE(log.contains("WARN", "CAN View Filter: messages is not a list of names; ignored"));
    EXPECT_TRUE(log.contains("WARN", "CAN View Filter: 1 entries of signals are not names; skipped"));
}

TEST_F(CANFilterTest, EmptyCorruptAndHostileFilesLeaveAnEmptyModelAndOneError)
{
    const QByteArray deep = QByteArray("{\"buses\": ") + QByteArray(10000, '[') + QByteArray(10000, ']') + "}";
    const QByteArray cases[] = {"", "{}", "[\"PT\"]", "\"PT\"", "{\"buses\": [\"PT\"]", "\x7F" "ELF\x01\x02\0\0", deep};
    for (const QByteArray& text : cases) {
        auto model = filtered(text);
        EXPECT_TRUE(model->isFiltered());
        EXPECT_EQ(model->getBusCount(), 0) << text.left(20).toStdString();
        EXPECT_EQ(log.lines(), QStringList({"INFO Loading CAN View Filter from " + dir.filePath("diagCAN-config.json"),
                                            "ERROR Empty or corrupt CAN View Filter"}))
            << text.left(20).toStdString();
    }

    // 50 MB is refused before it is read: no seconds and gigabytes spent on it.
    QFile huge(dir.filePath("diagCAN-config.json"));
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly));
    ASSERT_TRUE(huge.resize(50 * 1024 * 1024));
    huge.close();
    log.clear();
    CANDataModel model(&app, false);
    EXPECT_EQ(model.getBusCount(), 0);
    EXPECT_TRUE(log.contains("ERROR", "Empty or corrupt CAN View Filter"));

    // A filter that cannot be opened.
    QFile::remove(huge.fileName());
    ASSERT_TRUE(QDir(dir.path()).mkdir("diagCAN-config.json"));
    log.clear();
    CANDataModel unreadable(&app, false);
    EXPECT_EQ(unreadable.getBusCount(), 0);
    EXPECT_EQ(log.lines().last(), "ERROR Unable to open CAN View Filter " + dir.filePath("diagCAN-config.json"));
}
