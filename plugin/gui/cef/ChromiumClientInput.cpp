// Input from the touch screen and the on-screen keyboard, as the engine's synthetic events.
#include "gui/cef/ChromiumClient.h"

#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumUtils.h"
#include "gui/cef/WebKitUtils.h"

#include "include/cef_browser.h"
#include "include/wrapper/cef_helpers.h"

#include <QKeyEvent>
#include <QKeySequence>

void ChromiumClient::sendKeyEvent(QKeyEvent* event)
{
    if (!event) {
        Logger::logAssert("false", QString(), "ChromiumClient", 220);
        return;
    }
    CefKeyEvent record;
    const QString text = event->text();
    const int key = event->key();

    int nativeKey = key;
    // Characters the toolkit has no key for arrive as key 0 with their text.
    if (key == 0) {
        const QKeySequence sequence(text);
        if (sequence.count() == 1)
            nativeKey = sequence[0];
    }
    record.native_key_code = nativeKey;
    record.windows_key_code = WebKitUtils::windowsKeyCode(Qt::Key(nativeKey));

    char16 character = text.isEmpty() ? 0 : char16(text.at(0).unicode());
    if (key == Qt::Key_Tab || key == Qt::Key_Backtab)
        character = 9;
    else if (key == Qt::Key_Return || key == Qt::Key_Enter)
        character = 13;
    record.character = character;
    record.unmodified_character = character;
    record.modifiers = ChromiumUtils::modifiersForKeyEvent(event->modifiers());
    sendPressAndRelease(record);

    // One stroke per character of a multi-character event.
    for (int i = 1; i < text.length(); ++i) {
        record.character = char16(text.at(i).unicode());
        record.unmodified_character = record.character;
        sendPressAndRelease(record);
    }

    if (DebugChromium.value())
        Logger(this, "INFO") << "void ChromiumClient::sendKeyEvent(QKeyEvent*)"
                             << "key text" << text << "windows_key_code" << record.windows_key_code
                             << "native key code" << record.native_key_code << "char" << unsigned(record.character)
                             << "unmodifier char" << unsigned(record.unmodified_character) << "modifiers"
                             << record.modifiers;
}

void ChromiumClient::sendPressAndRelease(CefKeyEvent& event)
{
    CefRefPtr<CefBrowserHost> host = mBrowser->GetHost();
    event.type = KEYEVENT_RAWKEYDOWN;
    host->SendKeyEvent(event);
    event.type = KEYEVENT_CHAR;
    host->SendKeyEvent(event);
    event.type = KEYEVENT_KEYUP;
    host->SendKeyEvent(event);
}

void ChromiumClient::sendMouseMove(int x, int y)
{
    if (!mBrowser)
        return;
    CefMouseEvent event;
    event.x = x;
    event.y = y;
    mBrowser->GetHost()->SendMouseMoveEvent(event, false);
}

void ChromiumClient::sendMouseDown(int x, int y)
{
    if (!mBrowser)
        return;
    CefMouseEvent event;
    event.x = x;
    event.y = y;
    mBrowser->GetHost()->SendMouseClickEvent(event, MBT_LEFT, false, 1);
}

void ChromiumClient::sendMouseUp(int x, int y)
{
    if (!mBrowser)
        return;
    CefMouseEvent event;
    event.x = x;
    event.y = y;
    // A count of 0 on release: touches never make double clicks.
    mBrowser->GetHost()->SendMouseClickEvent(event, MBT_LEFT, true, 0);
}

void ChromiumClient::sendMouseWheel(int deltaX, int deltaY, int x, int y)
{
    if (!mBrowser || (deltaX == 0 && deltaY == 0))
        return;
    CefMouseEvent event;
    event.x = x;
    event.y = y;
    mBrowser->GetHost()->SendMouseWheelEvent(event, deltaX, deltaY);
}

void ChromiumClient::sendFocusEvent(bool focused)
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "void ChromiumClient::sendFocusEvent(bool)" << focused;
    if (!mBrowser)
        return;
    if (CefRefPtr<CefBrowserHost> host = mBrowser->GetHost())
        host->SendFocusEvent(focused);
}

bool ChromiumClient::OnPreKeyEvent(CefRefPtr<CefBrowser> browser, const CefKeyEvent& event, CefEventHandle osEvent,
                                   bool* isKeyboardShortcut)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser, (void)event, (void)osEvent, (void)isKeyboardShortcut;
    // The page always sees a key first.
    return false;
}
