#include "views/table/TableModelIndex.h"

#include <QHash>

#include <functional>

namespace {
// Queued connections and signal spies need the type by name.
[[maybe_unused]] const int gMetaTypeId = qRegisterMetaType<TableModelIndex>("TableModelIndex");
} // namespace

bool TableModelIndex::operator<(const TableModelIndex& other) const
{
    if (mPath != other.mPath)
        return std::less<void*>()(mPath, other.mPath);
    if (mSection != other.mSection)
        return mSection < other.mSection;
    return mRow < other.mRow;
}

uint qHash(const TableModelIndex& index, uint seed)
{
    return qHash(quintptr(index.path()), seed) ^ qHash((uint(index.section()) << 20) ^ uint(index.row()), seed);
}
