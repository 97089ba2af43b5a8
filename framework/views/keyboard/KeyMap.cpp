#include "views/keyboard/KeyMap.h"

#include "views/ViewHost.h"

#include <QKeyEvent>

KeyStroke KeyStroke::forCharacter(QChar character)
{
    const ushort code = character.unicode();
    // The toolkit's keys cover printable Latin-1; a letter's key is that of its capital,
    // unless the capital lies outside Latin-1 (y with diaeresis has a key of its own).
    if ((code >= 0x20 && code <= 0x7e) || (code >= 0xa0 && code <= 0xff)) {
        const ushort upper = character.toUpper().unicode();
        return {upper <= 0xff ? upper : code, QString(character)};
    }
    return {0, QString(character)};
}

KeyStroke KeyStroke::forControl(int key)
{
    switch (key) {
    case Qt::Key_Backspace:
        return {key, QStringLiteral("\b")};
    case Qt::Key_Return:
        return {key, QStringLiteral("\r")};
    case Qt::Key_Tab:
        return {key, QStringLiteral("\t")};
    default:
        return {key, QString()};
    }
}

void KeyStroke::deliver() const
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    ViewHost::key(&press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    ViewHost::key(&release);
}
