#include "views/table/TableModel.h"

TableModel::TableModel(QObject* parent)
    : QObject(parent)
{
}

QString TableModel::titleForSection(const TableModelIndex&)
{
    return QString();
}

bool TableModel::isEnabled(const TableModelIndex&)
{
    return true;
}

int TableModel::rowCount(void* parent)
{
    int rows = 0;
    const int sections = sectionCount(parent);
    for (int s = 1; s <= sections; ++s)
        rows += sectionItemCount(TableModelIndex(parent, s, 0));
    return rows;
}
