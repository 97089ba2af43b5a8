#include "views/keyboard/KeyboardView.h"

#include "views/ButtonView.h"
#include "views/CenterDisplay.h"
#include "views/ViewHost.h"
#include "views/keyboard/KeyMap.h"

#include <QJsonObject>
#include <QPainter>

namespace {

// Keys named in capitals act; any other key types its label.
const QString Backspace = QStringLiteral("BACKSPACE");
const QString Return = QStringLiteral("RETURN");
const QString Tab = QStringLiteral("TAB");
const QString Shift = QStringLiteral("SHIFT");
const QString Space = QStringLiteral("SPACE");
const QString Hide = QStringLiteral("HIDE");
const QString ToLetters = QStringLiteral("ABC");
const QString ToSymbols = QStringLiteral("?123");
const QString ToAccents = QString::fromUtf8("ÀÉ");

using Rows = QVector<QStringList>;

QStringList chars(const char* utf8)
{
    QStringList out;
    for (const QChar c : QString::fromUtf8(utf8))
        out << QString(c);
    return out;
}

const Rows& rowsOf(KeyboardView::Layer layer)
{
    static const Rows letters{
        chars("qwertyuiop") << Backspace,
        QStringList{Tab} << chars("asdfghjkl") << Return,
        QStringList{Shift} << chars("zxcvbnm,.-"),
        {ToSymbols, ToAccents, Space, Hide},
    };
    static const Rows symbols{
        chars("1234567890") << Backspace,
        QStringList{Tab} << chars("@#$%&*-+()") << Return,
        chars("!\"':;/?,._"),
        chars("=<>[]{}\\|~^`"),
        {ToLetters, ToAccents, Space, Hide},
    };
    // The last row reaches past what the toolkit has keys for.
    static const Rows accents{
        chars("àáâäãåæç") << Backspace,
        QStringList{Tab} << chars("èéêëìíîïñ") << Return,
        QStringList{Shift} << chars("òóôöõøœß"),
        chars("ùúûüýÿőűłčšž€"),
        {ToLetters, ToSymbols, Space, Hide},
    };
    return layer == KeyboardView::Letters ? letters : layer == KeyboardView::Symbols ? symbols : accents;
}

bool isCommand(const QString& name)
{
    return name.size() > 1;
}

// Widths in key units; a row is centred in the keyboard.
double units(const QString& name)
{
    if (name == Space)
        return 5;
    return isCommand(name) ? 1.5 : 1;
}

// A capital only where it is one character of its own (not sharp s).
QString shiftedLabel(const QString& name)
{
    const QString upper = name.toUpper();
    return upper.size() == 1 ? upper : name;
}

constexpr int Margin = 12;
constexpr int Gap = 8;
constexpr double RowUnits = 13;

} // namespace

KeyboardView::KeyboardView(DisplayView* parent)
    : DisplayView(parent)
{
    setObjectName(QStringLiteral("keyboard"));
    // Every layer's keys are made once: a key may switch layers from its own release.
    for (Layer layer : {Letters, Symbols, Accents}) {
        auto* keys = new DisplayView(this);
        keys->setAutoResizeToParent(true);
        for (const QStringList& row : rowsOf(layer)) {
            for (const QString& name : row) {
                auto* key = new ButtonView(keys, Style("SettingsPushButton"), name);
                key->setObjectName(name);
                connect(key, &ControlBase::released, this, [this, name] { pressed(name); });
            }
        }
        keys->show(layer == mLayer);
        mLayers.append(keys);
    }
    resize(1920, Height);
}

void KeyboardView::setLayer(Layer layer)
{
    if (layer == mLayer)
        return;
    setShifted(false);
    mLayers[mLayer]->hide();
    mLayer = layer;
    mLayers[mLayer]->show();
}

void KeyboardView::setShifted(bool on)
{
    if (on == mShifted)
        return;
    mShifted = on;
    for (DisplayView* view : mLayers[mLayer]->childViews()) {
        auto* key = static_cast<ButtonView*>(view);
        const QString name = key->objectName();
        if (name == Shift)
            key->setButtonColor(on ? QStringLiteral("blue") : QString());
        else if (!isCommand(name))
            key->setLabel(on ? shiftedLabel(name) : name);
    }
}

