#pragma once

#include "core/DataValues.h"
#include "diag/DiagnosticTools.h"
#include "diag/PluginEntry.h"
#include "services/AppInfo.h"
#include "services/PlatformJournal.h"
#include "services/StorageUtils.h"
#include "views/AppWindow.h"
#include "views/MultiPageView.h"
#include "views/PageView.h"
#include "TestSupport.h"

#include <QLocale>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

// A car's application window with the plug-in loaded into it, modes chosen per test.
class ShellTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        setModes(false, false);
        GUI_factoryMode.setValue(false);
        GUI_serviceMode.setValue(false);
        GUI_language.setValue(QLocale::English);
        PlatformJournal::instance()->clear();
        // Pages save their files (the CAN selection) here, never in the user's folders.
        QString error;
        ASSERT_TRUE(StorageUtils::setDataFolder(dataDir.path(), &error)) << error.toStdString();
        window = std::make_unique<AppWindow>();
        window->resize(1920, 1200);
        app = std::make_unique<AppInfo>("/opt/orvane/plugins/diag", window.get());
    }

    void TearDown() override
    {
        window.reset();
        drainEvents();
    }

    static void setModes(bool developer, bool diagnostic)
    {
        GUI_developerMode.setValue(developer);
        GUI_diagnosticMode.setValue(diagnostic);
    }

    DiagnosticTools* load(DisplayView* parent = nullptr)
    {
        shell = static_cast<DiagnosticTools*>(LoadPlugin(app.get(), parent ? parent : window.get()));
        shell->resize(1856, 1028);
        return shell;
    }

    QStringList titles() const
    {
        QStringList out;
        for (int i = 0; i < shell->pageView()->pageCount(); ++i)
            out << shell->pageView()->getPage(i)->title();
        return out;
    }

    QString currentTitle() const { return shell->pageView()->currentPage()->title(); }

    // Views with this label anywhere under a root.
    static int countLabelled(const DisplayView* root, const QString& text)
    {
        int n = root->describe() == text ? 1 : 0;
        for (const DisplayView* child : root->childViews())
            n += countLabelled(child, text);
        return n;
    }

    QTemporaryDir dataDir;
    std::unique_ptr<AppWindow> window;
    std::unique_ptr<AppInfo> app;
    DiagnosticTools* shell = nullptr;
};
