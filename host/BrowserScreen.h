#pragma once

#include "views/PageView.h"
#include "views/dialog/PageDialogPopup.h"

#include <QPointer>
#include <QUrl>

class ButtonView;
class TextFieldView;

// A host screen around the plug-in's web view: back, forward and reload, optionally an address
// field typed through the on-screen keyboard, and the page filling the rest. The page's
// dialogs show as popups whose answers go back to the page.
class BrowserScreen : public PageView {
    Q_OBJECT
public:
    // webViewClass is the plug-in's exported web view; the bench never links the plug-in.
    BrowserScreen(DisplayView* parent, const QString& title, const QMetaObject* webViewClass, const QUrl& start,
                  bool withAddress);
    ~BrowserScreen() override;

    DisplayView* webView() const { return mView; }
    PageDialogPopup* dialog() const { return mDialog; }

    void resized() override;

private slots:
    void urlChanged(const QUrl& url);
    void historyChanged();
    // The view's dialog type arrives as the number it is (see the constructor).
    void presentDialog(const QString& text, int kind, const QString& prompt);
    void dismissDialog();

private:
    bool ask(const char* method) const;

    DisplayView* mView = nullptr;
    ButtonView* mBack;
    ButtonView* mForward;
    ButtonView* mReload;
    TextFieldView* mAddress = nullptr;
    QPointer<PageDialogPopup> mDialog;
};
