#include "gui/cef/WebKitUtils.h"

int WebKitUtils::windowsKeyCode(Qt::Key key)
{
    if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z))
        return int(key);

    switch (key) {
    case Qt::Key_Space: return 32;
    case Qt::Key_ParenRight: return 48;
    case Qt::Key_Exclam: return 49;
    case Qt::Key_At: return 50;
    case Qt::Key_NumberSign: return 51;
    case Qt::Key_Dollar: return 52;
    case Qt::Key_Percent: return 53;
    case Qt::Key_AsciiCircum: return 54;
    case Qt::Key_Ampersand: return 55;
    case Qt::Key_Asterisk: return 56;
    case Qt::Key_ParenLeft: return 57;
    case Qt::Key_Semicolon:
    case Qt::Key_Colon: return 186;
    case Qt::Key_Equal:
    case Qt::Key_Plus: return 187;
    case Qt::Key_Comma:
    case Qt::Key_Less: return 188;
    case Qt::Key_Minus:
    case Qt::Key_Underscore: return 189;
    case Qt::Key_Period:
    case Qt::Key_Greater: return 190;
    case Qt::Key_Slash:
    case Qt::Key_Question: return 191;
    case Qt::Key_QuoteLeft:
    case Qt::Key_AsciiTilde: return 192;
    case Qt::Key_BracketLeft:
    case Qt::Key_BraceLeft: return 219;
    case Qt::Key_Backslash:
    case Qt::Key_Bar: return 220;
    case Qt::Key_BracketRight:
    case Qt::Key_BraceRight: return 221;
    case Qt::Key_Apostrophe:
    case Qt::Key_QuoteDbl: return 222;
    case Qt::Key_Escape: return 27;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: return 9;
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Return:
    case Qt::Key_Enter: return 13;
    case Qt::Key_Clear: return 12;
    case Qt::Key_Home: return 36;
    case Qt::Key_End: return 35;
    case Qt::Key_Left: return 37;
    case Qt::Key_Up: return 38;
    case Qt::Key_Right: return 39;
    case Qt::Key_Down: return 40;
    case Qt::Key_PageUp: return 33;
    case Qt::Key_PageDown: return 34;
    case Qt::Key_Shift: return 16;
    case Qt::Key_Control: return 17;
    case Qt::Key_Alt: return 18;
    case Qt::Key_CapsLock: return 20;
    case Qt::Key_Kanji:
    case Qt::Key_Hangul_Hanja: return 25;
    case Qt::Key_Kana_Lock:
    case Qt::Key_Kana_Shift:
    case Qt::Key_Hangul: return 21;
    default: return 0;
    }
}
