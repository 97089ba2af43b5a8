#include "views/ButtonView.h"

#include "core/DataValue.h"
#include "services/FontManager.h"

#include <QJsonObject>
#include <QPainter>
#include <QPainterPath>

namespace {

int heightForType(const QString& type)
{
    if (type == QLatin1String("small"))
        return 50;
    if (type == QLatin1String("large"))
        return 70;
    if (type == QLatin1String("tab"))
        return 44;
    return 60;
}

bool isRound(const QString& type)
{
    return type.startsWith(QLatin1String("round"));
}

} // namespace

ButtonView::ButtonView(DisplayView* parent, const Style& style, const QString& label, DataValue* value)
    : ControlBase(parent)
    , mStyle(style)
    , mLabel(label)
    , mColor(style.property(QStringLiteral("ButtonColor"), QStringLiteral("default")))
    , mValue(value)
{
    const QString type = style.property(QStringLiteral("ButtonType"), QStringLiteral("medium"));
    mToggle = type.endsWith(QLatin1String("toggle"));
    const int h = heightForType(type);
    // A round button is as wide as it is high whatever width the row gives it.
    const int w = isRound(type) ? h : style.intProperty(QStringLiteral("Width"), 180);
    resize(w, h);
    if (mValue)
        dvConnect(mValue, SLOT(valueChanged()), true);
}

void ButtonView::setLabel(const QString& label)
{
    if (mLabel == label)
        return;
    mLabel = label;
    update();
}

void ButtonView::setToggle(bool toggle)
{
    mToggle = toggle;
    update();
}

bool ButtonView::isToggled() const
{
    return mToggle && mToggled;
}

void ButtonView::setToggled(bool on)
{
    if (mToggled == on)
        return;
    mToggled = on;
    update();
}

void ButtonView::setButtonColor(const QString& color)
{
    mColor = color.isEmpty() ? mStyle.property(QStringLiteral("ButtonColor"), QStringLiteral("default")) : color;
    update();
}

void ButtonView::valueChanged()
{
    if (!mValue)
        return;
    DataValue::ConditionalLocker lock(*mValue);
    setToggled(mValue->isValid() && mValue->variant().toBool());
}

void ButtonView::activated()
{
    if (!mToggle) {
        if (mValue) {
            DataValue::EventLocker lock(*mValue);
            mValue->setVariantNoLock(true);
        }
        return;
    }
    if (!mValue) {
        setToggled(!mToggled);
        return;
    }
    DataValue::EventLocker lock(*mValue);
    mValue->setVariantNoLock(!mValue->variant().toBool());
}

void ButtonView::draw(QPainter& painter)
{
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(3, insetTop(), -3, -insetBottom());
    QColor fill = Style::buttonColor(mColor);
    if (isToggled())
        fill = QColor(0x2d, 0x8c, 0xff);
    if (isPressed())
        fill = fill.darker(140);
    const qreal radius = isRound(mStyle.property(QStringLiteral("ButtonType"))) ? face.height() / 2 : 8;
    QPainterPath path;
    path.addRoundedRect(face, radius, radius);
    painter.fillPath(path, fill);
    painter.setPen(QPen(fill.lighter(150), 1.5));
    painter.drawPath(path);

    QFont font = FontManager::instance()->defaultFont();
    font.setPixelSize(qMax(12, int(face.height() * (mLabel.contains(QLatin1Char('\n')) ? 0.3 : 0.38))));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(face, Qt::AlignCenter | Qt::TextWordWrap, mLabel);
}

void ButtonView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), mLabel);
    if (mToggle)
        out.insert(QStringLiteral("toggled"), isToggled());
}
