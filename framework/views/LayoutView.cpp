#include "views/LayoutView.h"

#include <QChildEvent>
#include <QPointer>
#include <QTimer>

LayoutView::LayoutView(DisplayView* parent, const Style& style)
    : DisplayView(parent)
    , mStyle(style)
    , mVertical(style.property(QStringLiteral("Direction"), QStringLiteral("vertical")) == QLatin1String("vertical"))
    , mSpacing(style.intProperty(QStringLiteral("Spacing"), 10))
    , mMargin(style.intProperty(QStringLiteral("Margin"), 0))
{
}

void LayoutView::childEvent(QChildEvent* event)
{
    DisplayView::childEvent(event);
    if (event->type() == QEvent::ChildAdded) {
        // The child is still being constructed; hear of its size changes from now on.
        // It may be gone again by the time the loop comes round.
        QPointer<QObject> child = event->child();
        QTimer::singleShot(0, this, [this, child] {
            if (auto* view = qobject_cast<DisplayView*>(child.data())) {
                if (childViews().contains(view)) {
                    connect(view, qOverload<DisplayView*>(&DisplayView::resized), this, &LayoutView::scheduleLayout,
                            Qt::UniqueConnection);
                    connect(view, &DisplayView::visibilityChanged, this, &LayoutView::scheduleLayout, Qt::UniqueConnection);
                }
            }
        });
    }
    if (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildRemoved)
        scheduleLayout();
}

void LayoutView::scheduleLayout()
{
    if (mScheduled)
        return;
    mScheduled = true;
    QTimer::singleShot(0, this, [this] {
        if (mScheduled)
            layoutNow();
    });
}

void LayoutView::layoutNow()
{
    mScheduled = false;
    int pos = mMargin;
    int across = 0;
    for (DisplayView* child : childViews()) {
        if (!child->isVisible())
            continue;
        if (mVertical) {
            child->moveTo(mMargin, pos);
            pos += child->height() + mSpacing;
            across = qMax(across, child->width());
        } else {
            child->moveTo(pos, mMargin);
            pos += child->width() + mSpacing;
            across = qMax(across, child->height());
        }
    }
    if (!mVertical) {
        const int length = qMax(0, pos - mSpacing) + mMargin;
        resize(length, across + 2 * mMargin);
    }
}
