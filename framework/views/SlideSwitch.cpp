#include "views/SlideSwitch.h"

#include "core/DataValue.h"
#include "core/Logger.h"
#include "services/FontManager.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QPainterPath>
#include <QVariantAnimation>

struct SlideSwitch::Private {
    Private(SlideSwitch* owner, const Style& style)
        : style(style)
        , positions({QStringLiteral("OFF"), QStringLiteral("ON")})
        , binding(owner)
        , textColor(style.colorProperty(QStringLiteral("TextColor"), Qt::white))
        , shadowColor(style.colorProperty(QStringLiteral("ShadowColor"), Qt::black))
        , fontSize(style.intProperty(QStringLiteral("FontSize"), 22))
    {
    }

    Style style;
    QStringList positions;
    int position = 0;
    DataValueBinding binding;
    DataValueBinding::WriteMode writeMode = DataValueBinding::WriteMode::Request;
    bool pending = false;
    bool knobPlaced = false;
    QColor textColor;
    QColor shadowColor;
    int fontSize;
    qreal knob = 0;       // drawn
    qreal knobTarget = 0; // resting or sliding to
    QVariantAnimation* knobAnimation = nullptr;
    bool touching = false;
    bool dragging = false;
    int pressX = 0;
    qreal pressKnob = 0;
};

namespace {
// Less than this is a tap that wobbled, not a drag.
constexpr int DragThreshold = 6;
constexpr int KnobSlideMs = 150;
constexpr int KnobInset = 4;
} // namespace

SlideSwitch::SlideSwitch(DisplayView* parent, const QStringList& positions, DataValue* value, const Style& style)
    : DisplayView(parent)
    , d(new Private(this, style))
{
    fitWidth();
    setPositions(positions);
    connect(&d->binding, &DataValueBinding::changed, this, &SlideSwitch::valueChanged);
    if (value)
        setValueSource(value);
}

SlideSwitch::SlideSwitch(DisplayView* parent, bool large)
    : SlideSwitch(parent, {QStringLiteral("OFF"), QStringLiteral("ON")}, nullptr,
                  Style(large ? "SettingsLargeSlideSwitch" : "SettingsSlideSwitch"))
{
}

SlideSwitch::~SlideSwitch() = default;

void SlideSwitch::setPositions(const QStringList& positions)
{
    if (positions.size() < 2) {
        Logger(this, "WARN") << "a slide switch needs two positions or more, not" << positions.join(QLatin1Char('/'))
                             << "- it keeps" << d->positions.join(QLatin1Char('/'));
        return;
    }
    d->positions = positions;
    d->position = qMin(d->position, int(d->positions.size()) - 1);
    fitWidth();
    valueChanged();
}

void SlideSwitch::fitWidth()
{
    resize(int(d->positions.size()) * d->style.intProperty(QStringLiteral("PositionWidth"), 150),
           d->style.intProperty(QStringLiteral("Height"), 60));
    moveKnob(d->position * segmentWidth(), false);
}

void SlideSwitch::resized()
{
    DisplayView::resized();
    if (!d->touching)
        moveKnob(d->position * segmentWidth(), false);
}

void SlideSwitch::setPosition(int position, bool animate)
{
    if (position < 0 || position >= d->positions.size()) {
        Logger(this, "WARN") << "no position" << position << "in" << d->positions.join(QLatin1Char('/'));
        return;
    }
    d->position = position;
    // A finger on the knob keeps it; the knob settles when the finger lets go.
    if (!d->touching)
        moveKnob(d->position * segmentWidth(), animate);
    update();
}

void SlideSwitch::setValueSource(DataValue* value)
{
    if (value && value->type() != DataValue::Type::Bool && value->type() != DataValue::Type::Int) {
        Logger(this, "ERROR") << "a slide switch cannot show" << DataValue::typeName(value->type()) << "data value"
                              << value->name() << "- it works unbound";
        value = nullptr;
    }
    d->knobPlaced = false;
    d->binding.bind(value);
}

void SlideSwitch::valueChanged()
{
    const DataValueBinding::Reading r = d->binding.read();
    if (d->pending != r.pending) {
        d->pending = r.pending;
        update();
    }
    if (!r.valid && !r.pending)
        return; // nothing known to show: the knob stays
    const DataValue* value = d->binding.value();
    int position = value->type() == DataValue::Type::Bool ? int(r.shown().toBool()) : r.shown().toInt();
    if (position < 0 || position >= d->positions.size()) {
        Logger(this, "WARN") << value->name() << "is" << position << "but the switch has only"
                             << d->positions.join(QLatin1Char('/'));
        position = qBound(0, position, int(d->positions.size()) - 1);
    }
    // A newly bound value is where the knob starts, not somewhere it slides to.
    setPosition(position, d->knobPlaced);
    d->knobPlaced = true;
}

qreal SlideSwitch::segmentWidth() const
{
    return qreal(width()) / d->positions.size();
}

int SlideSwitch::positionAt(qreal x) const
{
    const qreal segment = segmentWidth();
    return segment > 0 ? qBound(0, int(x / segment), int(d->positions.size()) - 1) : d->position;
}

QVariant SlideSwitch::valueFor(int position) const
{
    const DataValue* value = d->binding.value();
    return value && value->type() == DataValue::Type::Bool ? QVariant(position != 0) : QVariant(position);
}

