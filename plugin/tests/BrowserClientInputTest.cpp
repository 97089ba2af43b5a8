#include "BrowserClientFixture.h"

#include "diag/DiagConfig.h"
#include "include/cef_process_message.h"
#include "include/cef_values.h"

#include <QKeyEvent>
#include <QKeySequence>
#include <QSignalSpy>

namespace {

struct Stroke {
    int type;
    int windowsKey;
    int nativeKey;
    int character;
};

QVector<Stroke> strokes(const QVector<CefKeyEvent>& events)
{
    QVector<Stroke> out;
    for (const CefKeyEvent& e : events)
        out << Stroke{int(e.type), e.windows_key_code, e.native_key_code, int(e.character)};
    return out;
}

void expectTriples(const QVector<CefKeyEvent>& events, int windowsKey, int nativeKey, const QVector<int>& characters)
{
    ASSERT_EQ(events.size(), 3 * characters.size());
    const QVector<Stroke> got = strokes(events);
    for (int i = 0; i < got.size(); ++i) {
        const int expectedType = (i % 3 == 0) ? KEYEVENT_RAWKEYDOWN : (i % 3 == 1) ? KEYEVENT_CHAR : KEYEVENT_KEYUP;
        EXPECT_EQ(got[i].type, expectedType) << i;
        EXPECT_EQ(got[i].windowsKey, windowsKey) << i;
        EXPECT_EQ(got[i].nativeKey, nativeKey) << i;
        EXPECT_EQ(got[i].character, characters[i / 3]) << i;
        EXPECT_EQ(int(events[i].unmodified_character), characters[i / 3]) << i;
    }
}

} // namespace

