#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QString>

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
