#pragma once

#include "views/DisplayView.h"

#include <QStringList>
#include <QVector>

class ButtonView;

// The on-screen keyboard: a strip of keys along the bottom of the overlay, shown and hidden by
// the centre display. A key sends its stroke to the view with key focus; the layer keys switch
// between letters, digits with symbols, and accented letters; SHIFT capitalises the next letter.
class ORVANE_EXPORT KeyboardView : public DisplayView {
    Q_OBJECT
public:
    enum Layer { Letters, Symbols, Accents };
    static constexpr int Height = 440;

    explicit KeyboardView(DisplayView* parent);

    Layer layer() const { return mLayer; }
    void setLayer(Layer layer);
    bool isShifted() const { return mShifted; }
    void setShifted(bool on);

    // The shown key to tap next on the way to typing `character`: its own key, or the layer
    // or shift key that leads to it. Null when the keyboard has no key for it.
    ButtonView* keyTowards(QChar character) const;

    QString describe() const override { return QStringLiteral("keyboard"); }
    void dumpProperties(QJsonObject& out) const override;
    void draw(QPainter& painter) override;
    void resized() override;

private:
    void pressed(const QString& name);
    // The layer holding a character, and whether it needs shift there.
    bool locate(QChar character, Layer* layer, bool* shifted) const;
    ButtonView* shownKey(const QString& label) const;

    Layer mLayer = Letters;
    bool mShifted = false;
    // One container of keys per layer; only the current one shows.
    QVector<DisplayView*> mLayers;
};
