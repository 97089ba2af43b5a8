#pragma once

#include "views/DisplayView.h"
#include "views/table/TableModelIndex.h"

#include <QStaticText>
#include <QVariant>
#include <memory>

class TableView;

// The view of one visible row or section header of a table, made by the table's controller.
// A table keeps the cells of rows scrolled out of sight and hands them back by cache key
// (TableView::dequeueReusableCell), so a long list needs only as many cells as fit.
class ORVANE_EXPORT TableCell : public DisplayView {
    Q_OBJECT
public:
    // How the cell draws itself; other numbers draw as Plain for controllers that draw more.
    // An Action row does something at once when tapped (adds an item) instead of opening
    // another list, and shows a plus at its end.
    enum Kind { Plain = 0, Header = 1, Action = 5 };
    enum CacheKey { DefaultCacheKey = 0, HeaderCacheKey = 1 };

    explicit TableCell(TableView* table, int kind = Plain, int cacheKey = DefaultCacheKey);
    ~TableCell() override;

    TableView* table() const;
    int kind() const;
    int cacheKey() const;
    // The row the cell shows now; the table sets it.
    TableModelIndex index() const;

    // Rich text (a subset of HTML) or plain text.
    QString label() const;
    void setLabel(const QString& label);
    // Text size in pixels; 0 is the size of the cell's kind.
    void setTextPixelSize(int pixels);

    // The label without markup: what scripts and dumps know the row by.
    QString plainLabel() const;

    bool isSelected() const;
    bool isPressed() const;
    // TableRenderer::State flags.
    int state() const;

    void draw(QPainter& painter) override;
    bool touchEvent(const TouchEvent& event) override;
    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

public slots:
    void resized() override;

private:
    friend class TableView;
    void setIndex(const TableModelIndex& index);
    void setSelected(bool selected);
    void setPressed(bool pressed);
    void forgetTouch();
    // Under a finger that may still become a tap.
    bool isHeld() const;
    // What the row showed when the finger came down: a reload keeps the cell only for it.
    QVariant heldItem() const;

    struct Private;
    std::unique_ptr<Private> d;
};