TEST_F(BrowserClientTest, KeyStrokesBecomePressCharReleaseTriples)
{
    adopt();
    auto& keys = mBrowser->host->keys;

    QKeyEvent accent(QEvent::KeyPress, 0, Qt::NoModifier, QStringLiteral("\u00e9"));
    mView->keyEvent(&accent);
    expectTriples(keys, 0, QKeySequence(QStringLiteral("\u00e9"))[0], {0xE9});

    keys.clear();
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"));
    client->sendKeyEvent(&enter);
    expectTriples(keys, 13, Qt::Key_Return, {13});

    keys.clear();
    QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
    client->sendKeyEvent(&tab);
    expectTriples(keys, 9, Qt::Key_Tab, {9});

    keys.clear();
    QKeyEvent at(QEvent::KeyPress, Qt::Key_At, Qt::ShiftModifier, QStringLiteral("@"));
    client->sendKeyEvent(&at);
    expectTriples(keys, 50, Qt::Key_At, {'@'});
    EXPECT_EQ(keys[0].modifiers, uint32(EVENTFLAG_SHIFT_DOWN));

    keys.clear();
    QKeyEvent word(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("abc"));
    client->sendKeyEvent(&word);
    expectTriples(keys, 65, Qt::Key_A, {'a', 'b', 'c'});

    keys.clear();
    QKeyEvent backspace(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    client->sendKeyEvent(&backspace);
    expectTriples(keys, 8, Qt::Key_Backspace, {8});
}

TEST_F(BrowserClientTest, ANullKeyEventAssertsAndSendsNothing)
{
    adopt();
    client->sendKeyEvent(nullptr);
    EXPECT_TRUE(mBrowser->host->keys.isEmpty());
    EXPECT_EQ(mLog.lines().filter("(ChromiumClient:220)").size(), 1) << mLog.lines().join("\n").toStdString();
}

TEST_F(BrowserClientTest, MouseEventsAreLeftClicksThatNeverDoubleClick)
{
    client->sendMouseDown(1, 2); // no browser yet: nothing to send, nothing to fail
    client->sendMouseWheel(0, 5, 1, 2);
    adopt();
    auto& mouse = mBrowser->host->mouse;
    EXPECT_TRUE(mouse.isEmpty());

    client->sendMouseWheel(0, 0, 3, 4);
    EXPECT_TRUE(mouse.isEmpty());
    client->sendMouseDown(10, 20);
    client->sendMouseUp(10, 20);
    client->sendMouseMove(11, 21);
    client->sendMouseWheel(0, -40, 11, 21);
    const QVector<FakeHost::Mouse> expected{
        {"down", 10, 20, MBT_LEFT, 1}, {"up", 10, 20, MBT_LEFT, 0}, {"move", 11, 21, 0, 0}, {"wheel", 11, 21, 0, -40}};
    EXPECT_EQ(mouse, expected);
}

TEST_F(BrowserClientTest, ATapIsOneClickAtItsPointAndADragOnlyScrolls)
{
    adopt();
    auto& mouse = mBrowser->host->mouse;
    // Through the display, as a finger arrives: a wobble of a few pixels is still a tap.
    mDisplay.touch(int(TouchEvent::Kind::Press), QPoint(120, 120));
    mDisplay.touch(int(TouchEvent::Kind::Move), QPoint(122, 121));
    mDisplay.touch(int(TouchEvent::Kind::Release), QPoint(122, 121));
    const QVector<FakeHost::Mouse> click{
        {"move", 120, 120, 0, 0}, {"down", 120, 120, MBT_LEFT, 1}, {"up", 120, 120, MBT_LEFT, 0}};
    EXPECT_EQ(mouse, click);
    EXPECT_EQ(mBrowser->host->focuses, QVector<bool>{true});

    mouse.clear();
    mDisplay.touch(int(TouchEvent::Kind::Press), QPoint(200, 300));
    mDisplay.touch(int(TouchEvent::Kind::Move), QPoint(200, 250));
    mDisplay.touch(int(TouchEvent::Kind::Move), QPoint(200, 200));
    mDisplay.touch(int(TouchEvent::Kind::Release), QPoint(200, 200));
    ASSERT_EQ(mouse.size(), 2);
    for (const FakeHost::Mouse& m : mouse)
        EXPECT_EQ(m.kind, "wheel");
    EXPECT_EQ(mouse[0].b + mouse[1].b, -100) << "the page follows the finger";
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
    EXPECT_EQ(first->answers, QStringList{"ok Ada"});
    EXPECT_EQ(dismissed.size(), 1);

    EXPECT_TRUE(client->OnBeforeUnloadDialog(mBrowser.get(), "Leave?", false, second.get()));
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown.at(1).at(1).value<WebKitView::DialogType>(), WebKitView::Confirm);
    EXPECT_EQ(shown.at(1).at(2).toString(), "");
    // A navigation or close resets the dialog without answering it.
    client->OnResetDialogState(mBrowser.get());
    EXPECT_TRUE(second->answers.isEmpty());
    EXPECT_EQ(dismissed.size(), 2);
    mView->javaScriptPopupResult(false, QString());
    EXPECT_TRUE(second->answers.isEmpty());
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
    EXPECT_EQ(denied->answers, QStringList{"failure 0 denied"});
    EXPECT_TRUE(ignored->answers.isEmpty());

    CefRefPtr<FakeQueryCallback> granted = new FakeQueryCallback;
    client->geolocationRequest(QUrl("https://maps.example/y"), granted.get());
    EXPECT_EQ(shown.size(), 2) << "a denied host is asked again";
    mView->javaScriptPopupResult(true, QString());
    const QString position = QStringLiteral(
        "{ \"coords\": { \"latitude\": 37.7749, \"longitude\": -122.419, \"accuracy\": 12.5 }, \"timestamp\": 1.7e+12 }");
    EXPECT_EQ(granted->answers, QStringList{"success " + position});

    CefRefPtr<FakeQueryCallback> known = new FakeQueryCallback;
    client->geolocationRequest(QUrl("https://maps.example/z"), known.get());
    EXPECT_EQ(known->answers, QStringList{"success " + position});
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
    EXPECT_EQ(mBrowser->host->focuses, QVector<bool>{false}) << "the page loses focus with the view";

    EXPECT_FALSE(client->OnProcessMessageReceived(mBrowser.get(), PID_RENDERER,
                                                  CefProcessMessage::Create("something.else")));
}
