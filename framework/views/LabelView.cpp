#include "views/LabelView.h"

#include "services/FontManager.h"
#include "views/Style.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>
#include <QJsonObject>
#include <QPainter>
#include <QVector>
#include <utility>

struct LabelView::Private {
    Private(const QString& text, QFont font, const Style& style)
        : text(text)
        , font(std::move(font))
        , textColor(style.colorProperty(QStringLiteral("TextColor"), Qt::white))
        , shadowColor(style.colorProperty(QStringLiteral("ShadowColor"), Qt::transparent))
    {
    }

    QString text;
    int fittedWidth = 0;
    QFont font;
    int alignment = Qt::AlignLeft | Qt::AlignVCenter;
    QColor textColor;
    QColor shadowColor;

    // While deferred: whether it follows its text, the width given by hand, and the fonts
    // (with their line counts) whose height it has grown to.
    struct LinesOf {
        QFont font;
        int lines;
    };
    bool followsText = true;
    int fixedWidth = -1;
    QVector<LinesOf> heightsOwed;
};

namespace {

QFont styledFont(const Style& style)
{
    QFont font = FontManager::instance()->defaultFont();
    font.setPixelSize(qMax(1, style.intProperty(QStringLiteral("FontSize"), 24)));
    if (style.boolProperty(QStringLiteral("Bold"), false))
        font.setWeight(QFont::DemiBold);
    return font;
}

} // namespace

LabelView::LabelView(DisplayView* parent, const QString& text)
    : LabelView(parent, Style(), text)
{
}

LabelView::LabelView(DisplayView* parent, const Style& style, const QString& text)
    : DisplayView(parent)
    , d(std::make_unique<Private>(text, styledFont(style), style))
{
    refit();
}

LabelView::~LabelView() = default;

QString LabelView::text() const
{
    return d->text;
}

int LabelView::alignment() const
{
    return d->alignment;
}

QFont LabelView::font() const
{
    return d->font;
}

QString LabelView::describe() const
{
    return d->text;
}

bool LabelView::followsText() const
{
    // Sized by hand is any width but the one last fitted to the text.
    return geometryDeferred() ? d->followsText : unsettledGeometry().width() == d->fittedWidth;
}

void LabelView::growFor(int lines)
{
    if (!geometryDeferred()) {
        d->followsText = followsText();
        deferGeometry();
    }
    d->heightsOwed.append({d->font, lines});
}

void LabelView::refit()
{
    if (followsText())
        growFor(int(d->text.count(QLatin1Char('\n'))) + 1);
}

void LabelView::settleGeometry()
{
    int width = d->fixedWidth >= 0 ? d->fixedWidth : unsettledGeometry().width();
    int height = unsettledGeometry().height();
    for (const Private::LinesOf& owed : qAsConst(d->heightsOwed))
        height = qMax(height, QFontMetrics(owed.font).height() * owed.lines + 8);
    if (d->followsText) {
        const QFontMetrics metrics(d->font);
        width = 1;
        for (const QString& line : d->text.split(QLatin1Char('\n')))
            width = qMax(width, metrics.horizontalAdvance(line) + 4);
        d->fittedWidth = width;
    }
    d->heightsOwed.clear();
    d->fixedWidth = -1;
    resize(width, height);
}

void LabelView::setText(const QString& text)
{
    if (d->text == text)
        return;
    d->text = text;
    refit();
    update();
}

void LabelView::setAlignment(int flags)
{
    d->alignment = flags;
    update();
}

void LabelView::setFont(const QFont& font)
{
    const int pixels = d->font.pixelSize();
    d->font = font;
    d->font.setPixelSize(pixels);
    refit();
    update();
}

void LabelView::setFontSize(int pixels, bool redraw)
{
    d->font.setPixelSize(qMax(1, pixels));
    growFor(1);
    refit();
    if (redraw)
        update();
}

void LabelView::setFixedWidth(int width)
{
    if (!geometryDeferred()) {
        resize(width, height());
        return;
    }
    d->followsText = false;
    d->fixedWidth = width;
}

void LabelView::setTextColor(const QColor& color)
{
    d->textColor = color;
    update();
}

void LabelView::setShadowColor(const QColor& color)
{
    d->shadowColor = color;
    update();
}

void LabelView::draw(QPainter& painter)
{
    painter.setFont(d->font);
    if (d->shadowColor.alpha() > 0) {
        painter.setPen(d->shadowColor);
        painter.drawText(rect().translated(2, 2), d->alignment, d->text);
    }
    painter.setPen(d->textColor);
    painter.drawText(rect(), d->alignment, d->text);
}

void LabelView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), d->text);
}
