#include "views/ButtonView.h"

#include "services/FontManager.h"
#include "services/Skin.h"
#include "views/ViewHost.h"

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
    , mBinding(this)
{
    const QString type = style.property(QStringLiteral("ButtonType"), QStringLiteral("medium"));
    mToggle = type.endsWith(QLatin1String("toggle"));
    const int h = heightForType(type);
    // A round button is as wide as it is high whatever width the row gives it.
    const int w = isRound(type) ? h : style.intProperty(QStringLiteral("Width"), 180);
    resize(w, h);
    connect(&mBinding, &DataValueBinding::changed, this, &ButtonView::valueChanged);
    if (value)
        mBinding.bind(value);
}

void ButtonView::setLabel(const QString& label)
{
    if (mLabel == label)
        return;
    mLabel = label;
    // A finger on the old label did not choose the new one (a tab bar that gained a tab).
    ViewHost::viewWithdrawn(this);
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

void ButtonView::setImage(const QString& skinName)
{
    mImage = skinName;
    update();
}

void ButtonView::valueChanged()
{
    const DataValueBinding::Reading r = mBinding.read();
    if (mPending != r.pending) {
        mPending = r.pending;
        update();
    }
    setToggled((r.valid || r.pending) && r.shown().toBool());
}

QString ButtonView::describe() const
{
    if (!mLabel.isEmpty())
        return mLabel;
    return objectName().isEmpty() ? mImage : objectName();
}

void ButtonView::activated()
{
    if (!mToggle) {
        mBinding.write(true, DataValueBinding::WriteMode::Direct);
        return;
    }
    if (!mBinding.isBound()) {
        setToggled(!mToggled);
        return;
    }
    const DataValueBinding::Reading r = mBinding.read();
    mBinding.write(!r.value.toBool(), DataValueBinding::WriteMode::Direct);
}

void ButtonView::draw(QPainter& painter)
{
    if (!mImage.isEmpty()) {
        drawImage(painter);
        return;
    }
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
    QPen rim(fill.lighter(150), mPending ? 3 : 1.5);
    if (mPending)
        rim.setStyle(Qt::DashLine);
    painter.setPen(rim);
    painter.drawPath(path);

    QFont font = FontManager::instance()->defaultFont();
    const QString text = faceText();
    font.setPixelSize(qMax(12, int(face.height() * (text.contains(QLatin1Char('\n')) ? 0.3 : 0.38))));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(face, Qt::AlignCenter | Qt::TextWordWrap, text);
}

void ButtonView::drawImage(QPainter& painter)
{
    const QImage image = Skin::image(mImage);
    if (image.isNull())
        return;
    const QSize fitted = image.size().scaled(rect().size(), Qt::KeepAspectRatio);
    const QRect target(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (isPressed() || isToggled())
        painter.setOpacity(painter.opacity() * 0.6);
    painter.drawImage(target, image);
}

void ButtonView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), mLabel);
    if (!mImage.isEmpty())
        out.insert(QStringLiteral("image"), mImage);
    if (mToggle)
        out.insert(QStringLiteral("toggled"), isToggled());
    if (mBinding.isBound())
        out.insert(QStringLiteral("value"), mBinding.name());
    if (mPending)
        out.insert(QStringLiteral("pending"), true);
}
