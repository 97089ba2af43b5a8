#pragma once

#include "views/ButtonView.h"

class QTimer;

// A push button that guards against a stray touch: the first press arms it (its face shows
// the confirm text in the warning colour), a second press while armed emits released() and
// disarms it. Left alone it disarms after a few seconds; disabling it disarms it at once.
// released(ControlBase*) of the base still comes with every press.
class ORVANE_EXPORT ConfirmingButtonView : public ButtonView {
    Q_OBJECT
public:
    // The size of the button: the face heights of ButtonType medium, small and large.
    enum Kind { Medium = 0, Small = 1, Large = 2 };

    ConfirmingButtonView(DisplayView* parent, const QString& label, int kind = Medium);
    ~ConfirmingButtonView() override;

    QString confirmText() const;
    void setConfirmText(const QString& text);
    bool isArmed() const;
    // How long it stays armed; 3 s unless set.
    int disarmInterval() const;
    void setDisarmInterval(int ms);

    void dumpProperties(QJsonObject& out) const override;

public slots:
    void disarm();

signals:
    // The press was confirmed.
    void released();

protected:
    void activated() override;
    QString faceText() const override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
