#pragma once

#include "views/DisplayView.h"

// A one-line text entry typed through the on-screen keyboard: a touch gives it key focus and
// shows the keyboard; losing the focus hides the keyboard again.
class ORVANE_EXPORT TextFieldView : public DisplayView {
    Q_OBJECT
public:
    explicit TextFieldView(DisplayView* parent, const QString& text = QString());

    QString text() const { return mText; }
    void setText(const QString& text);
    // Takes key focus and shows the keyboard, as a touch does.
    void beginEditing();

    bool touchEvent(const TouchEvent& event) override;
    bool keyEvent(QKeyEvent* event) override;
    void lostKeyFocus() override;
    void draw(QPainter& painter) override;
    QString describe() const override { return objectName(); }
    void dumpProperties(QJsonObject& out) const override;

signals:
    void textEdited(const QString& text);
    void returnPressed();

private:
    QString mText;
};
