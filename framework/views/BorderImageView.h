#pragma once

#include "views/DisplayView.h"

#include <QStringList>

#include <memory>

// Skin images stretched over the view's area with fixed borders (Skin::drawBorderImage), in
// order: a frame, a shade or rounded corners laid over content. Touches go through it.
class ORVANE_EXPORT BorderImageView : public DisplayView {
    Q_OBJECT
public:
    BorderImageView(DisplayView* parent, const QStringList& images, int border);
    ~BorderImageView() override;

    void draw(QPainter& painter) override;
    void dumpProperties(QJsonObject& out) const override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
