#include "views/DropDownPickerStringTableModel.h"

DropDownPickerStringTableModel::DropDownPickerStringTableModel(const QStringList& choices, QObject* parent)
    : TableModel(parent)
    , mChoices(choices)
{
}

int DropDownPickerStringTableModel::sectionCount(void* parent)
{
    return parent ? 0 : 1;
}

int DropDownPickerStringTableModel::sectionItemCount(const TableModelIndex& index)
{
    return !index.path() && index.section() == 1 ? mChoices.size() : 0;
}

QVariant DropDownPickerStringTableModel::item(const TableModelIndex& index)
{
    if (index.path() || index.section() != 1 || index.row() < 0 || index.row() >= mChoices.size())
        return QVariant();
    return mChoices.at(index.row());
}
