#include "views/table/TableCellRendererAdapter.h"

#include "views/table/TableRenderer.h"

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
