#pragma once

#include "views/table/TableController.h"

class CANDataModel;
class CANSelectorTableModel;
class CANViewTableModel;
class MultiTableView;

// Walks the picker down from buses to messages to signals; a tapped signal, or every signal
// of the message through "ADD ALL SIGNALS", goes to the front of the selected signals.
class CANSelectorTableController : public TableController {
    Q_OBJECT
public:
    // Tags of the three levels' tables.
    enum Level { BusLevel = 0, MessageLevel = 1, SignalLevel = 2 };

    CANSelectorTableController(CANSelectorTableModel* model, TableView* rightTable, CANDataModel* data,
                               QObject* parent = nullptr);

    void setTableView(MultiTableView* tables) { mTables = tables; }
    void createFirstTable(MultiTableView* tables);

    TableCell* createCellForItem(TableView* table, const TableModelIndex& index) override;
    void itemSelected(TableView* table, const TableModelIndex& index, const QPoint& point) override;
    bool showSectionHeaders(TableView* table) override;
    // Back to the table above the shown one.
    void backPressed();

private:
    // The level a table of the picker shows, by its tag; -1 for any other table.
    int levelOf(const TableView* table) const;

    CANSelectorTableModel* mModel;
    TableView* mRightTable;
    CANDataModel* mData;
    MultiTableView* mTables = nullptr;
};
