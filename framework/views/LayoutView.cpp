#include "views/LayoutView.h"

#include <QChildEvent>
#include <QPointer>
#include <QTimer>

#include <numeric>

struct LayoutView::Private {
    Style style;
    Direction direction;
    int spacing;
    bool scheduled = false;
};

namespace {

LayoutView::Direction directionOf(const Style& style, LayoutView::Direction fallback)
{
    const QString d = style.property(QStringLiteral("Direction"));
    if (d == QLatin1String("vertical"))
        return LayoutView::Direction::Vertical;
    if (d == QLatin1String("horizontal"))
        return LayoutView::Direction::Horizontal;
    if (d == QLatin1String("grid"))
        return LayoutView::Direction::Grid;
    return fallback;
}

} // namespace

LayoutView::LayoutView(DisplayView* parent, const Style& style)
    : LayoutView(parent, style, Direction::Vertical)
{
}

LayoutView::LayoutView(DisplayView* parent, const Style& style, Direction fallback)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
    d->style = style;
    d->direction = directionOf(style, fallback);
    d->spacing = style.intProperty(QStringLiteral("Spacing"), 10);
    setLayoutMargin(style.paddingProperty(QStringLiteral("LayoutMargin")));
}

LayoutView::~LayoutView() = default;

LayoutView::Direction LayoutView::direction() const
{
    return d->direction;
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

void LayoutView::resized()
{
    DisplayView::resized();
    scheduleLayout();
}

void LayoutView::scheduleLayout()
{
    if (d->scheduled || geometryDeferred())
        return;
    d->scheduled = true;
    QTimer::singleShot(0, this, [this] {
        if (!d->scheduled)
            return;
        if (!isShown()) {
            d->scheduled = false;
            deferGeometry();
            return;
        }
        layoutNow();
    });
}

void LayoutView::layoutNow()
{
    d->scheduled = false;
    QSize content;
    switch (d->direction) {
    case Direction::Vertical: content = layoutVertical(); break;
    case Direction::Horizontal: content = layoutFlow(); break;
    case Direction::Grid: content = layoutGrid(); break;
    }
    if (autoResizeToParent())
        return;
    const Padding m = layoutMargin();
    resize(m.left + content.width() + m.right, m.top + content.height() + m.bottom);
}

QSize LayoutView::layoutVertical()
{
    const Padding m = layoutMargin();
    int y = 0;
    int width = 0;
    for (DisplayView* child : childViews()) {
        if (!child->isVisible())
            continue;
        child->moveTo(m.left, m.top + y);
        y += child->height() + d->spacing;
        width = qMax(width, child->width());
    }
    return QSize(width, qMax(0, y - d->spacing));
}

QSize LayoutView::layoutFlow()
{
    const Padding m = layoutMargin();
    const int flowWidth = d->style.intProperty(QStringLiteral("FlowWidth"), 0);
    int x = 0;
    int y = 0;
    int lineHeight = 0;
    int width = 0;
    for (DisplayView* child : childViews()) {
        if (!child->isVisible())
            continue;
        // A child wider than the flow still gets a line of its own.
        if (flowWidth > 0 && x > 0 && x + child->width() > flowWidth) {
            y += lineHeight + d->spacing;
            x = 0;
            lineHeight = 0;
        }
        child->moveTo(m.left + x, m.top + y);
        width = qMax(width, x + child->width());
        x += child->width() + d->spacing;
        lineHeight = qMax(lineHeight, child->height());
    }
    return QSize(width, y + lineHeight);
}

QSize LayoutView::layoutGrid()
{
    const Padding m = layoutMargin();
    QList<int> widths = d->style.intListProperty(QStringLiteral("Widths"));
    const int columns = qMax(1, widths.size());
    const int minRowHeight = d->style.intProperty(QStringLiteral("RowHeight"), 0);
    const QVector<DisplayView*>& children = childViews();
    // A column whose text is wider than the style gives it grows for all rows alike, so a long
    // label never runs under the control beside it.
    constexpr int ColumnGap = 16;
    for (int i = 0; i < children.size(); ++i) {
        const int column = i % columns;
        if (column + 1 < widths.size() && children[i]->isVisible() && children[i]->width() > widths[column])
            widths[column] = children[i]->width() + ColumnGap;
    }
    int y = 0;
    int width = 0;
    bool anyRow = false;
    for (int row = 0; row < children.size(); row += columns) {
        const int end = qMin(row + columns, int(children.size()));
        int rowHeight = 0;
        bool shown = false;
        for (int i = row; i < end; ++i) {
            if (children[i]->isVisible()) {
                shown = true;
                rowHeight = qMax(rowHeight, children[i]->height());
            }
        }
        if (!shown)
            continue;
        anyRow = true;
        rowHeight = qMax(rowHeight, minRowHeight);
        int left = 0;
        for (int i = row; i < end; ++i) {
            DisplayView* cell = children[i];
            if (cell->isVisible()) {
                cell->moveTo(m.left + left, m.top + y + (rowHeight - cell->height()) / 2);
                width = qMax(width, left + cell->width());
            }
            left += i - row < widths.size() ? widths[i - row] : 0;
        }
        y += rowHeight + d->spacing;
    }
    // The columns span the grid even where a row leaves its last cells empty.
    if (anyRow)
        width = qMax(width, std::accumulate(widths.cbegin(), widths.cend(), 0));
    return QSize(width, qMax(0, y - d->spacing));
}
