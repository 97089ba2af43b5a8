#pragma once

#include "views/table/TableView.h"

#include <QStringList>

#include <memory>

class DropDownPickerStringTableModel;

// A list of texts to touch: one section of rows that scrolls with momentum. A tap on a row
// chooses it.
class ORVANE_EXPORT ListView : public TableView {
    Q_OBJECT
public:
    explicit ListView(DisplayView* parent, const QStringList& items = {});
    ~ListView() override;

    QStringList items() const;
    // Rows as tall as `rowsInView` of them fill the list, with text `textPixelSize` high.
    void setScaleFactor(int rowsInView, int textPixelSize);
    int rowsInView() const;
    int textPixelSize() const;

public slots:
    void resized() override;

signals:
    void itemChosen(int row, const QString& text);

private:
    class Controller;
    void fitRows();

    struct Private;
    std::unique_ptr<Private> d;
};
