#pragma once

#include <QWidget>

class BenchHost;
class QTableWidget;
class QListWidget;

// The bench on screen: the car's display, and beside it the data values (double-click a
// value to change it) and the journal of platform requests.
class BenchWindow : public QWidget {
    Q_OBJECT
public:
    explicit BenchWindow(BenchHost* host);

private:
    void fillValues();
    void valueEdited(int row, int column);

    BenchHost* mHost;
    QTableWidget* mValues;
    QListWidget* mJournal;
    bool mFilling = false;
};
