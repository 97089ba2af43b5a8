#include "diag/can/CANViewTableRenderer.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "diag/can/CANViewTableModel.h"
#include "services/FontManager.h"
#include "services/Skin.h"
#include "views/table/TableView.h"

#include <QFontMetrics>
#include <QPainter>

CANViewTableRenderer::CANViewTableRenderer()
    : mTitleFont(FontManager::instance()->defaultFont())
    , mValueFont(FontManager::instance()->defaultFont())
    , mUnitFont(FontManager::instance()->defaultFont())
{
    mTitleFont.setPixelSize(25);
    mValueFont.setPixelSize(mValueFontSize);
    mUnitFont.setPixelSize(mTextHeight - mMargin);
}

CANSignalNode* CANViewTableRenderer::signalFor(TableView* table, const TableModelIndex& index)
{
    return table && table->model() ? table->model()->item(index).value<CANSignalNode*>() : nullptr;
}

QString CANViewTableRenderer::rowTitle(const CANSignalNode* signal)
{
    return QStringLiteral("%1 : %2").arg(QString::fromUtf8(signal->bus()->name()), QString::fromUtf8(signal->name()));
}

QString CANViewTableRenderer::valueText(const CANSignalNode* signal)
{
    const bool precise = CANDataManager::isHighPrecision(QString::fromUtf8(signal->name()));
    return CANDataManager::recentSignalValueAsString(signal->id(), 0, precise ? 7 : 3, QStringLiteral("--"));
}

void CANViewTableRenderer::drawItem(QPainter& painter, TableView* table, const TableModelIndex& index, int state)
{
    const CANSignalNode* signal = signalFor(table, index);
    if (!signal)
        return;
    const int w = table->cellContentWidth();
    const int h = table->rowHeight();
    if (state & Pressed)
        painter.fillRect(0, 0, w, h, QColor(0x1f, 0x5f, 0xb0));
    painter.setPen(QColor(0x3a, 0x3f, 0x47));
    painter.drawLine(0, h - 1, w - 1, h - 1);

    const QImage deleteImage = Skin::image(QStringLiteral("media/delete.png"));
    if (!deleteImage.isNull()) {
        const int side = qMax(1, qMin(mRowInset - 2 * mMargin, h - 2 * mMargin));
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRect(mMargin, (h - side) / 2, side, side), deleteImage);
    }

    // The value and its unit share the right end: the value above, the unit in a band below.
    const QRect content(mRowInset, mMargin, qMax(1, w - mRowInset - mMargin), qMax(1, h - 2 * mMargin));
    const int unitBand = mTextHeight - mMargin;
    const QRect valueRect(content.left(), content.top(), content.width(), qMax(1, content.height() - unitBand));
    const QRect unitRect(content.left(), valueRect.bottom() + 1, content.width(), unitBand);
    const QString value = valueText(signal);

    painter.setFont(mValueFont);
    painter.setPen(Qt::white);
    painter.drawText(valueRect, Qt::AlignRight | Qt::AlignVCenter, value);
    painter.setFont(mUnitFont);
    painter.setPen(QColor(0x9a, 0xa4, 0xb1));
    painter.drawText(unitRect, Qt::AlignRight | Qt::AlignVCenter, signal->unit());

    // The name gives way to the value, never the other way round.
    const int valueWidth = QFontMetrics(mValueFont).horizontalAdvance(value);
    const int titleWidth = qMax(0, content.width() - valueWidth - 2 * mMargin);
    painter.setFont(mTitleFont);
    painter.setPen(Skin::textColor());
    painter.drawText(QRect(content.left(), content.top(), titleWidth, content.height()), Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetrics(mTitleFont).elidedText(rowTitle(signal), Qt::ElideRight, titleWidth));
}

QString CANViewTableRenderer::textForItem(TableView* table, const TableModelIndex& index)
{
    const CANSignalNode* signal = signalFor(table, index);
    if (!signal)
        return QString();
    const QString text = rowTitle(signal) + QLatin1Char(' ') + valueText(signal);
    return signal->unit().isEmpty() ? text : text + QLatin1Char(' ') + signal->unit();
}
