#pragma once

#include "diag/DiagExport.h"

#include "include/internal/cef_string.h"
#include "include/internal/cef_types.h"

#include <QString>
#include <QUrl>
#include <string>

// Conversions between the toolkit's and the engine's types, and log text that hides what can
// identify the driver. Stateless; safe on any thread.
class DIAG_EXPORT ChromiumUtils {
public:
    static QString toQString(const CefString& string);
    static QUrl toQUrl(const CefString& string);
    // The engine builds its string from the wide form.
    static std::wstring toCefString(const QString& string);
    static std::wstring toCefString(const QUrl& url);

    static QString terminationStatusToString(cef_termination_status_t status);
    static uint32 modifiersForKeyEvent(Qt::KeyboardModifiers modifiers);

    // "label value", or "label --" unless this car may log private data.
    static QString privacyLog(const QString& label, const QString& value);
    static QString privacyLog(const QString& label, const CefString& value);
};
