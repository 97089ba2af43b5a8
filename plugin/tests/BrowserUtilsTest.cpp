#include "core/DataValues.h"
#include "core/Logger.h"
#include "gui/cef/ChromiumUtils.h"
#include "gui/cef/WebKitUtils.h"

#include "../../framework/tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

CefString cef(const QString& text)
{
    return CefString(ChromiumUtils::toCefString(text));
}

} // namespace

TEST(ChromiumUtils, EmptyStringsStayEmptyBothWays)
{
    EXPECT_TRUE(ChromiumUtils::toQString(CefString()).isEmpty());
    EXPECT_TRUE(ChromiumUtils::toQString(CefString("")).isEmpty());
    EXPECT_TRUE(ChromiumUtils::toCefString(QString()).empty());
    EXPECT_TRUE(CefString(ChromiumUtils::toCefString(QString())).empty());
    EXPECT_TRUE(ChromiumUtils::toQUrl(CefString()).isEmpty());
}

TEST(ChromiumUtils, TextOutsideTheBasicPlaneSurvivesARoundTrip)
{
    const QString text = QStringLiteral("Stra\u00dfe \u6771\u4eac ") + QString::fromUcs4(U"\U0001F697\U0001D11E") + "!";
    const std::wstring wide = ChromiumUtils::toCefString(text);
    // One wide unit a character: the two astral characters are not split in surrogates.
    EXPECT_EQ(wide.size(), size_t(text.length() - 2));
    const CefString converted(wide);
    EXPECT_EQ(converted.length(), size_t(text.length()));
    EXPECT_EQ(ChromiumUtils::toQString(converted), text);
}

TEST(ChromiumUtils, UrlsConvertThroughTheirFullText)
{
    const QUrl url("https://example.com/a%20b?q=1#frag");
    EXPECT_EQ(CefString(ChromiumUtils::toCefString(url)).ToString(), url.toString().toStdString());
    EXPECT_EQ(ChromiumUtils::toQUrl(cef(url.toString())), url);
}

class PrivacyLog : public ::testing::Test {
protected:
    void SetUp() override
    {
        mLogPrivate = GUI_logPrivateData.value();
        mDevelopmentCar = GUI_isDevelopmentCar.value();
    }
    void TearDown() override
    {
        GUI_logPrivateData.setValue(mLogPrivate);
        GUI_isDevelopmentCar.setValue(mDevelopmentCar);
    }
    static void set(bool logPrivate, bool developmentCar)
    {
        GUI_logPrivateData.setValue(logPrivate);
        GUI_isDevelopmentCar.setValue(developmentCar);
    }

private:
    bool mLogPrivate = false;
    bool mDevelopmentCar = false;
};

TEST_F(PrivacyLog, HidesTheValueOnACustomerCarUnlessAllowed)
{
    const QString url = QStringLiteral("https://example.com/home?lat=1");
    set(false, false);
    EXPECT_EQ(ChromiumUtils::privacyLog("load url", url), "load url --");
    EXPECT_EQ(ChromiumUtils::privacyLog("url", cef(url)), "url --");
    set(true, false);
    EXPECT_EQ(ChromiumUtils::privacyLog("load url", url), "load url " + url);
    set(false, true);
    EXPECT_EQ(ChromiumUtils::privacyLog("load url", url), "load url " + url);
    EXPECT_EQ(ChromiumUtils::privacyLog("url", cef(url)), "url " + url);
}

TEST_F(PrivacyLog, PlaceholdersInLabelOrValueAreKeptLiterally)
{
    set(true, false);
    EXPECT_EQ(ChromiumUtils::privacyLog("user %1 geolocation permission", QStringLiteral("a %2 b")),
              "user %1 geolocation permission a %2 b");
    EXPECT_EQ(ChromiumUtils::privacyLog("url", QString()), "url ");
}

TEST(WebKitUtils, DeleteFunctionKeypadAndMediaKeysStayUnmapped)
{
    for (Qt::Key key : {Qt::Key_Delete, Qt::Key_Insert, Qt::Key_Meta, Qt::Key_F1, Qt::Key_F12,
                        Qt::Key_NumLock, Qt::Key_VolumeUp, Qt::Key_MediaPlay, Qt::Key_unknown})
        EXPECT_EQ(WebKitUtils::windowsKeyCode(key), 0) << key;
}

