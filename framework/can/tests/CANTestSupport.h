#pragma once

#include "can/CANData.h"
#include "can/CANDecoder.h"
#include "can/CANFrameSource.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

// The source tree with its sample and reference catalogues, found through ORVANE_SOURCE_DIR, or the
// tree this test was built from when the variable is missing.
inline QString sourceDir()
{
    QByteArray dir = qgetenv("ORVANE_SOURCE_DIR");
#ifdef ORVANE_CAN_TEST_SOURCE_DIR
    if (dir.isEmpty())
        dir = ORVANE_CAN_TEST_SOURCE_DIR;
#endif
    EXPECT_FALSE(dir.isEmpty()) << "ORVANE_SOURCE_DIR is not set; run the tests through ctest";
    return QString::fromLocal8Bit(dir);
}

inline QString sampleCatalogue() { return sourceDir() + QStringLiteral("/assets/can/sample.dbc"); }
inline QString sampleLog() { return sourceDir() + QStringLiteral("/assets/can/sample.log"); }

inline QString referenceDbcDir()
{
    const QString dir = sourceDir() + QStringLiteral("/testdata/dbc");
    EXPECT_TRUE(QDir(dir).exists()) << "reference catalogues missing: " << dir.toStdString();
    return dir;
}

// Writes a log of `frames` frames of id 100 on can0, `gapSeconds` apart, the n-th carrying n
// (modulo 256), plus extra lines.
inline QString writeLog(QTemporaryDir& dir, int frames, double gapSeconds, const QByteArray& extra = QByteArray())
{
    const QString path = dir.filePath(QStringLiteral("test.log"));
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::WriteOnly));
    for (int i = 0; i < frames; ++i)
        f.write(QStringLiteral("(%1) can0 064#%2\n").arg(1000.0 + i * gapSeconds, 0, 'f', 6).arg(i % 256, 2, 16, QLatin1Char('0')).toLatin1());
    f.write(extra);
    return path;
}

// Polls until the condition holds; the limit only ends a test that has already failed.
inline bool eventually(const std::function<bool()>& condition)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > giveUp)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// One bus with the counter message of writeLog, its signal captured.
struct ReplayRig {
    CANData data;
    std::unique_ptr<CANDecoder> decoder;
    CANInterfaceRoutes routes;
    std::atomic<bool> stop{false};
    ReplayRig()
    {
        EXPECT_TRUE(data.addBusFromText("BO_ 100 Counter: 1 X\n SG_ Count : 0|8@1+ (1,0) [0|255] \"\" X\n", "bus", "text"));
        decoder = std::make_unique<CANDecoder>(std::make_shared<const CANData>(data));
        decoder->capture(0);
        routes = CANInterfaceRoutes(data);
    }
    QString value() const { return decoder->formattedValue(0, 0, QStringLiteral("--")); }
    CANFrameSource::Outcome run(CANFrameSource& source) { return source.run(*decoder, routes, stop); }
};