void KeyboardView::resized()
{
    DisplayView::resized();
    const double unit = (width() - 2 * Margin) / RowUnits;
    for (Layer layer : {Letters, Symbols, Accents}) {
        const Rows& rows = rowsOf(layer);
        const QVector<DisplayView*>& keys = mLayers[layer]->childViews();
        const int rowHeight = (height() - 2 * Margin) / rows.size();
        int k = 0;
        for (int r = 0; r < rows.size(); ++r) {
            double rowWidth = 0;
            for (const QString& name : rows[r])
                rowWidth += units(name) * unit;
            double x = (width() - rowWidth) / 2;
            for (const QString& name : rows[r]) {
                const double w = units(name) * unit;
                keys[k++]->setGeometry(
                    QRect(int(x) + Gap / 2, Margin + r * rowHeight + Gap / 2, int(w) - Gap, rowHeight - Gap));
                x += w;
            }
        }
    }
}

void KeyboardView::pressed(const QString& name)
{
    if (name == Backspace) {
        KeyStroke::forControl(Qt::Key_Backspace).deliver();
    } else if (name == Return) {
        KeyStroke::forControl(Qt::Key_Return).deliver();
    } else if (name == Tab) {
        KeyStroke::forControl(Qt::Key_Tab).deliver();
    } else if (name == Space) {
        KeyStroke::forCharacter(QLatin1Char(' ')).deliver();
    } else if (name == Shift) {
        setShifted(!mShifted);
    } else if (name == ToLetters) {
        setLayer(Letters);
    } else if (name == ToSymbols) {
        setLayer(Symbols);
    } else if (name == ToAccents) {
        setLayer(Accents);
    } else if (name == Hide) {
        ViewHost::setKeyFocus(nullptr);
        theCenterDisplay->setKeyboardVisible(false);
    } else {
        const QString text = mShifted ? shiftedLabel(name) : name;
        // Shift holds for one letter, as on a phone.
        if (mShifted)
            setShifted(false);
        KeyStroke::forCharacter(text.at(0)).deliver();
    }
}

bool KeyboardView::locate(QChar character, Layer* layer, bool* shifted) const
{
    if (character == QLatin1Char(' ')) {
        *layer = mLayer;
        *shifted = mShifted;
        return true;
    }
    for (Layer candidate : {Letters, Symbols, Accents}) {
        for (const QStringList& row : rowsOf(candidate)) {
            for (const QString& name : row) {
                if (isCommand(name))
                    continue;
                if (name.at(0) == character || (shiftedLabel(name) != name && shiftedLabel(name).at(0) == character)) {
                    *layer = candidate;
                    *shifted = name.at(0) != character;
                    return true;
                }
            }
        }
    }
    return false;
}

ButtonView* KeyboardView::shownKey(const QString& label) const
{
    for (DisplayView* key : mLayers[mLayer]->childViews()) {
        if (static_cast<ButtonView*>(key)->label() == label)
            return static_cast<ButtonView*>(key);
    }
    return nullptr;
}

ButtonView* KeyboardView::keyTowards(QChar character) const
{
    Layer layer;
    bool shifted;
    if (!locate(character, &layer, &shifted))
        return nullptr;
    if (layer != mLayer)
        return shownKey(layer == Letters ? ToLetters : layer == Symbols ? ToSymbols : ToAccents);
    if (shifted != mShifted)
        return shownKey(Shift);
    return shownKey(character == QLatin1Char(' ') ? Space : QString(character));
}

void KeyboardView::draw(QPainter& painter)
{
    painter.fillRect(rect(), QColor(0x1a, 0x1d, 0x22));
}

void KeyboardView::dumpProperties(QJsonObject& out) const
{
    static const char* const names[] = {"letters", "symbols", "accents"};
    out.insert(QStringLiteral("layer"), QLatin1String(names[mLayer]));
    out.insert(QStringLiteral("shifted"), mShifted);
}
