#pragma once

#include "diag/DiagExport.h"

#include <Qt>

// The engine wants Windows virtual-key codes. A US layout is assumed: a shifted symbol maps to
// the key that produces it.
class DIAG_EXPORT WebKitUtils {
public:
    // 0 for keys the car's keyboard never needs forwarded (Delete, function and media keys).
    static int windowsKeyCode(Qt::Key key);
};
