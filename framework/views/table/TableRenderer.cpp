#include "views/table/TableRenderer.h"

TableRenderer::~TableRenderer() = default;

QString TableRenderer::textForItem(TableView*, const TableModelIndex&)
{
    return QString();
}
