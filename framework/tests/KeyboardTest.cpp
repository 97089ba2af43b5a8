// The on-screen keyboard, its key strokes, the text field and the page dialog popup: no browser.
#include "views/CenterDisplay.h"
#include "views/ButtonView.h"
#include "views/dialog/PageDialogPopup.h"
#include "views/keyboard/KeyMap.h"
#include "views/keyboard/KeyboardView.h"
#include "views/keyboard/TextFieldView.h"
#include "views/popup/OverlayView.h"
#include "Screen.h"

#include <QKeyEvent>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

// What a focused view is sent, one "press|release key text" entry per event.
class KeyRecorder : public DisplayView {
public:
    using DisplayView::DisplayView;
    bool keyEvent(QKeyEvent* event) override
    {
        events << QStringLiteral("%1 %2 %3")
                      .arg(event->type() == QEvent::KeyPress ? "press" : "release")
                      .arg(event->key(), 0, 16)
                      .arg(event->text());
        return true;
    }
    QStringList events;
};

class KeyboardTest : public ::testing::Test, protected Screen<> {
protected:
    KeyboardTest() { recorder.setGeometry(QRect(0, 0, 400, 400)); }

    KeyboardView* keyboard() { return theCenterDisplay->keyboard(); }

    // Taps the keyboard's keys as a person would, layer and shift keys included.
    void typeOnKeyboard(const QString& text)
    {
        for (const QChar c : text) {
            for (int taps = 0;; ++taps) {
                ButtonView* key = keyboard()->keyTowards(c);
                ASSERT_NE(key, nullptr) << "no way to " << QString(c).toStdString();
                ASSERT_LT(taps, 4) << "no key for " << QString(c).toStdString();
                // A letter's key is relabelled as shift lets go.
                const bool typesIt = key->label() == QString(c) || (c == ' ' && key->label() == "SPACE");
                tap(key);
                if (typesIt)
                    break;
            }
        }
    }

    void tapKey(const QString& label)
    {
        for (DisplayView* layer : keyboard()->childViews()) {
            for (DisplayView* key : layer->childViews()) {
                if (key->isShown() && static_cast<ButtonView*>(key)->label() == label)
                    return tap(key);
            }
        }
        FAIL() << "no shown key " << label.toStdString();
    }

    KeyRecorder recorder{&root};
};

TEST(KeyStrokeTest, CharactersGoAsTheToolkitsKeyWithTheirTextOrAsKeyZero)
{
    const struct {
        QChar character;
        int key;
    } table[] = {
        {'a', Qt::Key_A}, {'Z', Qt::Key_Z}, {'7', Qt::Key_7}, {' ', Qt::Key_Space}, {'!', Qt::Key_Exclam},
        {'~', Qt::Key_AsciiTilde}, {'@', Qt::Key_At},
        // Latin-1 letters by their capital's key; those without a Latin-1 capital by their own.
        {QChar(0xe9), Qt::Key_Eacute}, {QChar(0xc9), Qt::Key_Eacute}, {QChar(0xdf), Qt::Key_ssharp},
        {QChar(0xff), Qt::Key_ydiaeresis}, {QChar(0xb5), Qt::Key_mu},
        // No toolkit key: euro sign, o with double acute, l with stroke, a control character.
        {QChar(0x20ac), 0}, {QChar(0x151), 0}, {QChar(0x142), 0}, {QChar(0x7f), 0},
    };
    for (const auto& row : table) {
        const KeyStroke stroke = KeyStroke::forCharacter(row.character);
        EXPECT_EQ(stroke.key, row.key) << "U+" << QString::number(row.character.unicode(), 16).toStdString();
        EXPECT_EQ(stroke.text, QString(row.character));
    }
    EXPECT_EQ(KeyStroke::forControl(Qt::Key_Backspace).text, "\b");
    EXPECT_EQ(KeyStroke::forControl(Qt::Key_Return).text, "\r");
    EXPECT_EQ(KeyStroke::forControl(Qt::Key_Tab).text, "\t");
}

TEST_F(KeyboardTest, ShowingPutsTheKeyboardAtTheBottomBeforeItIsAnnounced)
{
    QRect seen;
    bool shownWhenAnnounced = false;
    const auto connection = QObject::connect(theCenterDisplay, &CenterDisplay::keyboardWillShow, [&] {
        shownWhenAnnounced = keyboard()->isShown() && theCenterDisplay->overlay()->hasContent();
        seen = keyboard()->rootGeometry();
    });
    QSignalSpy hides(theCenterDisplay, &CenterDisplay::keyboardWillHide);
    theCenterDisplay->setKeyboardVisible(true);
    theCenterDisplay->setKeyboardVisible(true);
    QObject::disconnect(connection);
    EXPECT_TRUE(shownWhenAnnounced);
    EXPECT_EQ(seen, QRect(0, 1200 - theCenterDisplay->keyboardHeight(), 1920, theCenterDisplay->keyboardHeight()));

    theCenterDisplay->setKeyboardVisible(false);
    EXPECT_EQ(hides.size(), 1);
    EXPECT_FALSE(keyboard()->isShown());
}

