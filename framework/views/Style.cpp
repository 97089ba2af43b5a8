#include "views/Style.h"

#include "core/Logger.h"

#include <QHash>
#include <QMutex>
#include <QSet>
#include <QStringList>

namespace {

const QHash<QString, QString>& baseStyles()
{
    static const QHash<QString, QString> styles{
        {QStringLiteral("SettingsPushButton"), QStringLiteral("ButtonType:medium; ButtonColor:default; Width:250")},
        {QStringLiteral("SettingsToggleButton"), QStringLiteral("ButtonType:toggle; ButtonColor:default; Width:180")},
        // The face of a drop-down picker that shows its choice as a button.
        {QStringLiteral("SettingsDropDownButton"), QStringLiteral("ButtonType:medium; ButtonColor:default; Width:300")},
        {QStringLiteral("TabButton"), QStringLiteral("ButtonType:tab; ButtonColor:default; Width:160")},
        {QStringLiteral("SettingsMainLayout"), QStringLiteral("Direction:vertical; Spacing:18; LayoutMargin:30,30,30,30")},
        {QStringLiteral("SettingsHorizontalLayout"), QStringLiteral("Direction:horizontal; Spacing:20")},
        {QStringLiteral("Settings2ColLayout"), QStringLiteral("Direction:grid; Widths:300,900; RowHeight:70; Spacing:10")},
        {QStringLiteral("Settings2ColLayoutTall"), QStringLiteral("Direction:grid; Widths:300,900; RowHeight:100; Spacing:16")},
        {QStringLiteral("SettingsMainLabel"), QStringLiteral("FontSize:32; Bold:true; TextColor:#ffffff")},
        // The label of a control's row: between a section head and a caption.
        {QStringLiteral("SettingsRowLabel"), QStringLiteral("FontSize:24; TextColor:#e8eaed")},
        {QStringLiteral("SettingsSubLabel"), QStringLiteral("FontSize:20; TextColor:#a9b0b8")},
        {QStringLiteral("SettingsSlideSwitch"),
         QStringLiteral("PositionWidth:150; Height:60; FontSize:22; TextColor:#ffffff; ShadowColor:#000000")},
        {QStringLiteral("SettingsLargeSlideSwitch"),
         QStringLiteral("PositionWidth:210; Height:80; FontSize:28; TextColor:#ffffff; ShadowColor:#000000")},
    };
    return styles;
}

enum class Form { Size, Sizes, Padding, Bool, Color, Choice };

struct Rule {
    Form form;
    QStringList choices;
};

const QHash<QString, Rule>& rules()
{
    static const QHash<QString, Rule> table{
        {QStringLiteral("buttontype"),
         {Form::Choice, {"small", "medium", "large", "round", "toggle", "roundtoggle", "tab"}}},
        {QStringLiteral("buttoncolor"), {Form::Choice, {"default", "blue", "red", "green", "warning"}}},
        {QStringLiteral("direction"), {Form::Choice, {"vertical", "horizontal", "grid"}}},
        {QStringLiteral("width"), {Form::Size, {}}},
        {QStringLiteral("height"), {Form::Size, {}}},
        {QStringLiteral("spacing"), {Form::Size, {}}},
        {QStringLiteral("flowwidth"), {Form::Size, {}}},
        {QStringLiteral("rowheight"), {Form::Size, {}}},
        {QStringLiteral("positionwidth"), {Form::Size, {}}},
        {QStringLiteral("fontsize"), {Form::Size, {}}},
        {QStringLiteral("widths"), {Form::Sizes, {}}},
        {QStringLiteral("layoutmargin"), {Form::Padding, {}}},
        {QStringLiteral("bold"), {Form::Bool, {}}},
        {QStringLiteral("textcolor"), {Form::Color, {}}},
        {QStringLiteral("shadowcolor"), {Form::Color, {}}},
    };
    return table;
}

bool parseSize(const QString& text, int* out)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    if (!ok || value < 0)
        return false;
    *out = value;
    return true;
}

bool parseSizes(const QString& text, QList<int>* out)
{
    QList<int> values;
    for (const QString& item : text.split(QLatin1Char(','))) {
        int value = 0;
        if (!parseSize(item, &value))
            return false;
        values.append(value);
    }
    *out = values;
    return true;
}

bool parseBool(const QString& text, bool* out)
{
    const QString t = text.toLower();
    if (t == QLatin1String("true") || t == QLatin1String("yes") || t == QLatin1String("1"))
        *out = true;
    else if (t == QLatin1String("false") || t == QLatin1String("no") || t == QLatin1String("0"))
        *out = false;
    else
        return false;
    return true;
}

