#include "views/ButtonView.h"

#include "core/DataValueBinding.h"
#include "services/FontManager.h"
#include "services/Skin.h"
#include "views/ViewHost.h"

#include <QJsonObject>
#include <QPainter>
#include <QPainterPath>

struct ButtonView::Private {
    Private(ButtonView* owner, const Style& style, const QString& label)
        : style(style)
        , label(label)
        , color(style.property(QStringLiteral("ButtonColor"), QStringLiteral("default")))
        , binding(owner)
    {
    }

    Style style;
    QString label;
    QString color;
    QString image;
    DataValueBinding binding;
    bool toggle = false;
    bool toggled = false;
    bool pending = false;
};

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
    , d(std::make_unique<Private>(this, style, label))
{
    const QString type = style.property(QStringLiteral("ButtonType"), QStringLiteral("medium"));
    d->toggle = type.endsWith(QLatin1String("toggle"));
    const int h = heightForType(type);
    // A round button is as wide as it is high whatever width the row gives it.
    const int w = isRound(type) ? h : style.intProperty(QStringLiteral("Width"), 180);
    resize(w, h);
    connect(&d->binding, &DataValueBinding::changed, this, &ButtonView::valueChanged);
    if (value)
        d->binding.bind(value);
}

ButtonView::~ButtonView() = default;

QString ButtonView::label() const
{
    return d->label;
}

Style ButtonView::style() const
{
    return d->style;
}

bool ButtonView::isToggle() const
{
    return d->toggle;
}

bool ButtonView::isPending() const
{
    return d->pending;
}

QString ButtonView::image() const
{
    return d->image;
}

QString ButtonView::faceText() const
{
    return d->label;
}

void ButtonView::setLabel(const QString& label)
{
    if (d->label == label)
        return;
    d->label = label;
    // A finger on the old label did not choose the new one (a tab bar that gained a tab).
    ViewHost::viewWithdrawn(this);
    update();
}

void ButtonView::setToggle(bool toggle)
{
    d->toggle = toggle;
    update();
}

bool ButtonView::isToggled() const
{
    return d->toggle && d->toggled;
}

void ButtonView::setToggled(bool on)
{
    if (d->toggled == on)
        return;
    d->toggled = on;
    update();
}

void ButtonView::setButtonColor(const QString& color)
{
    d->color = color.isEmpty() ? d->style.property(QStringLiteral("ButtonColor"), QStringLiteral("default")) : color;
    update();
}

void ButtonView::setImage(const QString& skinName)
{
    d->image = skinName;
    update();
}

void ButtonView::valueChanged()
{
    const DataValueBinding::Reading r = d->binding.read();
    if (d->pending != r.pending) {
        d->pending = r.pending;
        update();
    }
    setToggled((r.valid || r.pending) && r.shown().toBool());
}

QString ButtonView::describe() const
{
    if (!d->label.isEmpty())
        return d->label;
    return objectName().isEmpty() ? d->image : objectName();
}

void ButtonView::activated()
{
    if (!d->toggle) {
        d->binding.write(true, DataValueBinding::WriteMode::Direct);
        return;
    }
    if (!d->binding.isBound()) {
        setToggled(!d->toggled);
        return;
    }
    const DataValueBinding::Reading r = d->binding.read();
    d->binding.write(!r.value.toBool(), DataValueBinding::WriteMode::Direct);
}

void ButtonView::draw(QPainter& painter)
{
    if (!d->image.isEmpty()) {
        drawImage(painter);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(3, insetTop(), -3, -insetBottom());
    QColor fill = Style::buttonColor(d->color);
    if (isToggled())
        fill = QColor(0x2d, 0x8c, 0xff);
    if (isPressed())
        fill = fill.darker(140);
    const qreal radius = isRound(d->style.property(QStringLiteral("ButtonType"))) ? face.height() / 2 : 8;
    QPainterPath path;
    path.addRoundedRect(face, radius, radius);
    painter.fillPath(path, fill);
    QPen rim(fill.lighter(150), d->pending ? 3 : 1.5);
    if (d->pending)
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
    const QImage image = Skin::image(d->image);
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
    out.insert(QStringLiteral("label"), d->label);
    if (!d->image.isEmpty())
        out.insert(QStringLiteral("image"), d->image);
    if (d->toggle)
        out.insert(QStringLiteral("toggled"), isToggled());
    if (d->binding.isBound())
        out.insert(QStringLiteral("value"), d->binding.name());
    if (d->pending)
        out.insert(QStringLiteral("pending"), true);
}
