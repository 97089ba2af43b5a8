#pragma once

#include "views/popup/PopupView.h"

class ButtonView;
class LabelView;

// The framework's question: a title, a text and two buttons, the refusing one first. The
// answer comes once, as answered(bool), and the popup then goes away by itself. Without a
// refusing label there is only the one button, which answers yes.
class ORVANE_EXPORT ConfirmationPopup : public PopupView {
    Q_OBJECT
public:
    // Style 6 is the plain question (title, wrapped text, two buttons side by side); other
    // styles fall back to it.
    enum { QuestionStyle = 6 };

    ConfirmationPopup(const QString& title, const QString& text, const QString& noLabel, const QString& yesLabel,
                      bool modal = true, int style = QuestionStyle, int width = 610);
    ~ConfirmationPopup() override;

    // Opens a question whose answer goes to `slot` of `receiver` (a SLOT() with one bool).
    static ConfirmationPopup* ask(const QString& title, const QString& text, const QString& noLabel,
                                  const QString& yesLabel, QObject* receiver, const char* slot);

    QString title() const;
    QString text() const;
    int style() const;
    // Answers as if the button had been pressed.
    void answer(bool yes);

    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

signals:
    void answered(bool yes);

protected:
    // Puts a view of the given height between the text and the buttons.
    void insertContent(DisplayView* content, int height);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
