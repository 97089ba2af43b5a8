#include "views/ControlBase.h"

struct ControlBase::Private {
    bool pressed = false;
};

ControlBase::ControlBase(DisplayView* parent)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
}

ControlBase::~ControlBase() = default;

bool ControlBase::isPressed() const
{
    return d->pressed;
}

bool ControlBase::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        d->pressed = true;
        update();
        emit tapped(this);
        return true;
    case TouchEvent::Kind::Move: {
        const bool inside = rect().contains(event.position);
        if (inside != d->pressed) {
            d->pressed = inside;
            update();
        }
        return true;
    }
    case TouchEvent::Kind::Cancel:
        d->pressed = false;
        update();
        return true;
    case TouchEvent::Kind::Release:
        if (!d->pressed)
            return true;
        d->pressed = false;
        update();
        activated();
        emit released(this);
        return true;
    }
    return false;
}
