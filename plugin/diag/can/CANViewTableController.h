#pragma once

#include "diag/can/CANViewTableRenderer.h"
#include "views/table/TableController.h"

class CANViewTableModel;

// The selected-signals table's cells, drawn by one renderer and reused as the list scrolls;
// a tap on a row removes its signal.
class CANViewTableController : public TableController {
    Q_OBJECT
public:
    explicit CANViewTableController(CANViewTableModel* model, QObject* parent = nullptr);

    TableCell* createCellForItem(TableView* table, const TableModelIndex& index) override;
    void itemSelected(TableView* table, const TableModelIndex& index, const QPoint& point) override;

private:
    CANViewTableModel* mModel;
    CANViewTableRenderer mRenderer;
};
