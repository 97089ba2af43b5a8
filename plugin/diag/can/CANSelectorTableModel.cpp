#include "diag/can/CANSelectorTableModel.h"

#include "diag/can/CANDataModel.h"
#include "services/LocaleManager.h"
#include "views/table/MultiTableView.h"

#include <functional>

namespace {

// Sections of neighbours with one grouping letter, over `count` titles from row `first` on.
void groupRows(int first, int count, const std::function<QString(int)>& title, QList<CANSelectorTableModel::Section>* sections,
               QChar previous)
{
    for (int i = 0; i < count; ++i) {
        const QChar g = LocaleManager::groupingCharForTitle(title(i));
        if (!sections->isEmpty() && g == previous)
            ++sections->last().second;
        else
            sections->append({first + i, 1});
        previous = g;
    }
}

} // namespace

CANSelectorTableModel::CANSelectorTableModel(CANDataModel* data, QObject* parent)
    : TableModel(parent)
    , mData(data)
{
}

QString CANSelectorTableModel::addAllTitle()
{
    return QStringLiteral("ADD ALL SIGNALS");
}

void CANSelectorTableModel::createRolodexedTree(void* parent)
{
    const MultiTableView::Path& path = MultiTableView::path(parent);
    if (mBuses.isEmpty()) {
        const int buses = mData->getBusCount();
        mBuses.reserve(buses);
        groupRows(0, buses, [this](int i) { return mData->getBusName(i); }, &mBusSections, QChar());
        for (int i = 0; i < buses; ++i)
            mBuses.append(CANTreeEntry());
    }
    if (path.size() < 1)
        return;
    const int b = path[0];
    CANTreeEntry& bus = mBuses[b];
    if (bus.children.isEmpty()) {
        const int messages = mData->getMessageCount(b);
        groupRows(0, messages, [this, b](int m) { return mData->getMessageName(b, m); }, &bus.sections, QChar());
        for (int m = 0; m < messages; ++m)
            bus.children.append(CANTreeEntry());
    }
    if (path.size() != 2)
        return;
    const int m = path[1];
    CANTreeEntry& message = bus.children[m];
    if (!message.sections.isEmpty())
        return;
    // The add-all row opens the list and files under 'A': a first signal under 'A' joins it.
    message.sections.append({0, 1});
    const int signalCount = mData->getSignalCount(b, m);
    groupRows(1, signalCount, [this, b, m](int s) { return mData->getSignalName(b, m, s); }, &message.sections,
              LocaleManager::groupingCharForTitle(addAllTitle()));
    for (int s = 0; s < signalCount; ++s)
        message.children.append(CANTreeEntry());
}

const QList<CANSelectorTableModel::Section>* CANSelectorTableModel::sectionsFor(void* parent)
{
    const MultiTableView::Path& path = MultiTableView::path(parent);
    if (path.size() > 2)
        return nullptr;
    createRolodexedTree(parent);
    if (path.isEmpty())
        return &mBusSections;
    if (path.size() == 1)
        return &mBuses[path[0]].sections;
    return &mBuses[path[0]].children[path[1]].sections;
}

int CANSelectorTableModel::sectionCount(void* parent)
{
    const QList<Section>* sections = sectionsFor(parent);
    return sections ? sections->size() : 0;
}

int CANSelectorTableModel::sectionItemCount(const TableModelIndex& index)
{
    const QList<Section>* sections = sectionsFor(index.path());
    if (!sections || index.section() < 1 || index.section() > sections->size())
        return 0;
    return sections->at(index.section() - 1).second;
}

int CANSelectorTableModel::positionOf(const TableModelIndex& index)
{
    const QList<Section>* sections = sectionsFor(index.path());
    if (!sections || index.section() < 1 || index.section() > sections->size())
        return -1;
    const Section& section = sections->at(index.section() - 1);
    if (index.row() < 0 || index.row() >= section.second)
        return -1;
    const int row = section.first + index.row();
    return MultiTableView::path(index.path()).size() == 2 ? row - 1 : row;
}

QVariant CANSelectorTableModel::item(const TableModelIndex& index)
{
    const MultiTableView::Path& path = MultiTableView::path(index.path());
    const int position = positionOf(index);
    switch (path.size()) {
    case 0:
        return position < 0 ? QString() : mData->getBusName(position);
    case 1:
        return position < 0 ? QString() : mData->getMessageName(path[0], position);
    case 2:
        if (index.section() == 1 && index.row() == 0)
            return addAllTitle();
        return position < 0 ? QString() : mData->getSignalName(path[0], path[1], position);
    default:
        return QString();
    }
}

QString CANSelectorTableModel::titleForSection(const TableModelIndex& index)
{
    return LocaleManager::groupingStringForTitle(item(TableModelIndex(index.path(), index.section(), 0)).toString());
}

CANSignalNode* CANSelectorTableModel::canItem(const TableModelIndex& index)
{
    const MultiTableView::Path& path = MultiTableView::path(index.path());
    if (path.size() != 2)
        return nullptr;
    const int position = positionOf(index);
    return position < 0 ? nullptr : mData->getSignal(path[0], path[1], position);
}
