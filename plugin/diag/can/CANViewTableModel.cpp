#include "diag/can/CANViewTableModel.h"

#include "can/CANDataManager.h"

CANViewTableModel::CANViewTableModel(QObject* parent)
    : TableModel(parent)
{
}

CANViewTableModel::~CANViewTableModel()
{
    for (CANSignalNode* signal : qAsConst(mSignals))
        CANDataManager::stopCapture(signal);
}

int CANViewTableModel::sectionCount(void*)
{
    return 1;
}

int CANViewTableModel::sectionItemCount(const TableModelIndex&)
{
    return mSignals.size();
}

QVariant CANViewTableModel::item(const TableModelIndex& index)
{
    return isValid(index) ? QVariant::fromValue(mSignals[index.row()]) : QVariant();
}

bool CANViewTableModel::isValid(const TableModelIndex& index) const
{
    return index.section() == 1 && index.row() >= 0 && index.row() < mSignals.size();
}

void CANViewTableModel::addItem(CANSignalNode* signal, bool append)
{
    if (!signal || mSignals.contains(signal))
        return;
    if (append)
        mSignals.append(signal);
    else
        mSignals.prepend(signal);
    CANDataManager::startCapture(signal);
    emit modelItemCountChanged();
}

void CANViewTableModel::removeItemAt(const TableModelIndex& index)
{
    if (!isValid(index))
        return;
    CANSignalNode* signal = mSignals.takeAt(index.row());
    CANDataManager::stopCapture(signal);
    emit modelItemCountChanged();
}

void CANViewTableModel::clearItems()
{
    for (CANSignalNode* signal : qAsConst(mSignals))
        CANDataManager::stopCapture(signal);
    mSignals.clear();
    emit modelItemCountChanged();
}

void CANViewTableModel::CANDataRefreshed()
{
    if (!mSignals.isEmpty())
        emit modelItemCountChanged();
}

void CANViewTableModel::checkCapture()
{
    if (!mSignals.isEmpty())
        CANDataManager::ensureCaptureIsActive();
}
