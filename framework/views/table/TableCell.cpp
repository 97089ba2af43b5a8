#include "views/table/TableCell.h"

#include "services/FontManager.h"
#include "views/table/TableModel.h"
#include "views/table/TableRenderer.h"
#include "views/table/TableView.h"

#include <QJsonObject>
#include <QPainter>
#include <QTextDocument>
#include <QTextDocumentFragment>

struct TableCell::Private {
    TableView* table = nullptr;
    int kind;
    int cacheKey;
    TableModelIndex index;
    QString label;
    QString plainLabel;
    // Laid out when first drawn: cells drawn by a renderer never need it.
    QStaticText text;
    bool textLaidOut = false;
    bool selected = false;
    bool pressed = false;
    bool tracking = false;
    QVariant heldItem;
    int textPixelSize = 0;
};

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
    , d(new Private)
{
    d->table = table;
    d->kind = kind;
    d->cacheKey = cacheKey;
    d->text.setTextFormat(Qt::AutoText);
    d->text.setPerformanceHint(QStaticText::AggressiveCaching);
}

TableCell::~TableCell() = default;

void TableCell::setLabel(const QString& label)
{
    if (d->label == label)
        return;
    d->label = label;
    d->plainLabel = Qt::mightBeRichText(label) ? QTextDocumentFragment::fromHtml(label).toPlainText() : label;
    d->text.setText(label);
    d->textLaidOut = false;
    update();
}

void TableCell::setTextPixelSize(int pixels)
{
    if (d->textPixelSize == pixels)
        return;
    d->textPixelSize = pixels;
    d->textLaidOut = false;
    update();
}

void TableCell::resized()
{
    DisplayView::resized();
    d->textLaidOut = false;
}

int TableCell::state() const
{
    int state = TableRenderer::Normal;
    if (d->pressed)
        state |= TableRenderer::Pressed;
    if (d->selected)
        state |= TableRenderer::Selected;
    if (!isEnabled())
        state |= TableRenderer::Disabled;
    return state;
}

void TableCell::setSelected(bool selected)
{
    if (d->selected == selected)
        return;
    d->selected = selected;
    update();
}

void TableCell::setPressed(bool pressed)
{
    if (d->pressed == pressed)
        return;
    d->pressed = pressed;
    update();
}

void TableCell::forgetTouch()
{
    d->tracking = false;
    d->heldItem.clear();
    setPressed(false);
}

void TableCell::draw(QPainter& painter)
{
    // Disabled cells need nothing of their own: the display greys out disabled views.
    if (d->kind == Header)
        painter.fillRect(rect(), QColor(0x30, 0x35, 0x3c));
    else if (d->pressed)
        painter.fillRect(rect(), QColor(0x1f, 0x5f, 0xb0));
    else if (d->selected)
        painter.fillRect(rect(), QColor(0x2d, 0x8c, 0xff));
    painter.setPen(QColor(0x3a, 0x3f, 0x47));
    painter.drawLine(0, height() - 1, width() - 1, height() - 1);

    const QFont font = cellFont(d->kind, d->textPixelSize);
    const int textWidth = qMax(1, width() - 2 * TextInset - (d->kind == Action ? ActionMarkWidth : 0));
    if (!d->textLaidOut) {
        d->text.setTextWidth(textWidth);
        d->text.prepare(QTransform(), font);
        d->textLaidOut = true;
    }
    painter.setFont(font);
    painter.setPen(d->kind == Header ? QColor(0xb0, 0xb8, 0xc4) : QColor(Qt::white));
    painter.drawStaticText(QPointF(TextInset, (height() - d->text.size().height()) / 2), d->text);
    if (d->kind == Action) {
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
        if (d->index.isSectionHeader())
            return false;
        // A finger that stops a gliding list only stops it.
        d->tracking = !d->table->stopScrolling();
        if (d->tracking && d->table->model())
            d->heldItem = d->table->model()->item(d->index);
        setPressed(d->tracking);
        return true;
    case TouchEvent::Kind::Move:
        if (d->tracking)
            setPressed(rect().contains(event.position));
        return true;
    case TouchEvent::Kind::Cancel:
        forgetTouch();
        return true;
    case TouchEvent::Kind::Release: {
        const bool tapped = d->pressed;
        forgetTouch();
        if (tapped)
            d->table->cellTapped(this, event.position + geometry().topLeft());
        return true;
    }
    }
    return false;
}

void TableCell::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("label"), d->plainLabel);
    out.insert(QStringLiteral("kind"), d->kind);
    out.insert(QStringLiteral("section"), d->index.section());
    out.insert(QStringLiteral("row"), d->index.row());
    if (d->selected)
        out.insert(QStringLiteral("selected"), true);
}

void TableCell::setIndex(const TableModelIndex& index)
{
    d->index = index;
}

TableView* TableCell::table() const
{
    return d->table;
}

int TableCell::kind() const
{
    return d->kind;
}

int TableCell::cacheKey() const
{
    return d->cacheKey;
}

TableModelIndex TableCell::index() const
{
    return d->index;
}

QString TableCell::label() const
{
    return d->label;
}

QString TableCell::plainLabel() const
{
    return d->plainLabel;
}

bool TableCell::isSelected() const
{
    return d->selected;
}

bool TableCell::isPressed() const
{
    return d->pressed;
}

QString TableCell::describe() const
{
    return d->plainLabel;
}

bool TableCell::isHeld() const
{
    return d->tracking;
}

QVariant TableCell::heldItem() const
{
    return d->heldItem;
}
