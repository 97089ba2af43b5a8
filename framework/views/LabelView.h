#pragma once

#include "views/DisplayView.h"
#include "views/Style.h"

#include <QString>
#include <memory>

class QFont;

// A label sized to its text until sized by hand. The text is measured only once the size is
// needed (read, changed, painted or shown): a page full of labels costs nothing until seen.
class ORVANE_EXPORT LabelView : public DisplayView {
    Q_OBJECT
public:
    explicit LabelView(DisplayView* parent, const QString& text = QString());
    // Font size, weight (Bold) and colours (TextColor, ShadowColor) from a style:
    // "SettingsMainLabel" for section heads, "SettingsRowLabel" for a control's row,
    // "SettingsSubLabel" for captions.
    LabelView(DisplayView* parent, const Style& style, const QString& text);
    ~LabelView() override;

    QString text() const;
    void setText(const QString& text);
    // Qt::Alignment flags, word wrap (Qt::TextWordWrap) included.
    void setAlignment(int flags);
    int alignment() const;
    QFont font() const;
    void setFont(const QFont& font);
    // Pixel size; the height follows it unless the label was sized by hand.
    void setFontSize(int pixels, bool redraw = true);
    // Sizes the width by hand and keeps the height the text gives it.
    void setFixedWidth(int width);
    void setTextColor(const QColor& color);
    void setShadowColor(const QColor& color);

    void draw(QPainter& painter) override;
    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

protected:
    void settleGeometry() override;

private:
    // Keeps a label that was sized to its text sized to it; one sized by hand keeps its size.
    void refit();
    bool followsText() const;
    // The height becomes at least `lines` lines of the font, once settled.
    void growFor(int lines);

    struct Private;
    std::unique_ptr<Private> d;
};
