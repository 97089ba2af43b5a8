#pragma once

#include "OrvaneExport.h"

#include <QString>

class QKeyEvent;

// What the car's keyboard sends for one key: the toolkit's key code and the text. Characters
// the toolkit has no key for go as key 0 with their text.
struct ORVANE_EXPORT KeyStroke {
    int key = 0;
    QString text;

    // A character key: letters by their upper-case key, whatever the case of the text.
    static KeyStroke forCharacter(QChar character);
    // Backspace, Return and Tab with the control character a keyboard gives them.
    static KeyStroke forControl(int key);

    // The press and the release, to the view with key focus.
    void deliver() const;
};