// The value in its stored form, or an empty string with *problem set.
QString checked(const QString& key, const QString& value, QString* problem)
{
    const auto rule = rules().constFind(key.toLower());
    if (rule == rules().constEnd()) {
        *problem = QStringLiteral("unknown property %1").arg(key);
        return QString();
    }
    QList<int> sizes;
    int size = 0;
    bool flag = false;
    switch (rule->form) {
    case Form::Size:
        if (parseSize(value, &size))
            return value;
        *problem = QStringLiteral("%1 \"%2\" is not a size").arg(key, value);
        return QString();
    case Form::Sizes:
        if (parseSizes(value, &sizes))
            return value;
        *problem = QStringLiteral("%1 \"%2\" is not a list of sizes").arg(key, value);
        return QString();
    case Form::Padding:
        if (parseSizes(value, &sizes) && sizes.size() == 4)
            return value;
        *problem = QStringLiteral("%1 \"%2\" is not four sizes (left, top, right, bottom)").arg(key, value);
        return QString();
    case Form::Bool:
        if (parseBool(value, &flag))
            return value;
        *problem = QStringLiteral("%1 \"%2\" is not true or false").arg(key, value);
        return QString();
    case Form::Color:
        if (QColor::isValidColor(value))
            return value;
        *problem = QStringLiteral("%1 \"%2\" is not a colour").arg(key, value);
        return QString();
    case Form::Choice:
        if (rule->choices.contains(value.toLower()))
            return value.toLower();
        *problem = QStringLiteral("%1 \"%2\" is not one of %3").arg(key, value, rule->choices.join(QLatin1Char('|')));
        return QString();
    }
    return QString();
}

void parseInto(const QString& text, QString* name, QMap<QString, QString>* properties, QStringList* problems)
{
    for (const QString& rawPart : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString part = rawPart.trimmed();
        if (part.isEmpty())
            continue;
        const int colon = part.indexOf(QLatin1Char(':'));
        if (colon < 0) {
            if (name->isEmpty())
                *name = part;
            else
                problems->append(QStringLiteral("second style name %1 ignored").arg(part));
            continue;
        }
        const QString key = part.left(colon).trimmed();
        QString problem;
        const QString value = checked(key, part.mid(colon + 1).trimmed(), &problem);
        if (problem.isEmpty())
            properties->insert(key.toLower(), value);
        else
            problems->append(problem);
    }
}

// A style text is usually built again for every control that uses it; say what is wrong once.
bool firstComplaintAbout(const QString& text)
{
    static QMutex mutex;
    static QSet<QString> seen;
    QMutexLocker lock(&mutex);
    if (seen.contains(text))
        return false;
    seen.insert(text);
    return true;
}

} // namespace

Style::Style(const QString& text)
    : mText(text)
{
    QMap<QString, QString> own;
    QStringList problems;
    parseInto(text, &mName, &own, &problems);
    if (!mName.isEmpty()) {
        const auto base = baseStyles().constFind(mName);
        if (base == baseStyles().constEnd()) {
            problems.prepend(QStringLiteral("unknown style %1").arg(mName));
        } else {
            QString baseName;
            parseInto(*base, &baseName, &mProperties, &problems);
        }
    }
    for (auto it = own.cbegin(); it != own.cend(); ++it)
        mProperties.insert(it.key(), it.value());
    if (!problems.isEmpty() && firstComplaintAbout(text)) {
        for (const QString& problem : qAsConst(problems))
            Logger(nullptr, "WARN") << QStringLiteral("style \"%1\":").arg(text) << problem << "- the default applies";
    }
}

QString Style::property(const QString& key, const QString& fallback) const
{
    return mProperties.value(key.toLower(), fallback);
}

int Style::intProperty(const QString& key, int fallback) const
{
    int value = 0;
    return parseSize(property(key), &value) ? value : fallback;
}

bool Style::boolProperty(const QString& key, bool fallback) const
{
    bool value = false;
    return parseBool(property(key), &value) ? value : fallback;
}

QColor Style::colorProperty(const QString& key, const QColor& fallback) const
{
    const QColor color(property(key));
    return color.isValid() ? color : fallback;
}

QList<int> Style::intListProperty(const QString& key) const
{
    QList<int> values;
    if (has(key))
        parseSizes(property(key), &values);
    return values;
}

Padding Style::paddingProperty(const QString& key, const Padding& fallback) const
{
    const QList<int> v = intListProperty(key);
    return v.size() == 4 ? Padding{v[0], v[1], v[2], v[3]} : fallback;
}

QColor Style::buttonColor(const QString& name)
{
    const QString n = name.trimmed().toLower();
    if (n == QLatin1String("blue"))
        return QColor(0x1f, 0x6f, 0xd1);
    if (n == QLatin1String("red"))
        return QColor(0xc6, 0x28, 0x28);
    if (n == QLatin1String("green"))
        return QColor(0x2e, 0x7d, 0x32);
    if (n == QLatin1String("warning"))
        return QColor(0xe0, 0x8a, 0x00);
    return QColor(0x3a, 0x3f, 0x47);
}
