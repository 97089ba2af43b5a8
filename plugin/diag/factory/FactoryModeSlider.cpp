#include "diag/factory/FactoryModeSlider.h"

#include "core/DataValues.h"
#include "utils/DataValueUtils.h"

namespace {
constexpr qreal BarredLabelOpacity = 0.35;

bool isDelivered()
{
    DataValue::ConditionalLocker lock(GUI_featureConfig);
    return GUI_featureConfig.isValid() && GUI_featureConfig.value().value(QStringLiteral("delivered")).toBool();
}
} // namespace

FactoryModeSlider::FactoryModeSlider(DisplayView* parent, const QStringList& labels)
    : SlideSwitch(parent, labels, nullptr, Style("SettingsLargeSlideSwitch"))
{
    for (int i = 0; i < positions().size(); ++i)
        mAllowed << true;
}

void FactoryModeSlider::setAllowed(int position, bool allowed)
{
    if (position >= mAllowed.size() || mAllowed[position] == allowed)
        return;
    mAllowed[position] = allowed;
    update();
}

void FactoryModeSlider::updatePosition()
{
    if (DataValueUtils::requestedOn(GUI_transportMode)) {
        setAllowed(FactoryPosition, false);
        setPosition(TransportPosition, true);
        return;
    }
    const bool factory = DataValueUtils::requestedOn(GUI_factoryMode);
    // A delivered car cannot be put into factory mode from here, but one already in it shows so.
    setAllowed(FactoryPosition, factory || !isDelivered());
    setPosition(factory ? FactoryPosition : OffPosition, true);
}

void FactoryModeSlider::released(int position)
{
    if (isPositionAllowed(position))
        SlideSwitch::released(position);
    else
        returnKnob();
}

qreal FactoryModeSlider::labelOpacity(int index) const
{
    return isPositionAllowed(index) || index == position() ? 1.0 : BarredLabelOpacity;
}
