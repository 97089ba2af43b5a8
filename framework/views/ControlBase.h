#pragma once

#include "views/DisplayView.h"

// A control that reacts to a finger: tapped when the finger comes down on it, released when
// it is lifted again inside the control (a finger slid off cancels).
class ORVANE_EXPORT ControlBase : public DisplayView {
    Q_OBJECT
public:
    explicit ControlBase(DisplayView* parent);
    ~ControlBase() override;

    bool isPressed() const;
    bool touchEvent(const TouchEvent& event) override;

signals:
    void tapped(ControlBase* control);
    void released(ControlBase* control);

protected:
    // Runs before released() is emitted.
    virtual void activated() {}

private:
    struct Private;
    std::unique_ptr<Private> d;
};
