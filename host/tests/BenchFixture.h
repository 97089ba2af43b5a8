#pragma once

// A bench run in a folder of its own, with what tests read back from it: script files, view
// dumps (with the data values beside the views) and the files the bench wrote.
#include "BenchProcess.h"
#include "TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

class BenchEndToEnd : public ::testing::Test {
protected:
    BenchRun bench(const QStringList& arguments) { return runBench(arguments, dir.path()); }

    QString file(const QString& name, const QByteArray& content = QByteArray())
    {
        const QString path = dir.filePath(name);
        if (!content.isNull()) {
            QFile f(path);
            f.open(QIODevice::WriteOnly);
            f.write(content);
        }
        return path;
    }

    QJsonObject dump(const QString& name) { return readDump(dir.filePath(name)); }

    static QJsonObject byClass(const QJsonObject& root, const QString& cls)
    {
        return findView(root, [&](const QJsonObject& v) { return v["class"].toString() == cls; });
    }

    static QJsonObject byLabel(const QJsonObject& root, const QString& label)
    {
        return findView(root, [&](const QJsonObject& v) { return v["label"].toString() == label; });
    }

    // The tabs as a person sees them, left to right.
    static QStringList tabTitles(const QJsonObject& root)
    {
        QStringList titles;
        for (const QJsonValue& tab : byClass(root, "TabSelectorView")["children"].toArray())
            titles << tab["label"].toString();
        return titles;
    }

    // The shown rows of a kind of cell, in table order: "label" or, for drawn rows, "text".
    static QStringList shownRows(const QJsonObject& root, const QString& cls, const QString& property = "label")
    {
        QList<QPair<QPair<int, int>, QString>> rows;
        std::function<void(const QJsonObject&)> visit = [&](const QJsonObject& v) {
            if (v["class"].toString() == cls && v["shown"].toBool() && v["row"].toInt() >= 0)
                rows.append({{v["section"].toInt(), v["row"].toInt()}, v[property].toString()});
            for (const QJsonValue& child : v["children"].toArray())
                visit(child.toObject());
        };
        visit(root);
        std::sort(rows.begin(), rows.end());
        QStringList out;
        for (const auto& r : rows)
            out << r.second;
        return out;
    }

    // A data value as the dump saw it: name, value, valid, pending.
    static QJsonObject dataValue(const QJsonObject& root, const QString& name)
    {
        for (const QJsonValue& v : root["dataValues"].toArray()) {
            if (v["name"].toString() == name)
                return v.toObject();
        }
        return QJsonObject();
    }

    QByteArray contents(const QString& name)
    {
        QFile f(dir.filePath(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("(missing)");
    }

    QTemporaryDir dir;
};

