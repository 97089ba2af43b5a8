#include "views/SlideSwitch.h"

#include "core/DataValue.h"
#include "core/Logger.h"
#include "services/FontManager.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QPainterPath>
#include <QVariantAnimation>

namespace {
// Less than this is a tap that wobbled, not a drag.
constexpr int DragThreshold = 6;
constexpr int KnobSlideMs = 150;
constexpr int KnobInset = 4;
} // namespace

SlideSwitch::SlideSwitch(DisplayView* parent, const QStringList& positions, DataValue* value, const Style& style)
    : DisplayView(parent)
    , mStyle(style)
    , mPositions({QStringLiteral("OFF"), QStringLiteral("ON")})
    , mBinding(this)
    , mTextColor(style.colorProperty(QStringLiteral("TextColor"), Qt::white))
    , mShadowColor(style.colorProperty(QStringLiteral("ShadowColor"), Qt::black))
    , mFontSize(style.intProperty(QStringLiteral("FontSize"), 22))
{
    fitWidth();
    setPositions(positions);
    connect(&mBinding, &DataValueBinding::changed, this, &SlideSwitch::valueChanged);
    if (value)
        setValueSource(value);
}

SlideSwitch::SlideSwitch(DisplayView* parent, bool large)
    : SlideSwitch(parent, {QStringLiteral("OFF"), QStringLiteral("ON")}, nullptr,
                  Style(large ? "SettingsLargeSlideSwitch" : "SettingsSlideSwitch"))
{
}

void SlideSwitch::setPositions(const QStringList& positions)
{
    if (positions.size() < 2) {
        Logger(this, "WARN") << "a slide switch needs two positions or more, not" << positions.join(QLatin1Char('/'))
                             << "- it keeps" << mPositions.join(QLatin1Char('/'));
        return;
    }
    mPositions = positions;
    mPosition = qMin(mPosition, int(mPositions.size()) - 1);
    fitWidth();
    valueChanged();
}

void SlideSwitch::fitWidth()
{
    resize(int(mPositions.size()) * mStyle.intProperty(QStringLiteral("PositionWidth"), 150),
           mStyle.intProperty(QStringLiteral("Height"), 60));
    moveKnob(mPosition * segmentWidth(), false);
}

void SlideSwitch::resized()
{
    DisplayView::resized();
    if (!mTouching)
        moveKnob(mPosition * segmentWidth(), false);
}

void SlideSwitch::setPosition(int position, bool animate)
{
    if (position < 0 || position >= mPositions.size()) {
        Logger(this, "WARN") << "no position" << position << "in" << mPositions.join(QLatin1Char('/'));
        return;
    }
    mPosition = position;
    // A finger on the knob keeps it; the knob settles when the finger lets go.
    if (!mTouching)
        moveKnob(mPosition * segmentWidth(), animate);
    update();
}

void SlideSwitch::setValueSource(DataValue* value)
{
    if (value && value->type() != DataValue::Type::Bool && value->type() != DataValue::Type::Int) {
        Logger(this, "ERROR") << "a slide switch cannot show" << DataValue::typeName(value->type()) << "data value"
                              << value->name() << "- it works unbound";
        value = nullptr;
    }
    mKnobPlaced = false;
    mBinding.bind(value);
}

void SlideSwitch::valueChanged()
{
    const DataValueBinding::Reading r = mBinding.read();
    if (mPending != r.pending) {
        mPending = r.pending;
        update();
    }
    if (!r.valid && !r.pending)
        return; // nothing known to show: the knob stays
    const DataValue* value = mBinding.value();
    int position = value->type() == DataValue::Type::Bool ? int(r.shown().toBool()) : r.shown().toInt();
    if (position < 0 || position >= mPositions.size()) {
        Logger(this, "WARN") << value->name() << "is" << position << "but the switch has only"
                             << mPositions.join(QLatin1Char('/'));
        position = qBound(0, position, int(mPositions.size()) - 1);
    }
    // A newly bound value is where the knob starts, not somewhere it slides to.
    setPosition(position, mKnobPlaced);
    mKnobPlaced = true;
}

qreal SlideSwitch::segmentWidth() const
{
    return qreal(width()) / mPositions.size();
}

