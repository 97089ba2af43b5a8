#include "core/Logger.h"
#include "core/DataValues.h"
#include "views/CenterDisplay.h"
#include "views/FactoryResetManager.h"
#include "services/PlatformJournal.h"
#include "views/ButtonView.h"
#include "views/popup/ConfirmationPopup.h"
#include "views/popup/OverlayView.h"
#include "Screen.h"

#include <QPointer>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

class PopupTest : public ::testing::Test, protected Screen<> {
protected:
    PopupTest()
        : Screen(QSize(1000, 800))
    {
        button.moveTo(10, 10);
    }

    ButtonView button{&root, Style("SettingsPushButton"), "APP"};
};

using Kind = TouchEvent::Kind;

} // namespace

TEST_F(PopupTest, StackKeepsOpeningOrderAndAnnouncesEachChange)
{
    QSignalSpy willShow(theCenterDisplay, &CenterDisplay::popupWillShow);
    QSignalSpy willHide(theCenterDisplay, &CenterDisplay::popupWillHide);
    PopupView first(false);
    PopupView second(false);
    first.resize(200, 100);
    second.resize(200, 100);
    first.open();
    second.open();
    EXPECT_EQ(theCenterDisplay->openPopups(), (QList<PopupView*>{&first, &second}));
    EXPECT_EQ(theCenterDisplay->topmostPopup(), &second);
    EXPECT_EQ(first.geometry(), QRect(400, 350, 200, 100)); // centred on the display
    // Opening again brings it to the top.
    first.open();
    EXPECT_EQ(theCenterDisplay->topmostPopup(), &first);
    first.close();
    first.close();
    EXPECT_EQ(theCenterDisplay->topmostPopup(), &second);
    EXPECT_EQ(willShow.count(), 3);
    ASSERT_EQ(willHide.count(), 1);
    EXPECT_EQ(willHide.first().first().value<PopupView*>(), &first);
    {
        PopupView dying(false);
        dying.open();
    }
    EXPECT_EQ(theCenterDisplay->openPopups(), QList<PopupView*>{&second});
}

TEST_F(PopupTest, ModalPopupBlocksTheAppAndOutsideTouchesCloseALooseOne)
{
    QSignalSpy appTaps(&button, &ControlBase::released);
    PopupView list(false);
    list.setClosesOnOutsideTouch(true);
    list.setGeometry(QRect(500, 500, 100, 100));
    list.open();
    tap(&button);
    EXPECT_FALSE(list.isOpen()); // the touch closed the list ...
    EXPECT_EQ(appTaps.count(), 0); // ... and went no further
    tap(&button);
    EXPECT_EQ(appTaps.count(), 1);

    const QPoint corner = button.rootGeometry().topLeft() + QPoint(8, 8);
    const int before = qGray(display.render().pixel(corner));
    auto* question = new ConfirmationPopup("FACTORY MODE", "Are you sure you want to exit factory mode?", "NO", "YES");
    question->open();
    EXPECT_EQ(question->width(), 610);
    EXPECT_EQ(question->style(), 6);
    tap(&button);
    EXPECT_EQ(appTaps.count(), 1);
    EXPECT_TRUE(question->isOpen());
    // The overlay is painted over the app: the dimmed backdrop darkens the button.
    EXPECT_LT(qGray(display.render().pixel(corner)), before * 0.6);
}

TEST_F(PopupTest, ConfirmationAnswersOnceThroughItsButtonsThenGoesAway)
{
    QPointer<ConfirmationPopup> question(new ConfirmationPopup("FACTORY MODE", "Sure?", "CANCEL", "OK"));
    QSignalSpy answered(question.data(), &ConfirmationPopup::answered);
    question->open();
    ButtonView* ok = nullptr;
    for (ButtonView* b : question->findChildren<ButtonView*>()) {
        if (b->label() == "OK")
            ok = b;
    }
    ASSERT_TRUE(ok);
    const QPoint okPoint = ok->rootGeometry().center();
    tap(okPoint);
    tap(okPoint); // gone already: nothing more
    ASSERT_EQ(answered.count(), 1);
    EXPECT_TRUE(answered.first().first().toBool());
    drainEvents();
    EXPECT_TRUE(question.isNull());

    QObject receiver;
    EXPECT_FALSE(theCenterDisplay->topmostPopup());
    CapturingLogSink log;
    ConfirmationPopup::ask("T", "x", "NO", "YES", &receiver, SLOT(noSuchSlot(bool)));
    EXPECT_EQ(log.lines().filter("ERROR Question T has nowhere to send its answer").size(), 1);
}

TEST_F(PopupTest, ACancelledButtonDoesNotFire)
{
    QSignalSpy released(&button, &ControlBase::released);
    button.touchEvent({Kind::Press, QPoint(5, 5)});
    button.touchEvent({Kind::Cancel, QPoint(5, 5)});
    button.touchEvent({Kind::Release, QPoint(5, 5)});
    EXPECT_EQ(released.count(), 0);
    EXPECT_FALSE(button.isPressed());
}

TEST_F(PopupTest, ResetAndTransportQuestionsActOnlyOnYes)
{
    PlatformJournal::instance()->clear();
    ConfirmationPopup* reset = FactoryResetManager::instance()->showResetConfirmationPopup(FactoryResetManager::ResetData);
    ASSERT_TRUE(reset);
    EXPECT_EQ(reset->title(), "RESET DATA");
    EXPECT_EQ(theCenterDisplay->topmostPopup(), reset);
    reset->answer(false);
    ConfirmationPopup* erase = FactoryResetManager::instance()->showResetConfirmationPopup(FactoryResetManager::EraseAllData);
    EXPECT_EQ(erase->title(), "ERASE ALL DATA");
    erase->answer(true);
    EXPECT_EQ(PlatformJournal::instance()->lines(), QStringList{"FactoryResetManager.eraseAllData()"});
    CapturingLogSink log;
    EXPECT_FALSE(FactoryResetManager::instance()->showResetConfirmationPopup(7));
    EXPECT_EQ(log.lines().filter("Unknown factory reset flavour 7").size(), 1);

    GUI_transportMode.setValue(false);
    QSignalSpy confirmed(theCenterDisplay, &CenterDisplay::transportModeConfirmed);
    theCenterDisplay->toggleTransportMode()->answer(false);
    EXPECT_FALSE(GUI_transportMode.value());
    theCenterDisplay->toggleTransportMode()->answer(true);
    EXPECT_TRUE(GUI_transportMode.value());
    theCenterDisplay->toggleTransportMode()->answer(true);
    EXPECT_FALSE(GUI_transportMode.value());
    ASSERT_EQ(confirmed.count(), 3);
    EXPECT_FALSE(confirmed[0][0].toBool());
    EXPECT_TRUE(confirmed[1][0].toBool());
    EXPECT_TRUE(PlatformJournal::instance()->contains("CenterDisplay.setTransportMode(true)"));
}
