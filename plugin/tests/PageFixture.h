#pragma once

// A page in a car's window with a display, driven by touches as a finger gives them.
#include "core/DataValue.h"
#include "services/PlatformJournal.h"
#include "views/AppWindow.h"
#include "views/popup/OverlayView.h"
#include "views/table/TableCell.h"
#include "Screen.h"

#include <gtest/gtest.h>
#include <memory>

class PageFixture : public ::testing::Test, protected Screen<AppWindow> {
protected:
    PageFixture() { PlatformJournal::instance()->clear(); }
    ~PageFixture() override
    {
        // Before the pages their popups may call back.
        closePopups();
        pages.clear();
        drainEvents();
    }

    // Places the page where the diagnostic app shows its pages.
    template <typename Page>
    Page* place(Page* page)
    {
        page->setGeometry(QRect(32, 52, 1856, 1028));
        pages.emplace_back(page);
        return page;
    }
    // Places the page and shows it.
    template <typename Page>
    Page* show(Page* page)
    {
        place(page)->pageShown();
        drainEvents();
        return page;
    }
    template <typename Page>
    Page* show()
    {
        return show(new Page(&root));
    }

    template <typename View = DisplayView>
    static View* labelled(const DisplayView* under, const QString& text)
    {
        for (View* v : under->findChildren<View*>()) {
            if (v->describe() == text)
                return v;
        }
        return nullptr;
    }

    void tap(const DisplayView* view)
    {
        ASSERT_TRUE(view);
        display.tap(view->rootGeometry().center());
        drainEvents();
    }

    // Opens a picker through its face and taps the row with this text; false when no list
    // opened or it shows no such row.
    bool choose(const DisplayView* face, const QString& row)
    {
        tap(face);
        for (TableCell* cell : theCenterDisplay->overlay()->findChildren<TableCell*>()) {
            if (cell->isShown() && cell->describe() == row) {
                tap(cell);
                return true;
            }
        }
        return false;
    }

    // The car's state before a test: valid, as the text says, no request waiting.
    static void carHas(DataValue& value, const QString& text)
    {
        DataValue::EventLocker lock(value);
        value.revertPendingNoLock();
        value.setValidNoLock(true);
        value.setFromString(text);
    }

    static void setValid(DataValue& value, bool valid)
    {
        DataValue::EventLocker lock(value);
        value.setValidNoLock(valid);
    }

    // The request waiting for the car, or "none".
    static QString pendingText(const DataValue& value)
    {
        DataValue::ConditionalLocker lock(value);
        return value.hasPending() ? value.textOf(value.pendingVariant()) : QStringLiteral("none");
    }

    std::vector<std::unique_ptr<DisplayView>> pages;
};
