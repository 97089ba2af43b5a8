#pragma once

#include "OrvaneExport.h"
#include "views/Padding.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QVector>

#include <memory>

class DataValue;
class QJsonObject;
class QPainter;
class QKeyEvent;

// One press, move or release of a finger, in the receiving view's coordinates. Cancel ends a
// touch without a release: a scrolling ancestor took the finger over.
struct TouchEvent {
    enum class Kind { Press, Move, Release, Cancel };
    Kind kind;
    QPoint position;
};

// The node of the UI tree: geometry relative to the parent view, visibility, enabled state,
// drawing, touch and key handling. Views are QObjects owned by their parent.
class ORVANE_EXPORT DisplayView : public QObject {
    Q_OBJECT
public:
    // Ease types of moveTo/resize. Linear with zero times is immediate.
    enum EaseType { EaseInOut = 0, EaseOut = 1, Linear = 2, EaseIn = 3 };

    explicit DisplayView(DisplayView* parent = nullptr);
    ~DisplayView() override;

    DisplayView* parentView() const;
    const QVector<DisplayView*>& childViews() const;
    // True for the view itself and anything below it.
    bool isChildOf(const DisplayView* ancestor) const;

    // Geometry in parent coordinates. Right and bottom are inclusive, as in QRect. Geometry a
    // view deferred (see deferGeometry) is settled first.
    QRect geometry() const;
    int x() const { return geometry().x(); }
    int y() const { return geometry().y(); }
    int width() const { return geometry().width(); }
    int height() const { return geometry().height(); }
    QRect rect() const { return QRect(QPoint(0, 0), geometry().size()); }
    QPoint mapToRoot(const QPoint& local) const;
    QRect rootGeometry() const;

    // Ease type Linear with zero time and delay is immediate; anything else animates
    // (milliseconds) towards the target, which geometry() reports once reached.
    void moveTo(int x, int y, int easeType = Linear, int timeMs = 0, int delayMs = 0);
    void resize(int width, int height, int easeType = Linear, int timeMs = 0, int delayMs = 0);
    void setGeometry(const QRect& geometry);
    void setAutoResizeToParent(bool on);
    // Follows the parent's size within its margins, taking the part given in percent of it:
    // (0, 0, 100, 100) fills it, (50, 0, 50, 100) is its right half.
    void setAutoResizeToParent(const QRect& percent);
    bool autoResizeToParent() const;

    void show(bool visible = true);
    void hide() { show(false); }
    bool isVisible() const;
    // Visible itself and through every ancestor.
    bool isShown() const;

    // Sets the enabled state to `on`; disable() is enable(false).
    void enable(bool on = true, bool redraw = true);
    void disable(bool redraw = true) { enable(false, redraw); }
    bool isEnabled() const;
    // Enabled itself and through every ancestor.
    bool isEffectivelyEnabled() const;

    Padding layoutMargin() const;
    void setLayoutMargin(const Padding& margin);

    // Paints this view only, in local coordinates; the display paints children afterwards.
    virtual void draw(QPainter& painter);
    // Asks the display for a new frame.
    void update();

    // Touch handling: return true to take the touch (and get its moves and release).
    virtual bool touchEvent(const TouchEvent& event);
    // Asked of the ancestors of the view holding a touch once the finger has moved a few
    // pixels: a view that scrolls that way answers true, takes the touch over from the press
    // point on, and the holder gets a Cancel.
    virtual bool takesOverTouch(const QPoint& movedBy) const;
    // Key handling: return true when handled, else the key goes to the parent view.
    virtual bool keyEvent(QKeyEvent* event);
    void setKeyFocus();
    bool hasKeyFocus() const;
    // The key focus moved from this view to another view or to none.
    virtual void lostKeyFocus();
    // The deepest shown, enabled view under a point of this view's coordinates.
    DisplayView* viewAt(const QPoint& local);
    // A view drawn over others that touches go through (with its children), as if it were not there.
    void setTouchTransparent(bool on);

    // A short text that tells this view apart in dumps and scripts (label or title).
    virtual QString describe() const { return QString(); }
    // Adds what tells this kind of view apart to its JSON dump ("label", "title", state).
    virtual void dumpProperties(QJsonObject& out) const;

    // Connects a data value's change to a slot given with SLOT(); calls it at once if asked.
    void dvConnect(DataValue* value, const char* slot, bool callNow) { dvConnect(value, this, slot, callNow); }
    // The same for any receiver. False (and an assertion logged) when the slot does not exist.
    static bool dvConnect(DataValue* value, QObject* receiver, const char* slot, bool callNow);

public slots:
    // Geometry changed: re-layout children. Overrides call the base.
    virtual void resized();

protected:
    // Geometry that is worked out only once needed (a label's text measured, a hidden layout's
    // children placed): settleGeometry() runs before the geometry of this view or of a child is
    // next read or changed, and when the view is shown.
    void deferGeometry();
    bool geometryDeferred() const;
    virtual void settleGeometry() {}
    // The geometry as it stands, nothing settled: for a view working out its own.
    QRect unsettledGeometry() const;
    // A child deferred its geometry: its size may change once it settles.
    virtual void childGeometryDeferred(DisplayView* child);

signals:
    void resized(DisplayView* view);
    void moved(DisplayView* view);
    void enabled(DisplayView* view);
    void disabled(DisplayView* view);
    void visibilityChanged(DisplayView* view);

private:
    void settle() const;
    void settleDeferred() const;
    void settleShownTree();
    void applyGeometry(const QRect& target);
    void animateTo(const QRect& target, int easeType, int timeMs, int delayMs);
    void parentResized();
    void fitAutoResizedChildren();

    // Behind a pointer: plug-ins built against this class keep working when a field changes.
    struct Private;
    std::unique_ptr<Private> d;
};
