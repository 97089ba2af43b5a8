#include "diag/DiagnosticTools.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/ButtonViewPage.h"
#include "diag/DeveloperActionsPage.h"
#include "diag/DeveloperAppsPage.h"
#include "diag/DeveloperSettingsPage.h"
#include "diag/DiagVitalsPage.h"
#include "diag/DravikWebPage.h"
#include "diag/FontTestPage.h"
#include "diag/KavroDeveloperPage.h"
#include "diag/PluginEntry.h"
#include "diag/can/CANView.h"
#include "diag/can/DiagCANPage.h"
#include "diag/factory/FactoryPage.h"
#include "services/AppInfo.h"
#include "views/CenterDisplay.h"
#include "services/FontManager.h"
#include "utils/DataValueUtils.h"
#include "views/AppWindow.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"
#include "views/MultiPageView.h"
#include "views/TabSelectorView.h"

using DataValueUtils::isOn;

DiagnosticTools::DiagnosticTools(DisplayView* parent)
    : TabSelectorContainerView(parent, 44)
{
    moveTo(32, 52, DisplayView::Linear, 0, 0);

    auto* window = qobject_cast<AppWindow*>(parent);
    if (window && window->barView())
        createBarButtons(window->barView());

    mPageView = new MultiPageView(this);
    mPageView->setLayoutMargin(Padding{0, 0, 20, 0});

    mPageView->addPage(new DiagVitalsPage(mPageView), nullptr);
    mPageView->addPage(new DravikWebPage(mPageView), nullptr);
    mPageView->addPage(new KavroDeveloperPage(mPageView), nullptr);
    mPageView->addPage(new DeveloperSettingsPage(mPageView), nullptr);
    mPageView->addPage(new DeveloperActionsPage(mPageView), nullptr);
    mPageView->addPage(new DeveloperAppsPage(mPageView), nullptr);
    if (isOn(GUI_developerMode))
        mPageView->addPage(new FontTestPage(mPageView), nullptr);

    setTabController(mPageView);
    mPageView->setTabSelector(tabSelector());
    setContentView(mPageView, true);
    tabSelector()->gotoTab(0);

    devModeChanged();

    dvConnect(&GUI_developerMode, SLOT(devModeChanged()), false);
    dvConnect(&GUI_diagnosticMode, SLOT(devModeChanged()), false);

    resized();
}

DiagnosticTools::~DiagnosticTools()
{
    // The hint lives in the application view, outside our own tree.
    delete mHintLabel;
}

void DiagnosticTools::createBarButtons(DisplayView* bar)
{
    mExitButton = new ButtonView(bar, Style("SettingsPushButton"), QString(), nullptr);
    mExitButton->resize(int(3.0 * mExitButton->width()), int(mExitButton->height()));
    const int faceHeight = int(mExitButton->height() - mExitButton->insetTop() - mExitButton->insetBottom());
    mExitButton->moveTo(int(0.5 * (bar->width() - mExitButton->width())), int(0.5 * (bar->height() - faceHeight) - 8.0),
                        DisplayView::Linear, 0, 0);
    connect(mExitButton, &ControlBase::released, this, &DiagnosticTools::exitDevMode);

    if (isOn(GUI_diagnosticMode)) {
        auto* service = new ButtonView(bar, Style("SettingsToggleButton"), QStringLiteral("IN\nSERVICE"), &GUI_serviceMode);
        service->moveTo(22, 2, DisplayView::Linear, 0, 0);
    }
}

void DiagnosticTools::resized()
{
    if (mHintLabel) {
        const int viewWidth = geometry().right() - geometry().left() + 1;
        const int viewHeight = geometry().bottom() - geometry().top() + 1;
        mHintLabel->moveTo(int(0.5 * (viewWidth - mHintLabel->width())), viewHeight / 2, DisplayView::Linear, 0, 0);
    }
    TabSelectorContainerView::resized();
}

void DiagnosticTools::devModeChanged()
{
    const bool developer = isOn(GUI_developerMode);
    const bool on = developer || isOn(GUI_diagnosticMode);

    if (!on) {
        Logger(this, "INFO") << "Diagnostic and development modes off, hiding app";
        show(false);
        if (mExitButton)
            mExitButton->show(false);
        if (!mHintLabel)
            showHint();
        return;
    }

    Logger(this, "INFO") << "Diagnostic or development mode on, enabling diagnostic app";
    show(true);
    if (mHintLabel) {
        mHintLabel->show(false);
        mHintLabel->deleteLater();
        mHintLabel = nullptr;
    }
    if (mExitButton) {
        mExitButton->show(true);
        mExitButton->setLabel(developer ? QStringLiteral("EXIT DEVELOPER MODE AND RESTART")
                                        : QStringLiteral("EXIT DIAGNOSTIC MODE AND RESTART"));
    }

    if (developer) {
        if (!mCANPage) {
            mCANPage = new DiagCANPage(mPageView, diagAppInfo(), true);
            mPageView->addPage(mCANPage, mPageView->getPage(1));
        }
        if (!mFactoryPage) {
            mFactoryPage = new FactoryPage(mPageView, diagAppInfo());
            mPageView->addPage(mFactoryPage, mPageView->getPage(2));
        }
    } else {
        if (!mCANPage) {
            mCANPage = new DiagCANPage(mPageView, diagAppInfo(), false);
            mCANPage->canView()->clearRightTable();
            mPageView->addPage(mCANPage, mPageView->getPage(1));
        }
        if (mFactoryPage) {
            mPageView->removePage(mFactoryPage);
            delete mFactoryPage;
            mFactoryPage = nullptr;
        }
        mPageView->selectPage(0);
    }

    if (isOn(GUI_factoryMode) && mFactoryPage) {
        const int index = mPageView->findPage(QStringLiteral("FACTORY"));
        if (index >= 0)
            mPageView->selectPage(index);
    }
}

void DiagnosticTools::showHint()
{
    AppInfo* app = diagAppInfo();
    DisplayView* appView = app ? app->displayView() : parentView();
    mHintLabel = new LabelView(appView, tr("Enable Developer or Diagnostic Mode to access Diagnostic Tools"));
    mHintLabel->resize(800, 100, DisplayView::Linear, 0, 0);
    mHintLabel->setAlignment(0x1084);
    mHintLabel->setFont(FontManager::instance()->proportionalFonts().last());
    mHintLabel->setFontSize(32, true);
    QMetaObject::invokeMethod(this, "resized", Qt::DirectConnection);
}

void DiagnosticTools::exitDevMode()
{
    Logger(nullptr, "ERROR") << "NOTE: Restarting Orvane app manually";
    theCenterDisplay->restartInCustomerMode();
}
