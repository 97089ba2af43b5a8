#pragma once

#include "views/ControlBase.h"
#include "views/Style.h"

#include <memory>

class DataValue;

// A push or toggle button. Its look comes from the style's ButtonType (small, medium, large,
// round, toggle, roundtoggle, tab), ButtonColor and Width. A toggle bound to a boolean data
// value shows that value (a pending request for it is drawn with a dashed rim) and writes
// the inverse of the value directly when released; a push button bound to one writes true.
class ORVANE_EXPORT ButtonView : public ControlBase {
    Q_OBJECT
public:
    ButtonView(DisplayView* parent, const Style& style, const QString& label = QString(), DataValue* value = nullptr);
    ~ButtonView() override;

    QString label() const;
    void setLabel(const QString& label);
    Style style() const;

    bool isToggle() const;
    void setToggle(bool toggle);
    bool isToggled() const;
    void setToggled(bool on);
    // The bound value has a request pending; drawn until the car answers.
    bool isPending() const;
    // An empty name means the style's colour.
    void setButtonColor(const QString& color = QString());
    // A skin image ("canview/back.png") drawn instead of the face, fitted to the view; scripts
    // know an unlabelled image button by the image's name.
    void setImage(const QString& skinName);
    QString image() const;

    // The drawn face is inset from the view's bounds by these.
    int insetTop() const { return 5; }
    int insetBottom() const { return 5; }

    void draw(QPainter& painter) override;
    // An image button is known by its name when it has one, else by its image.
    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

protected:
    void activated() override;
    // The text on the face; a subclass may show something else for a while.
    virtual QString faceText() const;

private slots:
    void valueChanged();

private:
    void drawImage(QPainter& painter);

    struct Private;
    std::unique_ptr<Private> d;
};
