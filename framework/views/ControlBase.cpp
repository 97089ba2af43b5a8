#include "views/ControlBase.h"

ControlBase::ControlBase(DisplayView* parent)
    : DisplayView(parent)
{
}

bool ControlBase::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        mPressed = true;
        update();
        emit tapped(this);
        return true;
    case TouchEvent::Kind::Move: {
        const bool inside = rect().contains(event.position);
        if (inside != mPressed) {
            mPressed = inside;
            update();
        }
        return true;
    }
    case TouchEvent::Kind::Cancel:
        mPressed = false;
        update();
        return true;
    case TouchEvent::Kind::Release:
        if (!mPressed)
            return true;
        mPressed = false;
        update();
        activated();
        emit released(this);
        return true;
    }
    return false;
}
