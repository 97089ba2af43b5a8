#include "views/table/MultiTableView.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"
#include "views/table/TableModel.h"
#include "views/table/TableView.h"

#include <QJsonObject>

namespace {
constexpr int PushSlideMs = 250;
} // namespace

struct MultiTableView::Level {
    TableView* table = nullptr;
    int tag = 0;
    qreal widthPercent = 100;
    Path path;
};

MultiTableView::MultiTableView(DisplayView* parent, TableModel* model, TableController* controller, int rowHeight)
    : DisplayView(parent)
    , mModel(model)
    , mController(controller)
    , mRowHeight(rowHeight)
    , mScroller(new KineticScroller(this))
{
    // The scroller only animates the offset; the stack decides where it may rest.
    mScroller->setBounds(QPointF(0, 0), QPointF(1e9, 0));
    connect(mScroller, &KineticScroller::offsetChanged, this, &MultiTableView::layoutTables);
}

MultiTableView::~MultiTableView() = default;

const MultiTableView::Path& MultiTableView::path(void* tablePath)
{
    static const Path empty;
    return tablePath ? *static_cast<const Path*>(tablePath) : empty;
}

TableView* MultiTableView::createTable(int tag, const TableModelIndex& parent, qreal widthPercent)
{
    auto level = std::make_unique<Level>();
    level->tag = tag;
    level->widthPercent = qBound<qreal>(1, widthPercent, 100);
    if (parent.isValid()) {
        int parentDepth = -1;
        for (size_t i = 0; i < mLevels.size(); ++i) {
            if (&mLevels[i]->path == parent.path())
                parentDepth = int(i);
        }
        if (parentDepth < 0) {
            Logger(this, "WARN") << "no table here holds row" << parent.section() << parent.row() << "; no table made";
            return nullptr;
        }
        dropBelow(parentDepth);
        level->path = mLevels.back()->path;
        level->path.append(flatRow(parent));
    } else {
        dropBelow(-1);
    }
    // Placed right of the others, the new table slides in from the right edge.
    auto* table = new TableView(this, mModel, mController, &level->path, mRowHeight);
    level->table = table;
    mLevels.push_back(std::move(level));
    // Read again now that the controller can ask for the table's tag and depth.
    table->reloadData();
    slideToRest(PushSlideMs);
    emit leftTableChanged(leftTable());
    return table;
}

void MultiTableView::showTable(int depth, qreal animationSeconds)
{
    if (mLevels.empty())
        return;
    dropBelow(qBound(0, depth, this->depth()));
    slideToRest(qRound(animationSeconds * 1000));
    emit leftTableChanged(leftTable());
}

void MultiTableView::dropBelow(int depth)
{
    while (this->depth() > depth) {
        // The table may be handling the tap that dropped it: it goes once that is done.
        TableView* table = mLevels.back()->table;
        table->hide();
        table->deleteLater();
        mLevels.pop_back();
    }
}

TableView* MultiTableView::tableAt(int depth) const
{
    return depth >= 0 && depth < int(mLevels.size()) ? mLevels[size_t(depth)]->table : nullptr;
}

int MultiTableView::depthOf(const TableView* table) const
{
    for (size_t i = 0; i < mLevels.size(); ++i) {
        if (mLevels[i]->table == table)
            return int(i);
    }
    return -1;
}

int MultiTableView::tagOf(const TableView* table) const
{
    const int d = depthOf(table);
    return d < 0 ? -1 : mLevels[size_t(d)]->tag;
}

TableView* MultiTableView::leftTable() const
{
    const int rest = restingOffset();
    int right = 0;
    for (const auto& l : mLevels) {
        right += widthOf(*l);
        if (right > rest)
            return l->table;
    }
    return nullptr;
}

int MultiTableView::widthOf(const Level& level) const
{
    return qRound(width() * level.widthPercent / 100.0);
}

int MultiTableView::restingOffset() const
{
    int total = 0;
    for (const auto& l : mLevels)
        total += widthOf(*l);
    return qMax(0, total - width());
}

void MultiTableView::slideToRest(int durationMs)
{
    mScroller->scrollTo(QPointF(restingOffset(), 0), durationMs);
    layoutTables();
}

void MultiTableView::layoutTables()
{
    const int offset = qRound(mScroller->offset().x());
    int left = 0;
    for (const auto& l : mLevels) {
        const int w = widthOf(*l);
        l->table->setGeometry(QRect(left - offset, 0, w, height()));
        // Out of sight means out of reach: no painting, no touches, not found by scripts.
        l->table->show(left + w > offset && left < offset + width());
        left += w;
    }
    update();
}

void MultiTableView::resized()
{
    DisplayView::resized();
    mScroller->setOffset(QPointF(restingOffset(), 0));
    layoutTables();
}

int MultiTableView::flatRow(const TableModelIndex& index) const
{
    int row = index.row();
    for (int s = 1; s < index.section(); ++s)
        row += mModel->sectionItemCount(TableModelIndex(index.path(), s, 0));
    return row;
}

void MultiTableView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("depth"), depth());
}
