#pragma once

#include "views/DisplayView.h"

// A view shown above the application in the overlay. Opening puts it on top of the popup
// stack; a modal popup keeps touches from the app beneath until it closes.
class ORVANE_EXPORT PopupView : public DisplayView {
    Q_OBJECT
public:
    explicit PopupView(bool modal = true);
    ~PopupView() override;

    bool isModal() const;
    bool isOpen() const;
    // A touch outside a non-modal popup that asks for it closes the popup (picker lists).
    bool closesOnOutsideTouch() const;
    void setClosesOnOutsideTouch(bool on);

    // Shows the popup on top of the others; centred on the display unless placed already.
    void open();
    void close();
    // Closes and deletes the popup once the loop comes round.
    void dismiss();

    void draw(QPainter& painter) override;
    void dumpProperties(QJsonObject& out) const override;

signals:
    void closed(PopupView* popup);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
