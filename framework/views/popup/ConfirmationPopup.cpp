#include "views/popup/ConfirmationPopup.h"

#include "core/Logger.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"

#include <QFontMetrics>
#include <QJsonObject>

struct ConfirmationPopup::Private {
    ButtonView* no = nullptr;
    ButtonView* yes;
    QString title;
    QString text;
    int style;
    bool answered = false;
};

namespace {
constexpr int Margin = 30;
constexpr int ButtonGap = 20;
}

ConfirmationPopup::ConfirmationPopup(const QString& title, const QString& text, const QString& noLabel,
                                     const QString& yesLabel, bool modal, int style, int width)
    : PopupView(modal)
    , d(std::make_unique<Private>())
{
    d->title = title;
    d->text = text;
    d->style = style;
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
        d->no = new ButtonView(this, Style(QStringLiteral("SettingsPushButton; Width:%1").arg(buttonWidth)), noLabel);
        d->no->moveTo(Margin, buttonsTop);
        connect(d->no, &ControlBase::released, this, [this] { answer(false); });
    }
    d->yes = new ButtonView(this, Style(QStringLiteral("SettingsPushButton; ButtonColor:blue; Width:%1").arg(buttonWidth)),
                          yesLabel);
    d->yes->moveTo(width - Margin - buttonWidth, buttonsTop);
    connect(d->yes, &ControlBase::released, this, [this] { answer(true); });
    resize(width, buttonsTop + d->yes->height() + Margin);
}

ConfirmationPopup::~ConfirmationPopup() = default;

QString ConfirmationPopup::title() const
{
    return d->title;
}

QString ConfirmationPopup::text() const
{
    return d->text;
}

int ConfirmationPopup::style() const
{
    return d->style;
}

QString ConfirmationPopup::describe() const
{
    return d->title;
}

void ConfirmationPopup::insertContent(DisplayView* content, int height)
{
    const int top = d->yes->y();
    content->setGeometry(QRect(Margin, top, width() - 2 * Margin, height));
    for (ButtonView* button : {d->no, d->yes}) {
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
    if (d->answered)
        return;
    d->answered = true;
    Logger(this, "INFO") << "Question" << d->title << "answered" << (yes ? "yes" : "no");
    dismiss();
    emit answered(yes);
}

void ConfirmationPopup::dumpProperties(QJsonObject& out) const
{
    PopupView::dumpProperties(out);
    out.insert(QStringLiteral("title"), d->title);
    out.insert(QStringLiteral("text"), d->text);
    out.insert(QStringLiteral("style"), d->style);
}
