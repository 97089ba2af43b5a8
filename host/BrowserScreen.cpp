#include "BrowserScreen.h"

#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "views/CenterDisplay.h"
#include "views/ButtonView.h"
#include "views/keyboard/TextFieldView.h"

namespace {

constexpr int BarHeight = 80;
constexpr int Gap = 12;

} // namespace

BrowserScreen::BrowserScreen(DisplayView* parent, const QString& title, const QMetaObject* webViewClass,
                             const QUrl& start, bool withAddress)
    : PageView(parent, title)
{
    mBack = new ButtonView(this, Style("SettingsPushButton; Width:150"), tr("GO BACK"));
    mForward = new ButtonView(this, Style("SettingsPushButton; Width:150"), tr("GO FORWARD"));
    mReload = new ButtonView(this, Style("SettingsPushButton; Width:150"), tr("RELOAD"));
    if (withAddress) {
        mAddress = new TextFieldView(this);
        mAddress->setObjectName(QStringLiteral("address"));
    }
    QObject* view = webViewClass ? webViewClass->newInstance(Q_ARG(DisplayView*, this)) : nullptr;
    mView = qobject_cast<DisplayView*>(view);
    if (!mView) {
        Logger(this, "ERROR") << "The plug-in has no web view: the screen stays empty";
        delete view;
        mBack->disable();
        mForward->disable();
        mReload->disable();
        return;
    }
    connect(mBack, &ControlBase::released, mView, [this] { QMetaObject::invokeMethod(mView, "goBack"); });
    connect(mForward, &ControlBase::released, mView, [this] { QMetaObject::invokeMethod(mView, "goForward"); });
    connect(mReload, &ControlBase::released, mView, [this] { QMetaObject::invokeMethod(mView, "reload"); });
    if (mAddress) {
        connect(mAddress, &TextFieldView::returnPressed, this, [this] {
            const QUrl url = QUrl::fromUserInput(mAddress->text());
            DisplayDevice::setKeyFocus(nullptr);
            QMetaObject::invokeMethod(mView, "loadURL", Q_ARG(QUrl, url));
        });
    }
    connect(mView, SIGNAL(urlDidChange(QUrl)), this, SLOT(urlChanged(QUrl)));
    for (const char* signal : {SIGNAL(backForwardListDidChange()), SIGNAL(pageLoadDidFinish()), SIGNAL(urlDidChange(QUrl))})
        connect(mView, signal, this, SLOT(historyChanged()));
    connect(mView, SIGNAL(dismissJavaScriptPopup()), this, SLOT(dismissDialog()));
    // The dialog type is the plug-in's enum, which no class here can name: connected by
    // index, it arrives as the int it is stored as.
    const QMetaObject* meta = mView->metaObject();
    const int present = meta->indexOfSignal("presentJavaScriptPopup(QString,WebKitView::DialogType,QString)");
    const int slot = metaObject()->indexOfSlot("presentDialog(QString,int,QString)");
    if (present < 0 || !QMetaObject::connect(mView, present, this, slot))
        Logger(this, "ERROR") << "The web view's dialogs cannot be shown: they stay unanswered";
    historyChanged();
    QMetaObject::invokeMethod(mView, "loadURL", Q_ARG(QUrl, start));
}

BrowserScreen::~BrowserScreen()
{
    if (mDialog)
        mDialog->withdraw();
    // The keyboard served something on this screen: it goes with it.
    DisplayView* focus = DisplayDevice::keyFocus();
    if (focus && focus->isChildOf(this)) {
        DisplayDevice::setKeyFocus(nullptr);
        theCenterDisplay->setKeyboardVisible(false);
    }
}

bool BrowserScreen::ask(const char* method) const
{
    bool answer = false;
    QMetaObject::invokeMethod(mView, method, Q_RETURN_ARG(bool, answer));
    return answer;
}

void BrowserScreen::resized()
{
    PageView::resized();
    int x = 0;
    for (ButtonView* button : {mBack, mForward, mReload}) {
        button->moveTo(x, (BarHeight - button->height()) / 2);
        x += button->width() + Gap;
    }
    if (mAddress)
        mAddress->setGeometry(QRect(x, (BarHeight - 60) / 2, width() - x, 60));
    if (mView)
        mView->setGeometry(QRect(0, BarHeight + Gap, width(), height() - BarHeight - Gap));
}

void BrowserScreen::urlChanged(const QUrl& url)
{
    // What is being typed stays until it is sent.
    if (mAddress && !mAddress->hasKeyFocus())
        mAddress->setText(url.toString());
}

void BrowserScreen::historyChanged()
{
    mBack->enable(ask("canGoBack"));
    mForward->enable(ask("canGoForward"));
}

void BrowserScreen::presentDialog(const QString& text, int kind, const QString& prompt)
{
    // The view asks again only when the page's dialog comes while the location question is
    // open; the next answer is the dialog's then, so the dialog is what shows.
    dismissDialog();
    QUrl url;
    QMetaObject::invokeMethod(mView, "url", Q_RETURN_ARG(QUrl, url));
    const QString title = url.host().isEmpty() ? tr("THIS PAGE SAYS") : url.host();
    mDialog = new PageDialogPopup(title, text, PageDialogPopup::Kind(kind), prompt);
    connect(mDialog, &PageDialogPopup::pageAnswered, mView, [this](bool accepted, const QString& entered) {
        QMetaObject::invokeMethod(mView, "javaScriptPopupResult", Q_ARG(bool, accepted), Q_ARG(QString, entered));
    });
    mDialog->present();
}

void BrowserScreen::dismissDialog()
{
    if (mDialog && mDialog->isOpen())
        mDialog->withdraw();
}
