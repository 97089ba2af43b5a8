#include "views/DropDownPickerStringTableModel.h"

struct DropDownPickerStringTableModel::Private {
    QStringList choices;
};

DropDownPickerStringTableModel::DropDownPickerStringTableModel(const QStringList& choices, QObject* parent)
    : TableModel(parent)
    , d(std::make_unique<Private>(Private{choices}))
{
}

DropDownPickerStringTableModel::~DropDownPickerStringTableModel() = default;

QStringList DropDownPickerStringTableModel::choices() const
{
    return d->choices;
}

int DropDownPickerStringTableModel::sectionCount(void* parent)
{
    return parent ? 0 : 1;
}

int DropDownPickerStringTableModel::sectionItemCount(const TableModelIndex& index)
{
    return !index.path() && index.section() == 1 ? d->choices.size() : 0;
}

QVariant DropDownPickerStringTableModel::item(const TableModelIndex& index)
{
    if (index.path() || index.section() != 1 || index.row() < 0 || index.row() >= d->choices.size())
        return QVariant();
    return d->choices.at(index.row());
}
