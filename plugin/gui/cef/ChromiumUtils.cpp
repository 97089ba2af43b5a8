#include "gui/cef/ChromiumUtils.h"

#include "core/DataValues.h"

namespace {

bool readFlag(const BoolDataValue& value)
{
    DataValue::ConditionalLocker locker(value);
    return value.value();
}

} // namespace

QString ChromiumUtils::toQString(const CefString& string)
{
    if (string.empty())
        return QString();
    cef_string_wide_t wide = {};
    cef_string_utf16_to_wide(string.c_str(), string.length(), &wide);
    const std::wstring copy(wide.str, wide.length);
    cef_string_wide_clear(&wide);
    return QString::fromWCharArray(copy.data(), int(copy.size()));
}

QUrl ChromiumUtils::toQUrl(const CefString& string)
{
    return QUrl(toQString(string));
}

std::wstring ChromiumUtils::toCefString(const QString& string)
{
    std::wstring wide;
    wide.resize(size_t(string.length()));
    // Surrogate pairs become one wide unit, so fewer units than QChars may be written.
    wide.resize(size_t(string.toWCharArray(wide.data())));
    return wide;
}

std::wstring ChromiumUtils::toCefString(const QUrl& url)
{
    return toCefString(url.toString());
}

QString ChromiumUtils::terminationStatusToString(cef_termination_status_t status)
{
    switch (int(status)) {
    case TS_ABNORMAL_TERMINATION:
        return QStringLiteral("abnormal termination");
    case TS_PROCESS_WAS_KILLED:
        return QStringLiteral("process killed");
    case TS_PROCESS_CRASHED:
        // Whatever the signal: the crash reports downstream match on this word.
        return QStringLiteral("segfault");
    case TS_PROCESS_OOM:
        return QStringLiteral("out of memory");
    default:
        return QStringLiteral("unknown");
    }
}

uint32 ChromiumUtils::modifiersForKeyEvent(Qt::KeyboardModifiers modifiers)
{
    uint32 flags = EVENTFLAG_NONE;
    if (modifiers & Qt::ShiftModifier)
        flags |= EVENTFLAG_SHIFT_DOWN;
    if (modifiers & Qt::ControlModifier)
        flags |= EVENTFLAG_CONTROL_DOWN;
    if (modifiers & Qt::AltModifier)
        flags |= EVENTFLAG_ALT_DOWN;
    if (modifiers & Qt::MetaModifier)
        flags |= EVENTFLAG_COMMAND_DOWN;
    return flags;
}

QString ChromiumUtils::privacyLog(const QString& label, const QString& value)
{
    const bool show = readFlag(GUI_logPrivateData) || readFlag(GUI_isDevelopmentCar);
    // Both at once: a "%2" inside the label must not take the value.
    return QStringLiteral("%1 %2").arg(label, show ? value : QStringLiteral("--"));
}

QString ChromiumUtils::privacyLog(const QString& label, const CefString& value)
{
    return privacyLog(label, toQString(value));
}
