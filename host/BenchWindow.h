#pragma once

#include <QHash>
#include <QWidget>

class BenchHost;
class DataValue;
class QTableWidget;
class QListWidget;

// The bench on screen: the car's display, and beside it the data values with their pending
// requests (double-click a value to change it) and the journal of platform requests.
class BenchWindow : public QWidget {
    Q_OBJECT
public:
    explicit BenchWindow(BenchHost* host);

private:
    void showValue(DataValue* value);
    void valueEdited(int row, int column);

    BenchHost* mHost;
    QTableWidget* mValues;
    QListWidget* mJournal;
    QHash<DataValue*, int> mRows;
    bool mFilling = false;
};
