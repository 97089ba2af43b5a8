#include "views/DropDownPicker.h"

#include "services/FontManager.h"
#include "views/ButtonView.h"
#include "views/CenterDisplay.h"
#include "views/DropDownPickerStringTableModel.h"
#include "views/Style.h"
#include "views/ViewDump.h"
#include "views/popup/OverlayView.h"
#include "views/popup/PopupView.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"
#include "views/table/TableView.h"

#include <QFontMetrics>
#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace {

constexpr int SettingsRowHeight = 60;
constexpr int TextInset = 16;
constexpr int ArrowWidth = 18;

} // namespace

DropDownPicker::DropDownPicker(DisplayView* parent, const QStringList& choices, int index, int width, int pickerStyle,
                               TableModel* model, ButtonView* button)
    : ControlBase(parent)
    , mChoices(choices)
    , mIndex(index)
    , mPickerStyle(pickerStyle)
    , mModel(model ? model : new DropDownPickerStringTableModel(choices, this))
    , mButton(button)
{
    if (mButton) {
        resize(0, 0);
        mButton->setLabel(choiceText());
        mButton->enable(isEnabled(), false);
        connect(mButton, &ControlBase::released, this, &DropDownPicker::openList);
        connect(this, &DisplayView::enabled, mButton, [this] { mButton->enable(true, true); });
        connect(this, &DisplayView::disabled, mButton, [this] { mButton->enable(false, true); });
    } else {
        resize(width, rowHeight());
    }
    // A list must not outlive the picker's chance to act on it.
    connect(this, &DisplayView::disabled, this, &DropDownPicker::closeList);
}

DropDownPicker::~DropDownPicker()
{
    delete mList;
}

int DropDownPicker::rowHeight() const
{
    // Every style looks like the settings picker for now.
    return SettingsRowHeight;
}

DisplayView* DropDownPicker::face() const
{
    return mButton ? static_cast<DisplayView*>(mButton) : const_cast<DropDownPicker*>(this);
}

void DropDownPicker::setChoiceIndex(int index)
{
    if (mIndex == index)
        return;
    mIndex = index;
    if (mButton)
        mButton->setLabel(choiceText());
    syncListSelection();
    update();
}

bool DropDownPicker::isOpen() const
{
    return mList && mList->isOpen();
}

void DropDownPicker::syncListSelection()
{
    if (!mTable)
        return;
    if (mIndex >= 0 && mIndex < mChoices.size())
        mTable->selectRow(TableModelIndex(nullptr, 1, mIndex));
    else
        mTable->clearSelection();
}

void DropDownPicker::openList()
{
    if (isOpen() || !isEffectivelyEnabled())
        return;
    if (!mList) {
        mList = new PopupView(false);
        mList->setClosesOnOutsideTouch(true);
        mTable = new TableView(mList, mModel, nullptr, nullptr, rowHeight());
        mTable->setAutoResizeToParent(true);
        connect(mTable->controller(), &TableController::rowTapped, this, &DropDownPicker::rowTapped);
        connect(mList, &PopupView::closed, this, [this] { update(); });
    }
    // Which rows are enabled may have changed since the last opening without the model saying.
    mTable->reloadData();

    const int rows = mTable->rowCount();
    const qreal shown = mScrollable && mMaxItems > 0 ? qMin<qreal>(rows, mMaxItems) : rows;
    int height = qCeil(shown * rowHeight());
    const QRect anchor = face()->rootGeometry();
    const int below = theCenterDisplay->overlay()->height() - anchor.bottom() - 1;
    const int above = anchor.top();
    const bool upwards = height > below && above > below;
    height = qMin(height, upwards ? above : below);
    mList->setGeometry(QRect(anchor.left(), upwards ? anchor.top() - height : anchor.bottom() + 1, anchor.width(), height));

    syncListSelection();
    if (rows > 0)
        mTable->scrollToRow(TableModelIndex(nullptr, 1, qBound(0, mIndex, rows - 1)));
    mList->open();
    update();
}

void DropDownPicker::closeList()
{
    if (mList)
        mList->close();
}

void DropDownPicker::rowTapped(TableView*, const TableModelIndex& index)
{
    setChoiceIndex(index.row());
    closeList();
    emit itemSelected(index);
}

void DropDownPicker::draw(QPainter& painter)
{
    if (mButton)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF faceRect = QRectF(rect()).adjusted(3, 5, -3, -5);
    QColor fill = Style::buttonColor(QStringLiteral("default"));
    if (isPressed())
        fill = fill.darker(140);
    QPainterPath path;
    path.addRoundedRect(faceRect, 8, 8);
    painter.fillPath(path, fill);
    painter.setPen(QPen(fill.lighter(150), 1.5));
    painter.drawPath(path);

    // The arrow points the way the list opens from a closed picker, and back when open.
    const qreal ax = faceRect.right() - TextInset - ArrowWidth;
    const qreal ay = faceRect.center().y();
    const qreal dy = isOpen() ? -ArrowWidth / 4.0 : ArrowWidth / 4.0;
    QPainterPath arrow;
    arrow.moveTo(ax, ay - dy);
    arrow.lineTo(ax + ArrowWidth, ay - dy);
    arrow.lineTo(ax + ArrowWidth / 2.0, ay + dy);
    arrow.closeSubpath();
    painter.fillPath(arrow, Qt::white);

    QFont font = FontManager::instance()->defaultFont();
    font.setPixelSize(24);
    painter.setFont(font);
    painter.setPen(Qt::white);
    const QRectF textRect(faceRect.left() + TextInset, faceRect.top(), ax - faceRect.left() - 2 * TextInset,
                          faceRect.height());
    const QString text = QFontMetrics(font).elidedText(choiceText(), Qt::ElideRight, int(textRect.width()));
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, text);
}

QString DropDownPicker::describe() const
{
    return mButton ? QString() : choiceText();
}

void DropDownPicker::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), choiceText());
    out.insert(QStringLiteral("choices"), QJsonArray::fromStringList(mChoices));
    out.insert(QStringLiteral("choiceIndex"), mIndex);
    out.insert(QStringLiteral("open"), isOpen());
    if (!isOpen())
        return;
    QJsonArray rows;
    for (const TableCell* cell : mTable->visibleCells())
        rows.append(ViewDump::toJson(cell));
    out.insert(QStringLiteral("visibleRows"), rows);
}
