#pragma once

#include "BrowserTestSupport.h"
#include "fake_browser.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"
#include "Screen.h"

#include <QPointer>
#include <string>
#include <vector>
#include <gtest/gtest.h>

using namespace testing_support;

// A web view whose client got no browser from the (unstarted) engine; tests hand it fake ones.
class BrowserClientTest : public ::testing::Test, protected Screen<> {
protected:
    BrowserClientTest()
        : Screen(QSize(1920, 1080))
    {
    }
    void SetUp() override
    {
        ConfigStore::setPath(mConfig.filePath("car.ini"));
        theCenterDisplay->setChromiumManager(&mManager);
        GUI_allReady.setValue(true);
        mView = new WebKitView(&root);
        mView->setGeometry(QRect(0, 0, 800, 480));
        client = mView->client();
        ASSERT_TRUE(client);
    }
    void TearDown() override
    {
        QPointer<ChromiumClient> left = mView ? mView->client() : client.data();
        delete mView;
        if (left && left->browser())
            left->OnBeforeClose(mBrowser.get());
        EXPECT_TRUE(left.isNull()) << "the client outlived its closed browser";
        theCenterDisplay->setChromiumManager(nullptr);
        GUI_allReady.setValue(false);
    }
    void adopt() { client->OnAfterCreated(mBrowser.get()); }
    QStringList loads() const
    {
        QStringList out;
        for (const std::string& url : mBrowser->Frame(1)->loads)
            out << QString::fromStdString(url);
        return out;
    }

    ControlGroupCommands mCommands;
    QTemporaryDir mConfig;
    ChromiumManager mManager;
    WebKitView* mView = nullptr;
    QPointer<ChromiumClient> client;
    CefRefPtr<FakeBrowser> mBrowser = new FakeBrowser(7);
    CapturingLogSink mLog;
};
