#pragma once

#include "views/table/TableModel.h"

#include <QList>
#include <QPair>

class CANDataModel;
class CANSignalNode;

// The three levels of the signal picker for a MultiTableView: buses (top table), the
// messages of a bus (path [bus]) and the signals of a message (path [bus, message]), the
// signals led by an "ADD ALL SIGNALS" row. Rows stay in catalogue order and are grouped into
// sections of neighbours that share a grouping letter; each level's sections are worked out
// the first time a table shows it.
class CANSelectorTableModel : public TableModel {
    Q_OBJECT
public:
    // (first row, row count)
    using Section = QPair<int, int>;
    struct CANTreeEntry {
        QList<Section> sections;  // of the level below
        QList<CANTreeEntry> children;  // one per row of the level below
    };

    explicit CANSelectorTableModel(CANDataModel* data, QObject* parent = nullptr);

    // Builds the sections of the level a table path shows, once.
    void createRolodexedTree(void* parent);
    int sectionCount(void* parent) override;
    int sectionItemCount(const TableModelIndex& index) override;
    // The row's title.
    QVariant item(const TableModelIndex& index) override;
    QString titleForSection(const TableModelIndex& index) override;
    // A signal row's node; null for "ADD ALL SIGNALS" and rows of other levels.
    CANSignalNode* canItem(const TableModelIndex& index);
    // Where a row is in the data model's list of its level: the first row of its section
    // plus its row, less one on the signal level for the "ADD ALL SIGNALS" row.
    int positionOf(const TableModelIndex& index);

    static QString addAllTitle();

private:
    // The sections of a path's level, built if need be; null for a path deeper than two.
    const QList<Section>* sectionsFor(void* parent);

    CANDataModel* mData;
    QList<Section> mBusSections;
    QList<CANTreeEntry> mBuses;
};
