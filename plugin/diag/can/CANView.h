#pragma once

#include "views/DisplayView.h"

#include <QFont>
#include <QTimer>
#include <QVector>

class AppInfo;
class ButtonView;
class CANDataModel;
class CANSelectorTableController;
class CANSelectorTableModel;
class CANSignalNode;
class CANViewTableController;
class CANViewTableModel;
class MultiTableView;
class TableView;

// The CAN viewer: the signal picker on the left, the selected signals with their live values
// on the right, under a header with a back and a clear button. Values are drawn again ten
// times a second while the view is on screen; the selection is saved to "canViewer.txt" in
// the data folder whenever it changes and read back when the view is made.
class CANView : public DisplayView {
    Q_OBJECT
public:
    CANView(DisplayView* parent, AppInfo* appInfo, bool showAll);
    ~CANView() override;

    // Empties the selected signals (and so the saved selection).
    void clearRightTable();
    // The page's once-a-second hook.
    void tick1s();

    CANDataModel* dataModel() const { return mDataModel; }
    CANViewTableModel* selectedModel() const { return mSelectedModel; }
    TableView* rightTable() const { return mRightTable; }
    MultiTableView* leftTables() const { return mLeftTables; }
    QTimer* refreshTimer() { return &mRefreshTimer; }
    QString leftTitle() const { return mLeftTitle; }
    int headerHeight() const { return mHeaderHeight; }
    static QString selectionFilePath();

    void draw(QPainter& painter) override;
    // The left title tells scripts where the picker is.
    QString describe() const override { return mLeftTitle; }
    void dumpProperties(QJsonObject& out) const override;

public slots:
    void leftTableChanged(TableView* table);
    void clearPressed();
    void refreshData();
    void loadSettings();
    void saveSettings();
    void backPressed();
    void resized() override;

private:
    QFont mHeaderFont;
    CANViewTableModel* mSelectedModel;
    CANViewTableController* mSelectedController;
    TableView* mRightTable;
    CANDataModel* mDataModel;
    CANSelectorTableModel* mSelectorModel;
    CANSelectorTableController* mSelectorController;
    MultiTableView* mLeftTables;
    ButtonView* mBackButton;
    ButtonView* mClearButton;
    QTimer mRefreshTimer;
    // Many changes in one turn of the loop (adding a whole message) are saved once.
    QTimer mSaveTimer;
    // What the file holds now, as far as this view knows: nothing is written for a list
    // that did not change.
    QVector<CANSignalNode*> mSavedSignals;
    // The file held entries the catalogue lacks: it is kept as canViewer.txt.bak before the
    // first save drops them.
    bool mBackUpBeforeSaving = false;
    int mHeaderHeight = 0;
    QString mLeftTitle;
};
