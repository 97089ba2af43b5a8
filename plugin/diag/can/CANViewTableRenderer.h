#pragma once

#include "views/table/TableRenderer.h"

#include <QFont>
#include <QString>

class CANSignalNode;

// One row of the selected signals: a delete mark, "bus : signal" on the left, the latest
// value on the right with its unit below it.
class CANViewTableRenderer : public TableRenderer {
public:
    CANViewTableRenderer();

    void drawItem(QPainter& painter, TableView* table, const TableModelIndex& index, int state) override;
    QString textForItem(TableView* table, const TableModelIndex& index) override;

    // "bus : signal".
    static QString rowTitle(const CANSignalNode* signal);
    // The latest value with 7 decimals for high-precision signals and 3 for the others, "--"
    // before the first.
    static QString valueText(const CANSignalNode* signal);

private:
    static CANSignalNode* signalFor(TableView* table, const TableModelIndex& index);

    QFont mTitleFont;
    QFont mValueFont;
    QFont mUnitFont;
    const int mRowInset = 70;
    const int mTextHeight = 32;
    const int mValueFontSize = 32;
    const int mMargin = 10;
};
