#pragma once

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/ConfigValue.h"
#include "services/StorageUtils.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Catalogues written in the tests: a message is a name and its one-bit signals, ids counted
// from 0x100 in order.
struct TestMessage {
    QByteArray name;
    QList<QByteArray> signalNames;
};

inline QByteArray dbcText(const QList<TestMessage>& messages)
{
    QByteArray text;
    int id = 0x100;
    for (const TestMessage& m : messages) {
        text += "BO_ " + QByteArray::number(id++) + ' ' + m.name + ": 8 X\n";
        for (int i = 0; i < m.signalNames.size(); ++i)
            text += " SG_ " + m.signalNames[i] + " : " + QByteArray::number(i) + "|1@1+ (1,0) [0|1] \"\" X\n";
    }
    return text;
}

// Replaces the framework's catalogue with these buses, in order.
inline void useCatalogue(const QList<QPair<QString, QList<TestMessage>>>& buses)
{
    CANDataManager::removeSources();
    CANData catalogue;
    for (const auto& bus : buses)
        ASSERT_TRUE(catalogue.addBusFromText(dbcText(bus.second), bus.first, bus.first));
    CANDataManager::replaceCatalogue(std::move(catalogue));
}

inline QString testSourceDir()
{
    return QStringLiteral(ORVANE_TEST_SOURCE_DIR);
}

inline CANSignalNode* signalNamed(const QString& bus, const QString& message, const QString& signal)
{
    return CANDataManager::findSignal(CANDataManager::findMessage(CANDataManager::findBus(bus), message), signal);
}

// A scratch data folder, the shipped skin, and a configuration store of the test's own.
struct CANScratch {
    CANScratch()
    {
        QString error;
        EXPECT_TRUE(StorageUtils::setDataFolder(dir.filePath(QStringLiteral("data")), &error)) << error.toStdString();
        StorageUtils::setAssetsFolder(testSourceDir() + QStringLiteral("/assets"));
        QFile config(dir.filePath(QStringLiteral("orvane.ini")));
        EXPECT_TRUE(config.open(QIODevice::WriteOnly));
        ConfigStore::setPath(config.fileName());
    }
    QString dataFile(const QString& name) const { return dir.filePath(QStringLiteral("data/") + name); }

    QTemporaryDir dir;
};
