#include "views/table/TableCellRendererAdapter.h"

#include "views/table/TableRenderer.h"

#include <QJsonObject>

TableCellRendererAdapter::TableCellRendererAdapter(TableView* table, TableRenderer* renderer, int kind, int cacheKey)
    : TableCell(table, kind, cacheKey)
    , mRenderer(renderer)
{
}

void TableCellRendererAdapter::draw(QPainter& painter)
{
    if (mRenderer)
        mRenderer->drawItem(painter, table(), index(), state());
}

void TableCellRendererAdapter::dumpProperties(QJsonObject& out) const
{
    TableCell::dumpProperties(out);
    if (mRenderer)
        out.insert(QStringLiteral("text"), mRenderer->textForItem(table(), index()));
}