void SlideSwitch::moveKnob(qreal left, bool animate)
{
    d->knobTarget = left;
    if (d->knobAnimation) {
        d->knobAnimation->stop();
        d->knobAnimation->deleteLater();
        d->knobAnimation = nullptr;
    }
    if (!animate || qFuzzyCompare(d->knob + 1, left + 1)) {
        d->knob = left;
        update();
        return;
    }
    auto* animation = new QVariantAnimation(this);
    d->knobAnimation = animation;
    animation->setStartValue(d->knob);
    animation->setEndValue(left);
    animation->setDuration(KnobSlideMs);
    animation->setEasingCurve(QEasingCurve::OutQuad);
    connect(animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& v) {
        d->knob = v.toReal();
        update();
    });
    connect(animation, &QVariantAnimation::finished, this, [this, animation] {
        if (d->knobAnimation == animation)
            d->knobAnimation = nullptr;
        animation->deleteLater();
    });
    animation->start();
}

void SlideSwitch::returnKnob()
{
    moveKnob(d->position * segmentWidth(), true);
}

bool SlideSwitch::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        d->touching = true;
        d->dragging = false;
        d->pressX = event.position.x();
        d->pressKnob = d->knobTarget;
        return true;
    case TouchEvent::Kind::Move: {
        const int dx = event.position.x() - d->pressX;
        if (!d->dragging && qAbs(dx) >= DragThreshold)
            d->dragging = true;
        if (d->dragging)
            moveKnob(qBound(qreal(0), d->pressKnob + dx, width() - segmentWidth()), false);
        return true;
    }
    case TouchEvent::Kind::Cancel:
        d->touching = false;
        d->dragging = false;
        returnKnob();
        return true;
    case TouchEvent::Kind::Release: {
        d->touching = false;
        // A dragged knob goes to the position its centre is over.
        const int target = positionAt(d->dragging ? d->knob + segmentWidth() / 2 : event.position.x());
        d->dragging = false;
        // Disabled while the finger was down: the touch no longer counts.
        if (!isEffectivelyEnabled())
            returnKnob();
        else
            released(target);
        return true;
    }
    }
    return false;
}

void SlideSwitch::released(int position)
{
    if (position == d->position) {
        returnKnob();
        return;
    }
    setPosition(position, true);
    d->binding.write(valueFor(position), d->writeMode);
    emit positionChanged(position);
}

QRectF SlideSwitch::segmentRect(int index) const
{
    const qreal segment = segmentWidth();
    return QRectF(index * segment, 0, segment, height());
}

void SlideSwitch::drawTrack(QPainter& painter)
{
    const QRectF track = QRectF(rect()).adjusted(1, 1, -1, -1);
    QPainterPath path;
    path.addRoundedRect(track, 10, 10);
    painter.fillPath(path, QColor(0x22, 0x26, 0x2b));
    painter.setPen(QPen(QColor(0x4a, 0x50, 0x58), 1.5));
    painter.drawPath(path);
}

void SlideSwitch::drawKnob(QPainter& painter)
{
    const QRectF knob = QRectF(d->knob, 0, segmentWidth(), height()).adjusted(KnobInset, KnobInset, -KnobInset, -KnobInset);
    QPainterPath path;
    path.addRoundedRect(knob, 8, 8);
    const QColor fill(0x2d, 0x8c, 0xff);
    painter.fillPath(path, d->pending ? fill.darker(150) : fill);
    // A request the car has not answered yet: dashed, like a pending toggle.
    QPen rim(fill.lighter(150), d->pending ? 3 : 1.5);
    if (d->pending)
        rim.setStyle(Qt::DashLine);
    painter.setPen(rim);
    painter.drawPath(path);
}

void SlideSwitch::drawLabels(QPainter& painter)
{
    for (int i = 0; i < d->positions.size(); ++i)
        drawLabel(painter, i, labelOpacity(i));
}

void SlideSwitch::drawLabel(QPainter& painter, int index, qreal opacity)
{
    QFont font = FontManager::instance()->defaultFont();
    font.setPixelSize(d->fontSize);
    painter.save();
    painter.setOpacity(painter.opacity() * opacity);
    painter.setFont(font);
    const QRectF box = segmentRect(index);
    painter.setPen(d->shadowColor);
    painter.drawText(box.translated(1, 1), Qt::AlignCenter, d->positions[index]);
    painter.setPen(d->textColor);
    painter.drawText(box, Qt::AlignCenter, d->positions[index]);
    painter.restore();
}

qreal SlideSwitch::labelOpacity(int) const
{
    return 1.0;
}

void SlideSwitch::draw(QPainter& painter)
{
    painter.setRenderHint(QPainter::Antialiasing);
    drawTrack(painter);
    drawKnob(painter);
    drawLabels(painter);
}

void SlideSwitch::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("positions"), QJsonArray::fromStringList(d->positions));
    out.insert(QStringLiteral("position"), d->position);
    if (d->binding.isBound())
        out.insert(QStringLiteral("value"), d->binding.name());
    if (d->pending)
        out.insert(QStringLiteral("pending"), true);
}

void SlideSwitch::setWriteMode(DataValueBinding::WriteMode mode)
{
    d->writeMode = mode;
}

QStringList SlideSwitch::positions() const
{
    return d->positions;
}

int SlideSwitch::position() const
{
    return d->position;
}

DataValue* SlideSwitch::valueSource() const
{
    return d->binding.value();
}

bool SlideSwitch::isPending() const
{
    return d->pending;
}

int SlideSwitch::knobOffset() const
{
    return qRound(d->knobTarget);
}

QString SlideSwitch::describe() const
{
    return d->positions.join(QLatin1Char('/'));
}
