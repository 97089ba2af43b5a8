// The Browser screen's side of the web view's contract, against a stand-in view: no Chromium.
#include "BrowserScreen.h"
#include "TestSupport.h"

#include "Screen.h"
#include "views/CenterDisplay.h"

#include <QUrl>
#include <gtest/gtest.h>

// Named as the plug-in's view, whose signals and slots the screen connects by name.
class WebKitView : public DisplayView {
    Q_OBJECT
public:
    enum DialogType { Alert = 0, Confirm = 1, Prompt = 2, GeolocationPermission = 3 };
    Q_ENUM(DialogType)

    Q_INVOKABLE explicit WebKitView(DisplayView* parent)
        : DisplayView(parent)
    {
    }
    Q_INVOKABLE void loadURL(const QUrl&) {}
    Q_INVOKABLE QUrl url() const { return QUrl("https://example.com/page"); }
    Q_INVOKABLE bool canGoBack() const { return false; }
    Q_INVOKABLE bool canGoForward() const { return false; }

    QStringList results;

signals:
    void urlDidChange(QUrl);
    void backForwardListDidChange();
    void pageLoadDidFinish();
    void presentJavaScriptPopup(QString text, WebKitView::DialogType type, QString prompt);
    void dismissJavaScriptPopup();

public slots:
    void goBack() {}
    void goForward() {}
    void reload() {}
    void javaScriptPopupResult(bool result, const QString& text) { results << QString("%1 %2").arg(result).arg(text); }
};

namespace {

class BrowserScreenTest : public ::testing::Test, protected Screen<> {
protected:
    BrowserScreenTest()
    {
        screen->setGeometry(QRect(32, 52, 1856, 1028));
        view = static_cast<WebKitView*>(screen->webView());
    }
    ~BrowserScreenTest() override
    {
        delete screen;
        drainEvents();
    }

    BrowserScreen* screen = new BrowserScreen(&root, "Browser", &WebKitView::staticMetaObject, QUrl("https://example.com/"), true);
    WebKitView* view = nullptr;
};

TEST_F(BrowserScreenTest, APageDialogIsAnsweredOnceAndAWithdrawnOrReplacedOneIsNot)
{
    // The page's dialog comes while the location question is open: it takes the question's place.
    emit view->presentJavaScriptPopup("May example.com know where the car is?", WebKitView::GeolocationPermission,
                                      QString());
    emit view->presentJavaScriptPopup("Sure?", WebKitView::Confirm, QString());
    drainEvents();
    PageDialogPopup* first = screen->dialog();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->title(), "example.com");
    EXPECT_EQ(first->kind(), PageDialogPopup::Confirm);
    EXPECT_EQ(theCenterDisplay->openPopups().size(), 1) << "one dialog at a time";
    first->answer(true);
    EXPECT_EQ(view->results, QStringList{"1 "});

    emit view->presentJavaScriptPopup("Name?", WebKitView::Prompt, "Jo");
    ASSERT_NE(screen->dialog(), nullptr);
    EXPECT_EQ(screen->dialog()->enteredText(), "Jo");
    emit view->dismissJavaScriptPopup();
    drainEvents();
    EXPECT_EQ(screen->dialog(), nullptr);
    EXPECT_TRUE(theCenterDisplay->openPopups().isEmpty());
    EXPECT_FALSE(theCenterDisplay->isKeyboardVisible()) << "the withdrawn prompt took the keyboard along";
    EXPECT_EQ(view->results.size(), 1) << "neither the replaced nor the withdrawn dialog is answered";
}

} // namespace

#include "BrowserScreenTest.moc"