TEST_F(KeyboardTest, KeysReachTheFocusedViewAsPressAndReleaseAcrossLayersAndShift)
{
    recorder.setKeyFocus();
    theCenterDisplay->setKeyboardVisible(true);
    typeOnKeyboard(QString::fromUtf8("aB 9?é€"));
    tapKey("BACKSPACE");
    tapKey("RETURN");
    tapKey("TAB");
    const QStringList expected{
        "press 41 a", "release 41 a", "press 42 B", "release 42 B", "press 20  ", "release 20  ",
        "press 39 9", "release 39 9", "press 3f ?", "release 3f ?",
        QString::fromUtf8("press c9 é"), QString::fromUtf8("release c9 é"),
        QString::fromUtf8("press 0 €"), QString::fromUtf8("release 0 €"),
        "press 1000003 \b", "release 1000003 \b", "press 1000004 \r", "release 1000004 \r",
        "press 1000001 \t", "release 1000001 \t"};
    EXPECT_EQ(recorder.events, expected);
    EXPECT_FALSE(keyboard()->isShifted()) << "shift holds for one letter";

    // Shifted accents are capitals of one character; sharp s has none and wants shift off.
    keyboard()->setLayer(KeyboardView::Accents);
    keyboard()->setShifted(true);
    EXPECT_EQ(keyboard()->keyTowards(QChar(0xc9))->label(), QString(QChar(0xc9)));
    EXPECT_EQ(keyboard()->keyTowards(QChar(0xdf))->label(), "SHIFT");
    EXPECT_EQ(keyboard()->keyTowards(QChar(0x263a)), nullptr) << "no key for a smiley";

    tapKey("HIDE");
    EXPECT_FALSE(theCenterDisplay->isKeyboardVisible());
    EXPECT_EQ(DisplayDevice::keyFocus(), nullptr);
}

TEST_F(KeyboardTest, ATextFieldEditsThroughTheKeyboardAndHidesItWhenLeft)
{
    TextFieldView field(&root, "ab");
    field.setGeometry(QRect(500, 10, 400, 60));
    QSignalSpy returns(&field, &TextFieldView::returnPressed);
    display.tap(QPoint(600, 30));
    ASSERT_TRUE(theCenterDisplay->isKeyboardVisible());
    ASSERT_TRUE(field.hasKeyFocus());
    typeOnKeyboard(QString::fromUtf8("ç1"));
    tapKey("BACKSPACE");
    tapKey("TAB");
    tapKey("RETURN");
    EXPECT_EQ(field.text(), QString::fromUtf8("abç"));
    EXPECT_EQ(returns.size(), 1);

    recorder.setKeyFocus();
    EXPECT_FALSE(theCenterDisplay->isKeyboardVisible()) << "the field let go of the keyboard";
}

TEST_F(KeyboardTest, AKeyHeldWhileTheKeyboardHidesTypesNothing)
{
    TextFieldView field(&root, "ab");
    field.setGeometry(QRect(500, 10, 400, 60));
    display.tap(QPoint(600, 30));
    ASSERT_TRUE(theCenterDisplay->isKeyboardVisible());
    ButtonView* key = keyboard()->keyTowards(QLatin1Char('c'));
    ASSERT_TRUE(key);
    press(key->rootGeometry().center());
    // Focus moved on (the page took it) while the finger rested on the key.
    recorder.setKeyFocus();
    ASSERT_FALSE(theCenterDisplay->isKeyboardVisible());
    release(key->rootGeometry().center());
    EXPECT_EQ(field.text(), "ab");
    EXPECT_TRUE(recorder.events.isEmpty()) << recorder.events.join(' ').toStdString();
}

TEST_F(KeyboardTest, PageDialogsAnswerOnceWithTheirButtonsAndThePromptsText)
{
    const auto buttons = [](PopupView* popup) {
        QStringList labels;
        for (DisplayView* child : popup->childViews()) {
            if (auto* button = qobject_cast<ButtonView*>(child))
                labels << button->label();
        }
        return labels;
    };
    auto* alert = new PageDialogPopup("example.com", "Hello", PageDialogPopup::Alert);
    EXPECT_EQ(buttons(alert), QStringList{"OK"});
    auto* geolocation = new PageDialogPopup("example.com", "Where?", PageDialogPopup::Geolocation);
    EXPECT_EQ(buttons(geolocation), (QStringList{"DENY", "ALLOW"}));
    delete alert;
    delete geolocation;

    auto* prompt = new PageDialogPopup("example.com", "Name?", PageDialogPopup::Prompt, "Jo");
    QSignalSpy answers(prompt, &PageDialogPopup::pageAnswered);
    prompt->present();
    ASSERT_TRUE(theCenterDisplay->isKeyboardVisible()) << "a prompt is typed into at once";
    EXPECT_LE(prompt->rootGeometry().bottom(), keyboard()->rootGeometry().top()) << "the prompt sits above the keyboard";
    typeOnKeyboard(QString::fromUtf8("ë"));
    tapKey("RETURN");
    ASSERT_EQ(answers.size(), 1);
    EXPECT_EQ(answers[0], (QVariantList{true, QString::fromUtf8("Joë")}));
    drainEvents();
    EXPECT_FALSE(theCenterDisplay->isKeyboardVisible()) << "the keyboard leaves with the prompt";

    auto* refused = new PageDialogPopup("example.com", "Name?", PageDialogPopup::Prompt, "Jo");
    QSignalSpy refusals(refused, &PageDialogPopup::pageAnswered);
    refused->present();
    refused->answer(false);
    EXPECT_EQ(refusals.value(0), (QVariantList{false, QString()})) << "a refused prompt sends no text";

    auto* withdrawn = new PageDialogPopup("example.com", "Sure?", PageDialogPopup::Confirm);
    QSignalSpy silent(withdrawn, &PageDialogPopup::pageAnswered);
    withdrawn->present();
    withdrawn->withdraw();
    withdrawn->answer(true);
    EXPECT_TRUE(silent.isEmpty()) << "a dialog the page gave up is not answered";
    EXPECT_TRUE(theCenterDisplay->openPopups().isEmpty());
}

} // namespace
