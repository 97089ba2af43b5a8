#pragma once

#include "views/popup/ConfirmationPopup.h"

class TextFieldView;

// A web page's dialog as the car shows it: an alert (OK), a confirmation or leave-page question
// (CANCEL, OK), a prompt with a text field typed through the on-screen keyboard (CANCEL, OK),
// or whether a site may read the car's location (DENY, ALLOW). The answer comes once, as
// pageAnswered; withdraw() closes the popup when the page gave the dialog up, without one.
class ORVANE_EXPORT PageDialogPopup : public ConfirmationPopup {
    Q_OBJECT
public:
    // The page's dialog kinds, numbered as the web view numbers them.
    enum Kind { Alert = 0, Confirm = 1, Prompt = 2, Geolocation = 3 };

    PageDialogPopup(const QString& title, const QString& text, Kind kind, const QString& defaultPrompt = QString());

    // Opens the popup; a prompt opens above the keyboard with its field being edited.
    void present();
    Kind kind() const { return mKind; }
    // The prompt's text as typed so far; empty for other kinds.
    QString enteredText() const;
    void withdraw();

    void dumpProperties(QJsonObject& out) const override;

signals:
    void pageAnswered(bool accepted, const QString& text);

private:
    Kind mKind;
    TextFieldView* mField = nullptr;
};
