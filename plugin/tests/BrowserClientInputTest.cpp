#include "BrowserClientFixture.h"

#include "diag/DiagConfig.h"
#include "include/cef_process_message.h"
#include "include/cef_values.h"

#include <QKeyEvent>
#include <QKeySequence>
#include <QSignalSpy>

namespace {

void expectTriples(const std::vector<CefKeyEvent>& events, int windowsKey, int nativeKey, const QVector<int>& characters)
{
    ASSERT_EQ(events.size(), size_t(3 * characters.size()));
    for (size_t i = 0; i < events.size(); ++i) {
        const int expectedType = (i % 3 == 0) ? KEYEVENT_RAWKEYDOWN : (i % 3 == 1) ? KEYEVENT_CHAR : KEYEVENT_KEYUP;
        EXPECT_EQ(int(events[i].type), expectedType) << i;
        EXPECT_EQ(events[i].windows_key_code, windowsKey) << i;
        EXPECT_EQ(events[i].native_key_code, nativeKey) << i;
        EXPECT_EQ(int(events[i].character), characters[i / 3]) << i;
        EXPECT_EQ(int(events[i].unmodified_character), characters[i / 3]) << i;
    }
}

} // namespace

TEST_F(BrowserClientTest, KeyStrokesBecomePressCharReleaseTriples)
{
    adopt();
    const struct {
        int key;
        Qt::KeyboardModifiers modifiers;
        QString text;
        int windowsKey;
        QVector<int> characters;
    } strokes[] = {
        {0, Qt::NoModifier, QStringLiteral("\u00e9"), 0, {0xE9}}, // a character without a key
        {Qt::Key_Return, Qt::NoModifier, "\r", 13, {13}},
        {Qt::Key_Tab, Qt::NoModifier, "", 9, {9}},
        {Qt::Key_At, Qt::ShiftModifier, "@", 50, {'@'}},
        {Qt::Key_A, Qt::NoModifier, "abc", 65, {'a', 'b', 'c'}},
        {Qt::Key_Backspace, Qt::NoModifier, "\b", 8, {8}},
    };
    for (const auto& s : strokes) {
        mBrowser->host->keys.clear();
        QKeyEvent event(QEvent::KeyPress, s.key, s.modifiers, s.text);
        mView->keyEvent(&event);
        const int nativeKey = s.key ? s.key : QKeySequence(s.text)[0];
        expectTriples(mBrowser->host->keys, s.windowsKey, nativeKey, s.characters);
        EXPECT_EQ(mBrowser->host->keys[0].modifiers, uint32(s.modifiers & Qt::ShiftModifier ? EVENTFLAG_SHIFT_DOWN : 0));
    }
}

TEST_F(BrowserClientTest, ATapIsOneClickAtItsPointAndADragOnlyScrolls)
{
    // Before the browser exists: nothing to send, nothing to fail.
    display.tap(QPoint(120, 120));
    adopt();
    auto& mouse = mBrowser->host->mouse;
    // Through the display, as a finger arrives: a wobble of a few pixels is still a tap.
    press(QPoint(120, 120));
    move(QPoint(122, 121));
    release(QPoint(122, 121));
    const std::vector<std::string> click{"move 120 120 0 0", "down 120 120 0 1", "up 120 120 0 0"};
    EXPECT_EQ(mouse, click);
    EXPECT_EQ(mBrowser->host->focuses, std::vector<bool>{true});

    mouse.clear();
    press(QPoint(200, 300));
    move(QPoint(200, 250));
    move(QPoint(200, 200));
    release(QPoint(200, 200));
    ASSERT_EQ(mouse.size(), 2u);
    int scrolled = 0;
    for (const std::string& m : mouse) {
        EXPECT_EQ(m.substr(0, 6), "wheel ") << m;
        scrolled += std::stoi(m.substr(m.rfind(' ')));
    }
    EXPECT_EQ(scrolled, -100) << "the page follows the finger";
}

