#include "diag/can/CANView.h"

#include "core/Logger.h"
#include "core/PendingSaves.h"
#include "diag/can/CANDataModel.h"
#include "diag/can/CANSelectionFile.h"
#include "diag/can/CANSelectorTableController.h"
#include "diag/can/CANSelectorTableModel.h"
#include "diag/can/CANViewTableController.h"
#include "diag/can/CANViewTableModel.h"
#include "services/FontManager.h"
#include "services/Skin.h"
#include "core/AtomicFile.h"
#include "services/StorageUtils.h"
#include "views/BorderImageView.h"
#include "views/ButtonView.h"
#include "views/table/MultiTableView.h"
#include "views/table/TableView.h"

#include <QFontMetrics>
#include <QJsonObject>
#include <QPainter>

namespace {
constexpr int HeaderHeight = 112;
constexpr int RefreshMs = 100;
constexpr int SelectedRowHeight = 80;
constexpr int OverlayBorder = 30;
} // namespace

CANView::CANView(DisplayView* parent, AppInfo* appInfo, bool showAll)
    : DisplayView(parent)
    , mHeaderFont(FontManager::instance()->defaultFont())
{
    mHeaderFont.setPixelSize(25);

    mSelectedModel = new CANViewTableModel(this);
    mSelectedController = new CANViewTableController(mSelectedModel, this);
    mRightTable = new TableView(this, mSelectedModel, mSelectedController, nullptr, SelectedRowHeight);

    mDataModel = new CANDataModel(appInfo, showAll, this);
    mSelectorModel = new CANSelectorTableModel(mDataModel, this);
    mSelectorController = new CANSelectorTableController(mSelectorModel, mRightTable, mDataModel, this);
    mLeftTables = new MultiTableView(this, mSelectorModel, mSelectorController);
    connect(mLeftTables, &MultiTableView::leftTableChanged, this, &CANView::leftTableChanged);
    mSelectorController->setTableView(mLeftTables);
    mSelectorController->createFirstTable(mLeftTables);

    mBackButton = new ButtonView(this, Style(), QString());
    mBackButton->setImage(QStringLiteral("canview/back.png"));
    // Image buttons have no label: a name lets dumps and scripts tell them apart.
    mBackButton->setObjectName(QStringLiteral("CAN BACK"));
    mBackButton->resize(100, 100);
    mBackButton->moveTo(0, 0);
    connect(mBackButton, &ControlBase::tapped, this, &CANView::backPressed);

    mClearButton = new ButtonView(this, Style(), QString());
    mClearButton->setImage(QStringLiteral("canview/clear.png"));
    mClearButton->setObjectName(QStringLiteral("CAN CLEAR"));
    mClearButton->resize(100, 100);
    connect(mClearButton, &ControlBase::tapped, this, &CANView::clearPressed);

    mHeaderHeight = HeaderHeight;
    mBackButton->resize(mHeaderHeight, mHeaderHeight);
    mClearButton->resize(mHeaderHeight, mHeaderHeight);

    connect(&mRefreshTimer, &QTimer::timeout, this, &CANView::refreshData);
    mRefreshTimer.setInterval(RefreshMs);
    mRefreshTimer.start();

    loadSettings();
    mRightTable->reloadData();

    mSaveTimer.setSingleShot(true);
    mSaveTimer.setInterval(0);
    connect(&mSaveTimer, &QTimer::timeout, this, &CANView::saveSettings);
    connect(mSelectedModel, &TableModel::modelItemCountChanged, &mSaveTimer, qOverload<>(&QTimer::start));
    PendingSaves::add(this, [this] {
        if (mSaveTimer.isActive())
            saveSettings();
    });

    auto* overlay = new BorderImageView(
        this, {QStringLiteral("tabselector/container_overlay.png"), QStringLiteral("tabselector/container_corners.png")},
        OverlayBorder);
    overlay->setAutoResizeToParent(true);
}

CANView::~CANView()
{
    PendingSaves::remove(this);
    // A change made in the last turn of the loop is not lost with the view.
    if (mSaveTimer.isActive())
        saveSettings();
}

QString CANView::selectionFilePath()
{
    return StorageUtils::dataFolder() + QStringLiteral("/canViewer.txt");
}

void CANView::clearRightTable()
{
    mSelectedModel->clearItems();
}

void CANView::tick1s()
{
    mSelectedModel->checkCapture();
}

