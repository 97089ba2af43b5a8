#pragma once

#include "OrvaneExport.h"

#include <QMetaType>

// A row or a section header of one table. The path is the item the table lists the children
// of (null for the top table); what it points to is the model's business. Sections count
// from 1, rows from 0; a negative row stands for the section's header.
class ORVANE_EXPORT TableModelIndex {
public:
    TableModelIndex() = default;
    TableModelIndex(void* path, int section, int row)
        : mPath(path)
        , mSection(section)
        , mRow(row)
    {
    }

    void* path() const { return mPath; }
    int section() const { return mSection; }
    int row() const { return mRow; }

    // A row of some section (not a header, not the default index).
    bool isValid() const { return mSection >= 1 && mRow >= 0; }
    bool isSectionHeader() const { return mSection >= 1 && mRow < 0; }

    bool operator==(const TableModelIndex& other) const
    {
        return mPath == other.mPath && mSection == other.mSection && mRow == other.mRow;
    }
    bool operator!=(const TableModelIndex& other) const { return !(*this == other); }
    // Table order within a path: by section, the header before the rows.
    bool operator<(const TableModelIndex& other) const;

private:
    void* mPath = nullptr;
    int mSection = 0;
    int mRow = -1;
};

ORVANE_EXPORT uint qHash(const TableModelIndex& index, uint seed = 0);

Q_DECLARE_METATYPE(TableModelIndex)
