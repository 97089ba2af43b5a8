#include "views/LabelView.h"

#include "services/FontManager.h"
#include "views/Style.h"

#include <QFontMetrics>
#include <QJsonObject>
#include <QPainter>

LabelView::LabelView(DisplayView* parent, const QString& text)
    : LabelView(parent, Style(), text)
{
}

LabelView::LabelView(DisplayView* parent, const Style& style, const QString& text)
    : DisplayView(parent)
    , mText(text)
    , mAlignment(Qt::AlignLeft | Qt::AlignVCenter)
{
    mFont = FontManager::instance()->defaultFont();
    mFont.setPixelSize(qMax(1, style.intProperty(QStringLiteral("FontSize"), 24)));
    if (style.boolProperty(QStringLiteral("Bold"), false))
        mFont.setWeight(QFont::DemiBold);
    mTextColor = style.colorProperty(QStringLiteral("TextColor"), mTextColor);
    mShadowColor = style.colorProperty(QStringLiteral("ShadowColor"), mShadowColor);
    mFittedWidth = 0;
    refit();
}

bool LabelView::followsText() const
{
    // Sized by hand is any width but the one last fitted to the text.
    return geometryDeferred() ? mFollowsText : unsettledGeometry().width() == mFittedWidth;
}

void LabelView::growFor(int lines)
{
    if (!geometryDeferred()) {
        mFollowsText = followsText();
        deferGeometry();
    }
    mHeightsOwed.append({mFont, lines});
}

void LabelView::refit()
{
    if (followsText())
        growFor(int(mText.count(QLatin1Char('\n'))) + 1);
}

void LabelView::settleGeometry()
{
    int width = mFixedWidth >= 0 ? mFixedWidth : unsettledGeometry().width();
    int height = unsettledGeometry().height();
    for (const LinesOf& owed : qAsConst(mHeightsOwed))
        height = qMax(height, QFontMetrics(owed.font).height() * owed.lines + 8);
    if (mFollowsText) {
        const QFontMetrics metrics(mFont);
        width = 1;
        for (const QString& line : mText.split(QLatin1Char('\n')))
            width = qMax(width, metrics.horizontalAdvance(line) + 4);
        mFittedWidth = width;
    }
    mHeightsOwed.clear();
    mFixedWidth = -1;
    resize(width, height);
}

void LabelView::setText(const QString& text)
{
    if (mText == text)
        return;
    mText = text;
    refit();
    update();
}

void LabelView::setAlignment(int flags)
{
    mAlignment = flags;
    update();
}

void LabelView::setFont(const QFont& font)
{
    const int pixels = mFont.pixelSize();
    mFont = font;
    mFont.setPixelSize(pixels);
    refit();
    update();
}

void LabelView::setFontSize(int pixels, bool redraw)
{
    mFont.setPixelSize(qMax(1, pixels));
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
    mFollowsText = false;
    mFixedWidth = width;
}

void LabelView::setTextColor(const QColor& color)
{
    mTextColor = color;
    update();
}

void LabelView::setShadowColor(const QColor& color)
{
    mShadowColor = color;
    update();
}

void LabelView::draw(QPainter& painter)
{
    painter.setFont(mFont);
    if (mShadowColor.alpha() > 0) {
        painter.setPen(mShadowColor);
        painter.drawText(rect().translated(2, 2), mAlignment, mText);
    }
    painter.setPen(mTextColor);
    painter.drawText(rect(), mAlignment, mText);
}

void LabelView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), mText);
}
