#pragma once

#include "views/table/TableView.h"

#include <QStringList>

class DropDownPickerStringTableModel;

// A list of texts to touch: one section of rows that scrolls with momentum. A tap on a row
// chooses it.
class ORVANE_EXPORT ListView : public TableView {
    Q_OBJECT
public:
    explicit ListView(DisplayView* parent, const QStringList& items = {});

    QStringList items() const;
    // Rows as tall as `rowsInView` of them fill the list, with text `textPixelSize` high.
    void setScaleFactor(int rowsInView, int textPixelSize);
    int rowsInView() const { return mRowsInView; }
    int textPixelSize() const { return mTextPixelSize; }

public slots:
    void resized() override;

signals:
    void itemChosen(int row, const QString& text);

private:
    class Controller;
    void fitRows();

    DropDownPickerStringTableModel* mItems;
    int mRowsInView = 0; // 0 keeps the table's row height
    int mTextPixelSize = 0;
};
