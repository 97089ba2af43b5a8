#pragma once

#include "core/DataValueBinding.h"
#include "views/DisplayView.h"
#include "views/Style.h"

#include <QStringList>
#include <memory>

class QVariantAnimation;

// A knob that slides over two or more labelled positions. Tapping a position or dragging the
// knob there and letting go selects it (released(int)); a cancelled touch puts the knob back.
// Bound to a bool (two positions: 0 is false, 1 true) or int data value (the position is the
// value), it shows the value, or the pending request with a dashed knob, and a selection
// asks the car for the new value (setWriteMode changes that). Unbound it only reports
// positionChanged(int). Style: "SettingsSlideSwitch", or "SettingsLargeSlideSwitch"
// (PositionWidth and Height size it; FontSize, TextColor, ShadowColor draw the labels).
class ORVANE_EXPORT SlideSwitch : public DisplayView {
    Q_OBJECT
public:
    SlideSwitch(DisplayView* parent, const QStringList& positions = {QStringLiteral("OFF"), QStringLiteral("ON")},
                DataValue* value = nullptr, const Style& style = Style("SettingsSlideSwitch"));
    // `large` picks the "SettingsLargeSlideSwitch" look; positions are "OFF", "ON" until set.
    SlideSwitch(DisplayView* parent, bool large);
    ~SlideSwitch() override;

    QStringList positions() const;
    // Two or more labels; the width follows their number.
    void setPositions(const QStringList& positions);
    int position() const;
    // Moves the knob without writing the value or emitting positionChanged.
    void setPosition(int position, bool animate = false);

    // A bool or int value; null leaves the switch free.
    void setValueSource(DataValue* value);
    DataValue* valueSource() const;
    void setWriteMode(DataValueBinding::WriteMode mode);
    bool isPending() const;
    // Where the knob rests, or is sliding to, from the left edge.
    int knobOffset() const;

    bool touchEvent(const TouchEvent& event) override;
    void draw(QPainter& painter) override;
    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

public slots:
    void resized() override;

signals:
    // The user selected another position.
    void positionChanged(int position);

protected:
    // The finger let go over `position`. Sets it, writes the bound value and emits
    // positionChanged; an override that refuses calls returnKnob() instead.
    virtual void released(int position);
    // Slides the knob back to the current position, with no signal.
    void returnKnob();

    // For a subclass's draw().
    QRectF segmentRect(int index) const;
    void drawTrack(QPainter& painter);
    void drawKnob(QPainter& painter);
    // Every label at labelOpacity(index).
    void drawLabels(QPainter& painter);
    // One label in the text colour over its shadow.
    void drawLabel(QPainter& painter, int index, qreal opacity);
    virtual qreal labelOpacity(int index) const;

private slots:
    void valueChanged();

private:
    qreal segmentWidth() const;
    int positionAt(qreal x) const;
    QVariant valueFor(int position) const;
    void moveKnob(qreal left, bool animate);
    void fitWidth();

    struct Private;
    std::unique_ptr<Private> d;
};
