#include "views/table/TableCell.h"

#include "services/FontManager.h"
#include "views/table/TableModel.h"
#include "views/table/TableRenderer.h"
#include "views/table/TableView.h"

#include <QJsonObject>
#include <QPainter>
#include <QTextDocument>
#include <QTextDocumentFragment>

namespace {

constexpr int TextInset = 20;
constexpr int ActionMarkWidth = 36;

QFont cellFont(int kind, int pixelSize)
{
    QFont font = FontManager::instance()->defaultFont();
    font.setPixelSize(pixelSize > 0 ? pixelSize : kind == TableCell::Header ? 20 : 24);
    font.setBold(kind == TableCell::Header);
    return font;
}

} // namespace

TableCell::TableCell(TableView* table, int kind, int cacheKey)
    : DisplayView(table)
    , mTable(table)
    , mKind(kind)
    , mCacheKey(cacheKey)
{
    mText.setTextFormat(Qt::AutoText);
    mText.setPerformanceHint(QStaticText::AggressiveCaching);
}

void TableCell::setLabel(const QString& label)
{
    if (mLabel == label)
        return;
    mLabel = label;
    mPlainLabel = Qt::mightBeRichText(label) ? QTextDocumentFragment::fromHtml(label).toPlainText() : label;
    mText.setText(label);
    mTextLaidOut = false;
    update();
}

void TableCell::setTextPixelSize(int pixels)
{
    if (mTextPixelSize == pixels)
        return;
    mTextPixelSize = pixels;
    mTextLaidOut = false;
    update();
}

void TableCell::resized()
{
    DisplayView::resized();
    mTextLaidOut = false;
}

int TableCell::state() const
{
    int state = TableRenderer::Normal;
    if (mPressed)
        state |= TableRenderer::Pressed;
    if (mSelected)
        state |= TableRenderer::Selected;
    if (!isEnabled())
        state |= TableRenderer::Disabled;
    return state;
}

void TableCell::setSelected(bool selected)
{
    if (mSelected == selected)
        return;
    mSelected = selected;
    update();
}

void TableCell::setPressed(bool pressed)
{
    if (mPressed == pressed)
        return;
    mPressed = pressed;
    update();
}

void TableCell::forgetTouch()
{
    mTracking = false;
    mHeldItem.clear();
    setPressed(false);
}

void TableCell::draw(QPainter& painter)
{
    // Disabled cells need nothing of their own: the display greys out disabled views.
    if (mKind == Header)
        painter.fillRect(rect(), QColor(0x30, 0x35, 0x3c));
    else if (mPressed)
        painter.fillRect(rect(), QColor(0x1f, 0x5f, 0xb0));
    else if (mSelected)
        painter.fillRect(rect(), QColor(0x2d, 0x8c, 0xff));
    painter.setPen(QColor(0x3a, 0x3f, 0x47));
    painter.drawLine(0, height() - 1, width() - 1, height() - 1);

    const QFont font = cellFont(mKind, mTextPixelSize);
    const int textWidth = qMax(1, width() - 2 * TextInset - (mKind == Action ? ActionMarkWidth : 0));
    if (!mTextLaidOut) {
        mText.setTextWidth(textWidth);
        mText.prepare(QTransform(), font);
        mTextLaidOut = true;
    }
    painter.setFont(font);
    painter.setPen(mKind == Header ? QColor(0xb0, 0xb8, 0xc4) : QColor(Qt::white));
    painter.drawStaticText(QPointF(TextInset, (height() - mText.size().height()) / 2), mText);
    if (mKind == Action) {
        const QRect mark(width() - TextInset - ActionMarkWidth, 0, ActionMarkWidth, height());
        const int arm = ActionMarkWidth / 3;
        painter.setPen(QPen(QColor(0x2d, 0x8c, 0xff), 4, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(mark.center() - QPoint(arm, 0), mark.center() + QPoint(arm, 0));
        painter.drawLine(mark.center() - QPoint(0, arm), mark.center() + QPoint(0, arm));
    }
}

bool TableCell::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        // A header is no tap target: the finger scrolls the table.
        if (mIndex.isSectionHeader())
            return false;
        // A finger that stops a gliding list only stops it.
        mTracking = !mTable->stopScrolling();
        if (mTracking && mTable->model())
            mHeldItem = mTable->model()->item(mIndex);
        setPressed(mTracking);
        return true;
    case TouchEvent::Kind::Move:
        if (mTracking)
            setPressed(rect().contains(event.position));
        return true;
    case TouchEvent::Kind::Cancel:
        forgetTouch();
        return true;
    case TouchEvent::Kind::Release: {
        const bool tapped = mPressed;
        forgetTouch();
        if (tapped)
            mTable->cellTapped(this, event.position + geometry().topLeft());
        return true;
    }
    }
    return false;
}

void TableCell::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), mPlainLabel);
    out.insert(QStringLiteral("kind"), mKind);
    out.insert(QStringLiteral("section"), mIndex.section());
    out.insert(QStringLiteral("row"), mIndex.row());
    if (mSelected)
        out.insert(QStringLiteral("selected"), true);
}
