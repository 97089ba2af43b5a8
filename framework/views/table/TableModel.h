#pragma once

#include "views/table/TableModelIndex.h"

#include <QObject>
#include <QVariant>

// What tables show: for each table path, sections of rows. A model may serve a whole
// drill-down tree, one table per path.
class ORVANE_EXPORT TableModel : public QObject {
    Q_OBJECT
public:
    explicit TableModel(QObject* parent = nullptr);

    // Sections of the table at a path; the host's interface names the path "parent" and passes
    // it as an opaque pointer (see MultiTableView::path), null for the top table.
    virtual int sectionCount(void* parent) = 0;
    // Rows of the index's section.
    virtual int sectionItemCount(const TableModelIndex& index) = 0;
    // The row's item; its text (toString()) is what a default cell shows.
    virtual QVariant item(const TableModelIndex& index) = 0;
    virtual QString titleForSection(const TableModelIndex& index);
    // A disabled row is drawn greyed and refuses taps.
    virtual bool isEnabled(const TableModelIndex& index);

    // Rows of every section of a path.
    int rowCount(void* parent);

signals:
    // Rows came, went or changed: tables showing the model reload.
    void modelItemCountChanged();
};
