#pragma once

#include "views/table/TableCell.h"

class TableRenderer;

// A cell drawn by a renderer instead of by itself: the cell brings touch handling, reuse and
// the row's state, the renderer the look. The renderer is not owned. A controller that wants
// scripts to find such rows by text gives the cell a label as well.
class ORVANE_EXPORT TableCellRendererAdapter : public TableCell {
    Q_OBJECT
public:
    TableCellRendererAdapter(TableView* table, TableRenderer* renderer, int kind = Plain,
                             int cacheKey = DefaultCacheKey);

    TableRenderer* renderer() const { return mRenderer; }
    void draw(QPainter& painter) override;
    // The renderer's text of the row (TableRenderer::textForItem) joins the dump.
    void dumpProperties(QJsonObject& out) const override;

private:
    TableRenderer* mRenderer;
};
