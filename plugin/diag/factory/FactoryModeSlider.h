#pragma once

#include "diag/DiagExport.h"
#include "views/SlideSwitch.h"

#include <QList>

// The car's mode: off, factory or transport. Follows the modes the car is in (or has been
// asked for); a position can be barred, and then refuses the finger and is drawn faded.
class DIAG_EXPORT FactoryModeSlider : public SlideSwitch {
    Q_OBJECT
public:
    enum Position { OffPosition = 0, FactoryPosition = 1, TransportPosition = 2 };

    // The page passes "OFF", "FACTORY", "TRANSPORT": the positions above, in that order.
    FactoryModeSlider(DisplayView* parent, const QStringList& labels);

    bool isPositionAllowed(int position) const { return mAllowed.value(position, false); }

public slots:
    // From GUI_transportMode, GUI_factoryMode and the "delivered" key of GUI_featureConfig.
    void updatePosition();

protected:
    void released(int position) override;
    qreal labelOpacity(int index) const override;

private:
    void setAllowed(int position, bool allowed);

    QList<bool> mAllowed;
};
