#pragma once

#include "views/table/TableModel.h"

#include <QStringList>

#include <memory>

// The choices of a drop-down picker as one section of strings. Subclasses may grey out
// choices by overriding isEnabled().
class ORVANE_EXPORT DropDownPickerStringTableModel : public TableModel {
    Q_OBJECT
public:
    explicit DropDownPickerStringTableModel(const QStringList& choices, QObject* parent = nullptr);
    ~DropDownPickerStringTableModel() override;

    QStringList choices() const;

    // One section at the top; a choice has nothing below it.
    int sectionCount(void* parent) override;
    int sectionItemCount(const TableModelIndex& index) override;
    // The choice's text; nothing outside the list.
    QVariant item(const TableModelIndex& index) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
