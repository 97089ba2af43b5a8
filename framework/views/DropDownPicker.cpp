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

struct DropDownPicker::Private {
    QStringList choices;
    int index;
    int pickerStyle;
    QPointer<TableModel> model;
    QPointer<ButtonView> button;
    bool scrollable = false;
    qreal maxItems = 0;
    QPointer<PopupView> list;
    TableView* table = nullptr;
};

namespace {

constexpr int SettingsRowHeight = 60;
constexpr int TextInset = 16;
constexpr int ArrowWidth = 18;

} // namespace

DropDownPicker::DropDownPicker(DisplayView* parent, const QStringList& choices, int index, int width, int pickerStyle,
                               TableModel* model, ButtonView* button)
    : ControlBase(parent)
    , d(new Private)
{
    d->choices = choices;
    d->index = index;
    d->pickerStyle = pickerStyle;
    d->model = model ? model : new DropDownPickerStringTableModel(choices, this);
    d->button = button;
    if (d->button) {
        resize(0, 0);
        d->button->setLabel(choiceText());
        d->button->enable(isEnabled(), false);
        connect(d->button, &ControlBase::released, this, &DropDownPicker::openList);
        connect(this, &DisplayView::enabled, d->button, [this] { d->button->enable(true, true); });
        connect(this, &DisplayView::disabled, d->button, [this] { d->button->enable(false, true); });
    } else {
        resize(width, rowHeight());
    }
    // A list must not outlive the picker's chance to act on it.
    connect(this, &DisplayView::disabled, this, &DropDownPicker::closeList);
}

DropDownPicker::~DropDownPicker()
{
    delete d->list;
}

int DropDownPicker::rowHeight() const
{
    // Every style looks like the settings picker for now.
    return SettingsRowHeight;
}

DisplayView* DropDownPicker::face() const
{
    return d->button ? static_cast<DisplayView*>(d->button) : const_cast<DropDownPicker*>(this);
}

void DropDownPicker::setChoiceIndex(int index)
{
    if (d->index == index)
        return;
    d->index = index;
    if (d->button)
        d->button->setLabel(choiceText());
    syncListSelection();
    update();
}

bool DropDownPicker::isOpen() const
{
    return d->list && d->list->isOpen();
}

void DropDownPicker::syncListSelection()
{
    if (!d->table)
        return;
    if (d->index >= 0 && d->index < d->choices.size())
        d->table->selectRow(TableModelIndex(nullptr, 1, d->index));
    else
        d->table->clearSelection();
}

void DropDownPicker::openList()
{
    if (isOpen() || !isEffectivelyEnabled())
        return;
    if (!d->list) {
        d->list = new PopupView(false);
        d->list->setClosesOnOutsideTouch(true);
        d->table = new TableView(d->list, d->model, nullptr, nullptr, rowHeight());
        d->table->setAutoResizeToParent(true);
        connect(d->table->controller(), &TableController::rowTapped, this, &DropDownPicker::rowTapped);
        connect(d->list, &PopupView::closed, this, [this] { update(); });
    }
    // Which rows are enabled may have changed since the last opening without the model saying.
    d->table->reloadData();

    const int rows = d->table->rowCount();
    const qreal shown = d->scrollable && d->maxItems > 0 ? qMin<qreal>(rows, d->maxItems) : rows;
    int height = qCeil(shown * rowHeight());
    const QRect anchor = face()->rootGeometry();
    const int below = theCenterDisplay->overlay()->height() - anchor.bottom() - 1;
    const int above = anchor.top();
    const bool upwards = height > below && above > below;
    height = qMin(height, upwards ? above : below);
    d->list->setGeometry(QRect(anchor.left(), upwards ? anchor.top() - height : anchor.bottom() + 1, anchor.width(), height));

    syncListSelection();
    if (rows > 0)
        d->table->scrollToRow(TableModelIndex(nullptr, 1, qBound(0, d->index, rows - 1)));
    d->list->open();
    update();
}

void DropDownPicker::closeList()
{
    if (d->list)
        d->list->close();
}

void DropDownPicker::rowTapped(TableView*, const TableModelIndex& index)
{
    setChoiceIndex(index.row());
    closeList();
    emit itemSelected(index);
}

void DropDownPicker::draw(QPainter& painter)
{
    if (d->button)
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
    return d->button ? QString() : choiceText();
}

void DropDownPicker::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), choiceText());
    out.insert(QStringLiteral("choices"), QJsonArray::fromStringList(d->choices));
    out.insert(QStringLiteral("choiceIndex"), d->index);
    out.insert(QStringLiteral("open"), isOpen());
    if (!isOpen())
        return;
    QJsonArray rows;
    for (const TableCell* cell : d->table->visibleCells())
        rows.append(ViewDump::toJson(cell));
    out.insert(QStringLiteral("visibleRows"), rows);
}

void DropDownPicker::setScrollable(bool on)
{
    d->scrollable = on;
}

void DropDownPicker::setMaxItemsToDisplay(qreal items)
{
    d->maxItems = items;
}

QStringList DropDownPicker::choices() const
{
    return d->choices;
}

TableModel* DropDownPicker::model() const
{
    return d->model;
}

int DropDownPicker::pickerStyle() const
{
    return d->pickerStyle;
}

int DropDownPicker::choiceIndex() const
{
    return d->index;
}

QString DropDownPicker::choiceText() const
{
    return d->choices.value(d->index);
}

bool DropDownPicker::isScrollable() const
{
    return d->scrollable;
}

qreal DropDownPicker::maxItemsToDisplay() const
{
    return d->maxItems;
}

TableView* DropDownPicker::listView() const
{
    return d->table;
}