void CANView::refreshData()
{
    // Off screen (another page, or the app hidden) nothing is drawn, so nothing is asked.
    if (isShown())
        mSelectedModel->CANDataRefreshed();
}

void CANView::backPressed()
{
    mSelectorController->backPressed();
    update();
}

void CANView::clearPressed()
{
    mSelectedModel->clearItems();
    update();
}

void CANView::leftTableChanged(TableView* table)
{
    const MultiTableView::Path& path = MultiTableView::path(table ? table->path() : nullptr);
    switch (path.size()) {
    case 0:
        mLeftTitle = QStringLiteral("Busses");
        break;
    case 1:
        mLeftTitle = QStringLiteral("%1 Messages").arg(mDataModel->getBusName(path[0]));
        break;
    default:
        mLeftTitle = QStringLiteral("%1:%2").arg(mDataModel->getBusName(path[0]), mDataModel->getMessageName(path[0], path[1]));
        break;
    }
    update();
}

void CANView::loadSettings()
{
    AtomicFile::removeLeftovers(selectionFilePath());
    const QByteArray text = CANSelectionFile::read(selectionFilePath());
    if (text.isNull())
        return;
    int skipped = 0;
    const QVector<CANSignalNode*> found = CANSelectionFile::parse(text, &skipped);
    if (skipped > 0)
        Logger(this, "INFO") << "CAN selection:" << skipped << "saved entries name no signal of this catalogue; left out";
    mBackUpBeforeSaving = skipped > 0;
    {
        // One redraw for the whole list, after it is read.
        const QSignalBlocker quiet(mSelectedModel);
        for (CANSignalNode* signal : found)
            mSelectedModel->addItem(signal, true);
    }
    mSavedSignals = mSelectedModel->modelSignals();
}

void CANView::saveSettings()
{
    mSaveTimer.stop();
    const QVector<CANSignalNode*> current = mSelectedModel->modelSignals();
    // The table is redrawn through the same notification ten times a second.
    if (current == mSavedSignals)
        return;
    QString error;
    // The entries left out at load may only be a catalogue given by mistake: the file that
    // has them is kept before the first save drops them.
    if (mBackUpBeforeSaving) {
        if (!CANSelectionFile::backUp(selectionFilePath(), &error)) {
            Logger(this, "WARN") << "CAN selection not saved: its entries this catalogue lacks could not be kept:" << error;
            return;
        }
        Logger(this, "INFO") << "CAN selection: the file with the entries this catalogue lacks is kept as"
                             << selectionFilePath() + QStringLiteral(".bak");
        mBackUpBeforeSaving = false;
    }
    if (!CANSelectionFile::write(selectionFilePath(), current, &error)) {
        Logger(this, "WARN") << "CAN selection not saved to" << selectionFilePath() << ":" << error;
        return;
    }
    mSavedSignals = current;
}

void CANView::resized()
{
    DisplayView::resized();
    const int half = width() / 2;
    const int below = qMax(0, height() - mHeaderHeight);
    mLeftTables->setGeometry(QRect(0, mHeaderHeight, half, below));
    mRightTable->setGeometry(QRect(half, mHeaderHeight, half, below));
    // The clear button opens the right half's header.
    mClearButton->moveTo(half, 0);
}

void CANView::draw(QPainter& painter)
{
    const int w = width();
    painter.fillRect(rect(), QColor(0x16, 0x19, 0x1e));
    // Read when first drawn: a viewer nobody opened decodes no image.
    Skin::drawBorderImage(painter, QRect(0, 0, w, mHeaderHeight), Skin::image(QStringLiteral("canview/header.png")),
                          OverlayBorder / 2);

    painter.setFont(mHeaderFont);
    painter.setPen(Skin::textColor());
    const QFontMetrics metrics(mHeaderFont);
    const QString title = metrics.elidedText(mLeftTitle, Qt::ElideRight, qMax(0, w / 2 - mHeaderHeight));
    const int titleWidth = metrics.horizontalAdvance(title);
    // Centred in the left half unless that would run under the back button.
    const int x = titleWidth / 2 <= w / 4 - mHeaderHeight ? w / 4 - titleWidth / 2 : mHeaderHeight;
    painter.drawText(QRect(x, 0, titleWidth + 1, mHeaderHeight), Qt::AlignLeft | Qt::AlignVCenter, title);
    painter.drawText(QRect(w / 2, 0, w - w / 2, mHeaderHeight), Qt::AlignCenter, QStringLiteral("Selected Signals"));
}

void CANView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("title"), mLeftTitle);
}
