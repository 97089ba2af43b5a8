#pragma once

#include "BrowserTestSupport.h"
#include "FakeEngine.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"

#include <QPointer>
#include <gtest/gtest.h>

// A web view whose client got no browser from the (unstarted) engine; tests hand it fake ones.
class BrowserClientTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ConfigStore::setPath(mConfig.filePath("car.ini"));
        mRoot.setGeometry(QRect(QPoint(0, 0), mDisplay.size()));
        theCenterDisplay->setChromiumManager(&mManager);
        GUI_allReady.setValue(true);
        mView = new WebKitView(&mRoot);
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
    QStringList loads() const { return mBrowser->mainFrame->loads; }

    ControlGroupCommands mCommands;
    QTemporaryDir mConfig;
    ChromiumManager mManager;
    DisplayView mRoot;
    DisplayDevice mDisplay{&mRoot, QSize(1920, 1080)};
    WebKitView* mView = nullptr;
    QPointer<ChromiumClient> client;
    CefRefPtr<FakeBrowser> mBrowser = new FakeBrowser(7);
    CapturingLogSink mLog;
};
