#include <cstdio>

#include "engine.h"
#include "include/internal/cef_types.h"

namespace vexorcef {

namespace {

std::string Utf8(char16_t c) {
  std::u16string s(1, c);
  return CefString(s).ToString();
}

}  // namespace

DomKey DomKeyFor(int vk, bool shift, char16_t character) {
  DomKey k;
  static const char kShiftedDigits[] = ")!@#$%^&*(";
  char buf[16];
  if (vk >= '0' && vk <= '9') {
    k.key = shift ? std::string(1, kShiftedDigits[vk - '0']) : std::string(1, static_cast<char>(vk));
    std::snprintf(buf, sizeof buf, "Digit%c", vk);
    k.code = buf;
  } else if (vk >= 'A' && vk <= 'Z') {
    k.key = std::string(1, static_cast<char>(shift ? vk : vk - 'A' + 'a'));
    std::snprintf(buf, sizeof buf, "Key%c", vk);
    k.code = buf;
  } else if (vk >= 0x60 && vk <= 0x69) {
    k.key = std::string(1, static_cast<char>('0' + vk - 0x60));
    std::snprintf(buf, sizeof buf, "Numpad%d", vk - 0x60);
    k.code = buf;
  } else if (vk >= 0x70 && vk <= 0x87) {
    std::snprintf(buf, sizeof buf, "F%d", vk - 0x70 + 1);
    k.key = k.code = buf;
  } else {
    struct Entry {
      int vk;
      const char* key;
      const char* shifted;
      const char* code;
    };
    static const Entry kTable[] = {
        {0x08, "Backspace", nullptr, "Backspace"}, {0x09, "Tab", nullptr, "Tab"},
        {0x0C, "Clear", nullptr, "NumpadEqual"}, {0x0D, "Enter", nullptr, "Enter"},
        {0x10, "Shift", nullptr, "ShiftLeft"}, {0x11, "Control", nullptr, "ControlLeft"},
        {0x12, "Alt", nullptr, "AltLeft"}, {0x13, "Pause", nullptr, "Pause"},
        {0x14, "CapsLock", nullptr, "CapsLock"}, {0x15, "KanaMode", nullptr, "KanaMode"},
        {0x19, "KanjiMode", nullptr, "Lang2"}, {0x1B, "Escape", nullptr, "Escape"},
        {0x20, " ", nullptr, "Space"}, {0x21, "PageUp", nullptr, "PageUp"},
        {0x22, "PageDown", nullptr, "PageDown"}, {0x23, "End", nullptr, "End"},
        {0x24, "Home", nullptr, "Home"}, {0x25, "ArrowLeft", nullptr, "ArrowLeft"},
        {0x26, "ArrowUp", nullptr, "ArrowUp"}, {0x27, "ArrowRight", nullptr, "ArrowRight"},
        {0x28, "ArrowDown", nullptr, "ArrowDown"}, {0x2C, "PrintScreen", nullptr, "PrintScreen"},
        {0x2D, "Insert", nullptr, "Insert"}, {0x2E, "Delete", nullptr, "Delete"},
        {0x5B, "Meta", nullptr, "MetaLeft"}, {0x5C, "Meta", nullptr, "MetaRight"},
        {0x5D, "ContextMenu", nullptr, "ContextMenu"},
        {0x6A, "*", nullptr, "NumpadMultiply"}, {0x6B, "+", nullptr, "NumpadAdd"},
        {0x6D, "-", nullptr, "NumpadSubtract"}, {0x6E, ".", nullptr, "NumpadDecimal"},
        {0x6F, "/", nullptr, "NumpadDivide"}, {0x90, "NumLock", nullptr, "NumLock"},
        {0x91, "ScrollLock", nullptr, "ScrollLock"},
        {0xBA, ";", ":", "Semicolon"}, {0xBB, "=", "+", "Equal"}, {0xBC, ",", "<", "Comma"},
        {0xBD, "-", "_", "Minus"}, {0xBE, ".", ">", "Period"}, {0xBF, "/", "?", "Slash"},
        {0xC0, "`", "~", "Backquote"}, {0xDB, "[", "{", "BracketLeft"},
        {0xDC, "\\", "|", "Backslash"}, {0xDD, "]", "}", "BracketRight"},
        {0xDE, "'", "\"", "Quote"},
    };
    k.key = "Unidentified";
    for (const Entry& e : kTable) {
      if (e.vk == vk) {
        k.key = shift && e.shifted ? e.shifted : e.key;
        k.code = e.code;
        break;
      }
    }
  }
  // The character typed names the key better than the layout guess (accents, other
  // layouts), except for control characters, whose keys have names.
  bool named = vk == 0x08 || vk == 0x09 || vk == 0x0D || vk == 0x1B;
  if (!named && character >= 0x20 && character != 0x7F &&
      !(character >= 0xD800 && character < 0xE000))
    k.key = Utf8(character);
  return k;
}

int DevToolsModifiers(uint32_t flags) {
  int m = 0;
  if (flags & EVENTFLAG_ALT_DOWN) m |= 1;
  if (flags & EVENTFLAG_CONTROL_DOWN) m |= 2;
  if (flags & EVENTFLAG_COMMAND_DOWN) m |= 4;
  if (flags & EVENTFLAG_SHIFT_DOWN) m |= 8;
  return m;
}

}  // namespace vexorcef