TEST_F(BrowserClientTest, OneScriptDialogAtATimeAnsweredThroughTheView)
{
    adopt();
    QSignalSpy shown(mView, &WebKitView::presentJavaScriptPopup);
    QSignalSpy dismissed(mView, &WebKitView::dismissJavaScriptPopup);
    CefRefPtr<FakeDialogCallback> first = new FakeDialogCallback;
    CefRefPtr<FakeDialogCallback> second = new FakeDialogCallback;
    bool suppress = false;

    client->OnResetDialogState(mBrowser.get());
    EXPECT_EQ(dismissed.size(), 0) << "nothing pending, nothing to dismiss";

    EXPECT_TRUE(client->OnJSDialog(mBrowser.get(), "https://a/", JSDIALOGTYPE_PROMPT, "Name?", "Bo", first.get(), suppress));
    EXPECT_FALSE(client->OnJSDialog(mBrowser.get(), "https://a/", JSDIALOGTYPE_ALERT, "again", "", second.get(), suppress));
    EXPECT_TRUE(mLog.contains("WARN", "javascript dialog already active, ignoring new request"));
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown.at(0).at(0).toString(), "Name?");
    EXPECT_EQ(shown.at(0).at(1).value<WebKitView::DialogType>(), WebKitView::Prompt);
    EXPECT_EQ(shown.at(0).at(2).toString(), "Bo");

    mView->javaScriptPopupResult(true, "Ada");
    EXPECT_EQ(first->answers, std::vector<std::string>{"ok Ada"});
    EXPECT_EQ(dismissed.size(), 1);

    EXPECT_TRUE(client->OnBeforeUnloadDialog(mBrowser.get(), "Leave?", false, second.get()));
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown.at(1).at(1).value<WebKitView::DialogType>(), WebKitView::Confirm);
    EXPECT_EQ(shown.at(1).at(2).toString(), "");
    // A navigation or close resets the dialog without answering it.
    client->OnResetDialogState(mBrowser.get());
    EXPECT_TRUE(second->answers.empty());
    EXPECT_EQ(dismissed.size(), 2);
    mView->javaScriptPopupResult(false, QString());
    EXPECT_TRUE(second->answers.empty());
}

TEST_F(BrowserClientTest, GeolocationIsAskedPerHostAndRememberedOnlyWhenGranted)
{
    adopt();
    QSignalSpy shown(mView, &WebKitView::presentJavaScriptPopup);
    LOC_estimatedLat.setValue(37.774929);
    LOC_estimatedLon.setValue(-122.419416);
    LOC_geoAccuracy.setValue(12.5);
    LOC_estimatedGeoTimestamp.setValue(1700000000123.0);

    CefRefPtr<FakeQueryCallback> denied = new FakeQueryCallback;
    client->geolocationRequest(QUrl("https://maps.example/x"), denied.get());
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown.at(0).at(0).toString(), "The site \"maps.example\" would like to use your current location.");
    EXPECT_EQ(shown.at(0).at(1).value<WebKitView::DialogType>(), WebKitView::GeolocationPermission);
    CefRefPtr<FakeQueryCallback> ignored = new FakeQueryCallback;
    client->geolocationRequest(QUrl("https://other.example/"), ignored.get());
    EXPECT_TRUE(mLog.contains("WARN", "geolocation request already active, ignoring new request"));
    mView->javaScriptPopupResult(false, QString());
    EXPECT_EQ(denied->answers, std::vector<std::string>{"failure 0 denied"});
    EXPECT_TRUE(ignored->answers.empty());

    CefRefPtr<FakeQueryCallback> granted = new FakeQueryCallback;
    client->geolocationRequest(QUrl("https://maps.example/y"), granted.get());
    EXPECT_EQ(shown.size(), 2) << "a denied host is asked again";
    mView->javaScriptPopupResult(true, QString());
    const QString position = QStringLiteral(
        "{ \"coords\": { \"latitude\": 37.7749, \"longitude\": -122.419, \"accuracy\": 12.5 }, \"timestamp\": 1.7e+12 }");
    EXPECT_EQ(granted->answers, std::vector<std::string>{("success " + position).toStdString()});

    CefRefPtr<FakeQueryCallback> known = new FakeQueryCallback;
    client->geolocationRequest(QUrl("https://maps.example/z"), known.get());
    EXPECT_EQ(known->answers, std::vector<std::string>{("success " + position).toStdString()});
    EXPECT_EQ(shown.size(), 2) << "a granted host is not asked again";
}

TEST_F(BrowserClientTest, FocusMessagesShowTheKeyboardAndOtherMessagesGoToTheRouter)
{
    adopt();
    CefRefPtr<CefProcessMessage> focus = CefProcessMessage::Create("renderer.focused_node_changed");
    focus->GetArgumentList()->SetBool(0, true);
    EXPECT_TRUE(client->OnProcessMessageReceived(mBrowser.get(), PID_RENDERER, focus));
    EXPECT_TRUE(theCenterDisplay->isKeyboardVisible());
    EXPECT_TRUE(mView->hasKeyFocus());

    focus = CefProcessMessage::Create("renderer.focused_node_changed");
    focus->GetArgumentList()->SetBool(0, false);
    EXPECT_TRUE(client->OnProcessMessageReceived(mBrowser.get(), PID_RENDERER, focus));
    EXPECT_FALSE(theCenterDisplay->isKeyboardVisible());
    EXPECT_FALSE(mView->hasKeyFocus());
    EXPECT_EQ(mBrowser->host->focuses, std::vector<bool>{false}) << "the page loses focus with the view";

    EXPECT_FALSE(client->OnProcessMessageReceived(mBrowser.get(), PID_RENDERER,
                                                  CefProcessMessage::Create("something.else")));
}
