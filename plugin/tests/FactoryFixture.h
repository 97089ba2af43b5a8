#pragma once

// A car's window and display for the factory page and its controls, with the car's values
// back at the bench's defaults before every test and touches delivered as a finger gives them.
#include "core/DataValues.h"
#include "display/DisplayDevice.h"
#include "services/CenterDisplay.h"
#include "services/PlatformJournal.h"
#include "views/AppWindow.h"
#include "views/ButtonView.h"
#include "views/DropDownPicker.h"
#include "views/SlideSwitch.h"
#include "views/popup/ConfirmationPopup.h"
#include "views/table/TableCell.h"
#include "views/table/TableView.h"
#include "TestSupport.h"

#include <QLocale>
#include <gtest/gtest.h>
#include <memory>

class FactoryFixture : public ::testing::Test {
protected:
    FactoryFixture()
        : display(&window, QSize(1920, 1200))
    {
        window.resize(1920, 1200);
        for (DataValue* value : requests()) {
            DataValue::EventLocker lock(value);
            value->revertPendingNoLock();
            value->setValidNoLock(true);
        }
        GUI_developerMode.setValue(true);
        GUI_diagnosticMode.setValue(false);
        GUI_factoryMode.setValue(false);
        GUI_transportMode.setValue(false);
        GUI_language.setValue(QLocale::English);
        GUI_trialCar.setValue(false);
        GUI_featureConfig.setValue(QVariantMap{{"delivered", false}});
        GUI_powerOffRailsRequest.setValue(false);
        GUI_spoilerCalibrationRequest.setValue(false);
        GUI_factoryModeLimitOverride.setValue(false);
        GUI_powerLimitRequest.setValue(31);
        GUI_torqueLimitRequest.setValue(63);
        GUI_factoryKestro.setValue(false);
        GUI_factoryKestroHeartbeat.setValue(0);
        DAS_factoryKestroStatus.setValue(2);
        VAPI_gear.setValue(1);
        VAPI_carType.setValue(3);
        VAPI_fourWheelDrive.setValue(true);
        VAPI_hasActiveSpoiler.setValue(true);
        PlatformJournal::instance()->clear();
    }
    ~FactoryFixture() override
    {
        for (PopupView* popup : theCenterDisplay->openPopups())
            popup->close();
        views.clear();
        drainEvents();
    }

    // Every value a test here may leave with a request pending.
    static QList<DataValue*> requests()
    {
        return {&GUI_factoryMode, &GUI_transportMode, &GUI_trialCar, &GUI_powerOffRailsRequest,
                &GUI_spoilerCalibrationRequest, &GUI_factoryModeLimitOverride, &GUI_powerLimitRequest,
                &GUI_torqueLimitRequest, &GUI_factoryKestro, &DAS_factoryKestroStatus};
    }

    // The car takes every request that waits, as it would after its latency.
    static void carAccepts()
    {
        for (DataValue* value : requests()) {
            DataValue::EventLocker lock(value);
            value->acceptPendingNoLock();
        }
    }

    static QString pendingText(const DataValue& value)
    {
        DataValue::ConditionalLocker lock(value);
        return value.hasPending() ? value.textOf(value.pendingVariant()) : QStringLiteral("none");
    }

    template <typename View>
    View* adopt(View* view)
    {
        views.emplace_back(view);
        return view;
    }

    template <typename View>
    static View* labelled(const DisplayView* root, const QString& text)
    {
        for (View* v : root->findChildren<View*>()) {
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

    // A tap on one position of a slide switch.
    void tapPosition(const SlideSwitch* slide, int position)
    {
        const QRect r = slide->rootGeometry();
        display.tap(QPoint(r.left() + (2 * position + 1) * r.width() / (2 * int(slide->positions().size())), r.center().y()));
        drainEvents();
    }

    // Opens a picker through its face and taps the row with this text.
    bool choose(const DisplayView* face, DropDownPicker* picker, const QString& row)
    {
        tap(face);
        if (!picker->isOpen())
            return false;
        for (TableCell* cell : picker->listView()->visibleCells()) {
            if (cell->describe() == row) {
                tap(cell);
                return true;
            }
        }
        return false;
    }

    static ConfirmationPopup* question()
    {
        return qobject_cast<ConfirmationPopup*>(theCenterDisplay->topmostPopup());
    }

    // Taps a button of the open question.
    void answer(const QString& button)
    {
        ConfirmationPopup* popup = question();
        ASSERT_TRUE(popup) << "no question is open to answer " << button.toStdString();
        tap(labelled<ButtonView>(popup, button));
    }

    AppWindow window;
    DisplayDevice display;
    std::vector<std::unique_ptr<DisplayView>> views;
};
