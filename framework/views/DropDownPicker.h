#pragma once

#include "views/ControlBase.h"
#include "views/table/TableModel.h"
#include "views/table/TableModelIndex.h"

#include <QPointer>
#include <QStringList>
#include <memory>

class ButtonView;
class PopupView;
class TableView;

// A closed picker shows its current choice on a button-like face with a down arrow. A tap
// opens the list of choices in the overlay, under the face or above it when there is more
// room there; a tap on an enabled row chooses it, closes the list and emits itemSelected. A
// touch anywhere else closes the list without choosing.
class ORVANE_EXPORT DropDownPicker : public ControlBase {
    Q_OBJECT
public:
    // Looks. 1: the settings form's picker (60 px face and rows, 24 px text); other styles fall
    // back to it.
    enum { SettingsPickerStyle = 1 };

    // `model` lists the choices (a DropDownPickerStringTableModel over `choices` is made when
    // it is null; one given must list the same texts, in section 1). `button`, when given, is
    // the face instead of the picker's own: it opens the list, shows the choice where it
    // stands and is enabled with the picker; the picker itself takes no room and leaves its
    // label to the face, so a script taps what the user sees.
    DropDownPicker(DisplayView* parent, const QStringList& choices, int index, int width, int pickerStyle,
                   TableModel* model = nullptr, ButtonView* button = nullptr);
    ~DropDownPicker() override;

    QStringList choices() const;
    TableModel* model() const;
    int pickerStyle() const;
    int choiceIndex() const;
    // An index outside the choices (-1) chooses nothing: the face goes blank.
    void setChoiceIndex(int index);
    // The current choice's text; empty when nothing is chosen.
    QString choiceText() const;

    // A scrollable list shows at most maxItemsToDisplay rows and scrolls through the rest; a
    // fraction shows part of a row, as a hint that there is more. Otherwise the list shows
    // every row that fits on the display.
    void setScrollable(bool on);
    bool isScrollable() const;
    void setMaxItemsToDisplay(qreal items);
    qreal maxItemsToDisplay() const;

    // What a finger taps to open the list: the given button, or the picker itself.
    DisplayView* face() const;
    bool isOpen() const;
    // The open (or last opened) list; null before the first opening.
    TableView* listView() const;

    void draw(QPainter& painter) override;
    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

public slots:
    void openList();
    void closeList();

signals:
    void itemSelected(const TableModelIndex& index);

protected:
    void activated() override { openList(); }

private slots:
    void rowTapped(TableView* table, const TableModelIndex& index);

private:
    int rowHeight() const;
    void syncListSelection();

    struct Private;
    std::unique_ptr<Private> d;
};
