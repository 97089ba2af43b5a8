#pragma once

#include "can/CANData.h"
#include "views/table/TableModel.h"

#include <QVector>

Q_DECLARE_METATYPE(CANSignalNode*)

// The signals the user picked, in one section, each listed once. A listed signal is being
// captured; removing it stops its capture.
class CANViewTableModel : public TableModel {
    Q_OBJECT
public:
    explicit CANViewTableModel(QObject* parent = nullptr);
    // The list's captures end with it.
    ~CANViewTableModel() override;

    int sectionCount(void* parent) override;
    int sectionItemCount(const TableModelIndex& index) override;
    // The row's CANSignalNode*.
    QVariant item(const TableModelIndex& index) override;
    // A row of the list as it is now.
    bool isValid(const TableModelIndex& index) const;

    // Nothing happens for a listed signal; otherwise it goes last (append) or first.
    void addItem(CANSignalNode* signal, bool append);
    void removeItemAt(const TableModelIndex& index);
    void clearItems();
    QVector<CANSignalNode*> modelSignals() const { return mSignals; }

    // The values moved on: a non-empty list is drawn again. Called by the viewer on each refresh
    // (the name, like a signal's, is the host interface's).
    void CANDataRefreshed();
    // Keeps the capture running while anything is listed.
    void checkCapture();

private:
    QVector<CANSignalNode*> mSignals;
};