int SlideSwitch::positionAt(qreal x) const
{
    const qreal segment = segmentWidth();
    return segment > 0 ? qBound(0, int(x / segment), int(mPositions.size()) - 1) : mPosition;
}

QVariant SlideSwitch::valueFor(int position) const
{
    const DataValue* value = mBinding.value();
    return value && value->type() == DataValue::Type::Bool ? QVariant(position != 0) : QVariant(position);
}

void SlideSwitch::moveKnob(qreal left, bool animate)
{
    mKnobTarget = left;
    if (mKnobAnimation) {
        mKnobAnimation->stop();
        mKnobAnimation->deleteLater();
        mKnobAnimation = nullptr;
    }
    if (!animate || qFuzzyCompare(mKnob + 1, left + 1)) {
        mKnob = left;
        update();
        return;
    }
    auto* animation = new QVariantAnimation(this);
    mKnobAnimation = animation;
    animation->setStartValue(mKnob);
    animation->setEndValue(left);
    animation->setDuration(KnobSlideMs);
    animation->setEasingCurve(QEasingCurve::OutQuad);
    connect(animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& v) {
        mKnob = v.toReal();
        update();
    });
    connect(animation, &QVariantAnimation::finished, this, [this, animation] {
        if (mKnobAnimation == animation)
            mKnobAnimation = nullptr;
        animation->deleteLater();
    });
    animation->start();
}

void SlideSwitch::returnKnob()
{
    moveKnob(mPosition * segmentWidth(), true);
}

bool SlideSwitch::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        mTouching = true;
        mDragging = false;
        mPressX = event.position.x();
        mPressKnob = mKnobTarget;
        return true;
    case TouchEvent::Kind::Move: {
        const int dx = event.position.x() - mPressX;
        if (!mDragging && qAbs(dx) >= DragThreshold)
            mDragging = true;
        if (mDragging)
            moveKnob(qBound(qreal(0), mPressKnob + dx, width() - segmentWidth()), false);
        return true;
    }
    case TouchEvent::Kind::Cancel:
        mTouching = false;
        mDragging = false;
        returnKnob();
        return true;
    case TouchEvent::Kind::Release: {
        mTouching = false;
        // A dragged knob goes to the position its centre is over.
        const int target = positionAt(mDragging ? mKnob + segmentWidth() / 2 : event.position.x());
        mDragging = false;
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
    if (position == mPosition) {
        returnKnob();
        return;
    }
    setPosition(position, true);
    mBinding.write(valueFor(position), mWriteMode);
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
    const QRectF knob = QRectF(mKnob, 0, segmentWidth(), height()).adjusted(KnobInset, KnobInset, -KnobInset, -KnobInset);
    QPainterPath path;
    path.addRoundedRect(knob, 8, 8);
    const QColor fill(0x2d, 0x8c, 0xff);
    painter.fillPath(path, mPending ? fill.darker(150) : fill);
    // A request the car has not answered yet: dashed, like a pending toggle.
    QPen rim(fill.lighter(150), mPending ? 3 : 1.5);
    if (mPending)
        rim.setStyle(Qt::DashLine);
    painter.setPen(rim);
    painter.drawPath(path);
}

void SlideSwitch::drawLabels(QPainter& painter)
{
    for (int i = 0; i < mPositions.size(); ++i)
        drawLabel(painter, i, labelOpacity(i));
}

void SlideSwitch::drawLabel(QPainter& painter, int index, qreal opacity)
{
    QFont font = FontManager::instance()->defaultFont();
    font.setPixelSize(mFontSize);
    painter.save();
    painter.setOpacity(painter.opacity() * opacity);
    painter.setFont(font);
    const QRectF box = segmentRect(index);
    painter.setPen(mShadowColor);
    painter.drawText(box.translated(1, 1), Qt::AlignCenter, mPositions[index]);
    painter.setPen(mTextColor);
    painter.drawText(box, Qt::AlignCenter, mPositions[index]);
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
    out.insert(QStringLiteral("positions"), QJsonArray::fromStringList(mPositions));
    out.insert(QStringLiteral("position"), mPosition);
    if (mBinding.isBound())
        out.insert(QStringLiteral("value"), mBinding.name());
    if (mPending)
        out.insert(QStringLiteral("pending"), true);
}
