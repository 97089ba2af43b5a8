#include "views/popup/ConfirmationPopup.h"

#include "core/Logger.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"

#include <QFontMetrics>
#include <QJsonObject>

namespace {
constexpr int Margin = 30;
constexpr int ButtonGap = 20;
}

ConfirmationPopup::ConfirmationPopup(const QString& title, const QString& text, const QString& noLabel,
                                     const QString& yesLabel, bool modal, int style, int width)
    : PopupView(modal)
    , mTitle(title)
    , mText(text)
    , mStyle(style)
{
    const int inner = width - 2 * Margin;
    auto* titleLabel = new LabelView(this, title);
    titleLabel->setFontSize(30);
    titleLabel->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    titleLabel->setGeometry(QRect(Margin, Margin, inner, 40));

    auto* textLabel = new LabelView(this, text);
    textLabel->setFontSize(24);
    textLabel->setAlignment(Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap);
    const QRect needed = QFontMetrics(textLabel->font()).boundingRect(QRect(0, 0, inner, 10000),
                                                                      Qt::TextWordWrap, text);
    textLabel->setGeometry(QRect(Margin, Margin + 60, inner, needed.height() + 10));

    const int buttonWidth = noLabel.isEmpty() ? inner : (inner - ButtonGap) / 2;
    const int buttonsTop = textLabel->geometry().bottom() + 1 + Margin;
    if (!noLabel.isEmpty()) {
        mNo = new ButtonView(this, Style(QStringLiteral("SettingsPushButton; Width:%1").arg(buttonWidth)), noLabel);
        mNo->moveTo(Margin, buttonsTop);
        connect(mNo, &ControlBase::released, this, [this] { answer(false); });
    }
    mYes = new ButtonView(this, Style(QStringLiteral("SettingsPushButton; ButtonColor:blue; Width:%1").arg(buttonWidth)),
                          yesLabel);
    mYes->moveTo(width - Margin - buttonWidth, buttonsTop);
    connect(mYes, &ControlBase::released, this, [this] { answer(true); });
    resize(width, buttonsTop + mYes->height() + Margin);
}

void ConfirmationPopup::insertContent(DisplayView* content, int height)
{
    const int top = mYes->y();
    content->setGeometry(QRect(Margin, top, width() - 2 * Margin, height));
    for (ButtonView* button : {mNo, mYes}) {
        if (button)
            button->moveTo(button->x(), top + height + Margin);
    }
    resize(width(), this->height() + height + Margin);
}

ConfirmationPopup* ConfirmationPopup::ask(const QString& title, const QString& text, const QString& noLabel,
                                          const QString& yesLabel, QObject* receiver, const char* slot)
{
    auto* popup = new ConfirmationPopup(title, text, noLabel, yesLabel);
    if (receiver && slot && !connect(popup, SIGNAL(answered(bool)), receiver, slot))
        Logger(popup, "ERROR") << "Question" << title << "has nowhere to send its answer";
    popup->open();
    return popup;
}

void ConfirmationPopup::answer(bool yes)
{
    if (mAnswered)
        return;
    mAnswered = true;
    Logger(this, "INFO") << "Question" << mTitle << "answered" << (yes ? "yes" : "no");
    dismiss();
    emit answered(yes);
}

void ConfirmationPopup::dumpProperties(QJsonObject& out) const
{
    PopupView::dumpProperties(out);
    out.insert(QStringLiteral("title"), mTitle);
    out.insert(QStringLiteral("text"), mText);
    out.insert(QStringLiteral("style"), mStyle);
}
