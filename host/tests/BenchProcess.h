#pragma once

// orvane-bench run as a person or CI runs it: a real process, driven by its options.
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <functional>
#include <gtest/gtest.h>

struct BenchRun {
    int exitCode = -1;
    QString output;
};

// Runs the bench to its end in `folder`, which is also its working, runtime and data folder,
// with `environment` (NAME=value) added to its own.
inline BenchRun runBench(const QStringList& arguments, const QString& folder, int timeoutMs = 30000,
                         const QStringList& environment = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setWorkingDirectory(folder);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", folder);
    env.insert("XDG_DATA_HOME", folder + "/xdg-data"); // the default data folder stays in the test's folder
    for (const QString& variable : environment)
        env.insert(variable.section('=', 0, 0), variable.section('=', 1));
    process.setProcessEnvironment(env);
    process.start(ORVANE_BENCH_PATH, arguments);
    EXPECT_TRUE(process.waitForFinished(timeoutMs)) << "orvane-bench did not finish";
    BenchRun run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.output = QString::fromUtf8(process.readAll());
    return run;
}

// A view dump the bench wrote (--dump-views, or a script's dump).
inline QJsonObject readDump(const QString& path)
{
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << "no dump " << path.toStdString();
    return QJsonDocument::fromJson(f.readAll()).object();
}

// Depth-first search of a dumped view tree for the first view matching a predicate.
inline QJsonObject findView(const QJsonObject& view, const std::function<bool(const QJsonObject&)>& match)
{
    if (match(view))
        return view;
    for (const QJsonValue& child : view["children"].toArray()) {
        const QJsonObject hit = findView(child.toObject(), match);
        if (!hit.isEmpty())
            return hit;
    }
    return QJsonObject();
}
