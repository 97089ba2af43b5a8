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

struct MultiTableView::Private {
    TableModel* model;
    TableController* controller;
    int rowHeight;
    KineticScroller* scroller;
    std::vector<std::unique_ptr<Level>> levels;
};

MultiTableView::MultiTableView(DisplayView* parent, TableModel* model, TableController* controller, int rowHeight)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
    d->model = model;
    d->controller = controller;
    d->rowHeight = rowHeight;
    d->scroller = new KineticScroller(this);
    // The scroller only animates the offset; the stack decides where it may rest.
    d->scroller->setBounds(QPointF(0, 0), QPointF(1e9, 0));
    connect(d->scroller, &KineticScroller::offsetChanged, this, &MultiTableView::layoutTables);
}

MultiTableView::~MultiTableView() = default;

const MultiTableView::Path& MultiTableView::path(void* tablePath)
{
    static const Path empty;
    return tablePath ? *static_cast<const Path*>(tablePath) : empty;
}

int MultiTableView::depth() const
{
    return int(d->levels.size()) - 1;
}

KineticScroller* MultiTableView::scroller() const
{
    return d->scroller;
}

TableView* MultiTableView::createTable(int tag, const TableModelIndex& parent, qreal widthPercent)
{
    auto level = std::make_unique<Level>();
    level->tag = tag;
    level->widthPercent = qBound<qreal>(1, widthPercent, 100);
    if (parent.isValid()) {
        int parentDepth = -1;
        for (size_t i = 0; i < d->levels.size(); ++i) {
            if (&d->levels[i]->path == parent.path())
                parentDepth = int(i);
        }
        if (parentDepth < 0) {
            Logger(this, "WARN") << "no table here holds row" << parent.section() << parent.row() << "; no table made";
            return nullptr;
        }
        dropBelow(parentDepth);
        level->path = d->levels.back()->path;
        level->path.append(flatRow(parent));
    } else {
        dropBelow(-1);
    }
    // Placed right of the others, the new table slides in from the right edge.
    auto* table = new TableView(this, d->model, d->controller, &level->path, d->rowHeight);
    level->table = table;
    d->levels.push_back(std::move(level));
    // Read again now that the controller can ask for the table's tag and depth.
    table->reloadData();
    slideToRest(PushSlideMs);
    emit leftTableChanged(leftTable());
    return table;
}

void MultiTableView::showTable(int depth, qreal animationSeconds)
{
    if (d->levels.empty())
        return;
    dropBelow(qBound(0, depth, this->depth()));
    slideToRest(qRound(animationSeconds * 1000));
    emit leftTableChanged(leftTable());
}

void MultiTableView::dropBelow(int depth)
{
    while (this->depth() > depth) {
        // The table may be handling the tap that dropped it: it goes once that is done.
        TableView* table = d->levels.back()->table;
        table->hide();
        table->deleteLater();
        d->levels.pop_back();
    }
}

TableView* MultiTableView::tableAt(int depth) const
{
    return depth >= 0 && depth < int(d->levels.size()) ? d->levels[size_t(depth)]->table : nullptr;
}

int MultiTableView::depthOf(const TableView* table) const
{
    for (size_t i = 0; i < d->levels.size(); ++i) {
        if (d->levels[i]->table == table)
            return int(i);
    }
    return -1;
}

int MultiTableView::tagOf(const TableView* table) const
{
    const int depth = depthOf(table);
    return depth < 0 ? -1 : d->levels[size_t(depth)]->tag;
}

TableView* MultiTableView::leftTable() const
{
    const int rest = restingOffset();
    int right = 0;
    for (const auto& l : d->levels) {
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
    for (const auto& l : d->levels)
        total += widthOf(*l);
    return qMax(0, total - width());
}

void MultiTableView::slideToRest(int durationMs)
{
    d->scroller->scrollTo(QPointF(restingOffset(), 0), durationMs);
    layoutTables();
}

void MultiTableView::layoutTables()
{
    const int offset = qRound(d->scroller->offset().x());
    int left = 0;
    for (const auto& l : d->levels) {
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
    d->scroller->setOffset(QPointF(restingOffset(), 0));
    layoutTables();
}

int MultiTableView::flatRow(const TableModelIndex& index) const
{
    int row = index.row();
    for (int s = 1; s < index.section(); ++s)
        row += d->model->sectionItemCount(TableModelIndex(index.path(), s, 0));
    return row;
}

void MultiTableView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("depth"), depth());
}
