// Keys, mouse and focus sent to the page.
#include "browser_impl.h"

#include <algorithm>
#include <cstdlib>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

// ---------------------------------------------------------------------------------------
// Input

void BrowserImpl::SendKeyEvent(const CefKeyEvent& event) {
  // The keyboard handler sees each event first and may keep it from the page.
  if (client_ && Engine::Get() && Engine::Get()->OnUiThread()) {
    if (CefRefPtr<CefKeyboardHandler> h = client_->GetKeyboardHandler()) {
      bool shortcut = false;
      if (h->OnPreKeyEvent(this, event, nullptr, &shortcut)) return;
    }
  }
  char16_t ch = event.character;
  bool shift = (event.modifiers & EVENTFLAG_SHIFT_DOWN) != 0;
  // A character outside the BMP arrives as two strokes, one per surrogate; Chromium needs
  // it as one, so the high half waits for the low half.
  if (ch >= 0xD800 && ch < 0xDC00) {
    high_surrogate_ = ch;
    return;
  }
  std::u16string text;
  if (ch >= 0xDC00 && ch < 0xE000) {
    if (!high_surrogate_) return;
    text = std::u16string{high_surrogate_, ch};
    if (event.type == KEYEVENT_KEYUP) high_surrogate_ = 0;
  } else if (ch) {
    text = std::u16string(1, ch);
  }
  std::string utf8 = CefString(text).ToString();
  DomKey dk = DomKeyFor(event.windows_key_code, shift, text.size() == 1 ? ch : 0);
  if (text.size() == 2) dk.key = utf8;
  Json p = Json::object();
  const char* type = "rawKeyDown";
  switch (event.type) {
    case KEYEVENT_RAWKEYDOWN: type = "rawKeyDown"; break;
    case KEYEVENT_KEYDOWN: type = "keyDown"; break;
    case KEYEVENT_KEYUP: type = "keyUp"; break;
    case KEYEVENT_CHAR: type = "char"; break;
  }
  p.set("type", type);
  p.set("modifiers", DevToolsModifiers(event.modifiers));
  p.set("windowsVirtualKeyCode", event.windows_key_code);
  p.set("nativeVirtualKeyCode", event.native_key_code);
  p.set("key", dk.key);
  p.set("code", dk.code);
  if (event.modifiers & EVENTFLAG_IS_KEY_PAD) p.set("location", 3);
  else if (event.modifiers & EVENTFLAG_IS_LEFT) p.set("location", 1);
  else if (event.modifiers & EVENTFLAG_IS_RIGHT) p.set("location", 2);
  if (event.type == KEYEVENT_CHAR || (event.type == KEYEVENT_KEYDOWN && !utf8.empty())) {
    p.set("text", utf8);
    std::string unmod = event.unmodified_character && text.size() == 1
                            ? CefString(std::u16string(1, event.unmodified_character)).ToString()
                            : utf8;
    p.set("unmodifiedText", unmod);
  }
  if (event.is_system_key) p.set("isSystemKey", true);
  Cmd("Input.dispatchKeyEvent", std::move(p));
}

namespace {
Json MouseParams(const char* type, const CefMouseEvent& e) {
  Json p = Json::object();
  p.set("type", type);
  p.set("x", e.x);
  p.set("y", e.y);
  p.set("modifiers", DevToolsModifiers(e.modifiers));
  int buttons = 0;
  if (e.modifiers & EVENTFLAG_LEFT_MOUSE_BUTTON) buttons |= 1;
  if (e.modifiers & EVENTFLAG_RIGHT_MOUSE_BUTTON) buttons |= 2;
  if (e.modifiers & EVENTFLAG_MIDDLE_MOUSE_BUTTON) buttons |= 4;
  p.set("buttons", buttons);
  return p;
}
}  // namespace

void BrowserImpl::SendMouseClickEvent(const CefMouseEvent& event, MouseButtonType type,
                                      bool mouseUp, int clickCount) {
  Json p = MouseParams(mouseUp ? "mouseReleased" : "mousePressed", event);
  static const char* kNames[] = {"left", "middle", "right"};
  static const int kBits[] = {1, 4, 2};
  int t = type >= MBT_LEFT && type <= MBT_RIGHT ? type : MBT_LEFT;
  p.set("button", kNames[t]);
  int buttons = static_cast<int>(p["buttons"].integer());
  p.set("buttons", mouseUp ? (buttons & ~kBits[t]) : (buttons | kBits[t]));
  p.set("clickCount", clickCount);
  Cmd("Input.dispatchMouseEvent", std::move(p));
}

void BrowserImpl::SendMouseMoveEvent(const CefMouseEvent& event, bool mouseLeave) {
  CefMouseEvent e = event;
  if (mouseLeave) {
    e.x = -1;
    e.y = -1;
  }
  Json p = MouseParams("mouseMoved", e);
  int buttons = static_cast<int>(p["buttons"].integer());
  p.set("button", buttons & 1 ? "left" : buttons & 2 ? "right" : buttons & 4 ? "middle" : "none");
  Cmd("Input.dispatchMouseEvent", std::move(p));
}

void BrowserImpl::SendMouseWheelEvent(const CefMouseEvent& event, int deltaX, int deltaY) {
  if (!deltaX && !deltaY) return;
  Json p = MouseParams("mouseWheel", event);
  // Positive deltas scroll up and left here, down and right in Chromium's protocol.
  p.set("deltaX", -deltaX);
  p.set("deltaY", -deltaY);
  Cmd("Input.dispatchMouseEvent", std::move(p));
}

void BrowserImpl::SendFocusEvent(bool setFocus) {
  if (setFocus) Cmd("Emulation.setFocusEmulationEnabled", Json::object().set("enabled", true));
  EvaluateInDocuments(std::string("window.__vexorEngineFocus&&window.__vexorEngineFocus(") +
                      (setFocus ? "true" : "false") + ")");
}

}  // namespace vexorcef
