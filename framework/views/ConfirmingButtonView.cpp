#include "views/ConfirmingButtonView.h"

#include "core/Logger.h"

#include <QJsonObject>
#include <QTimer>

struct ConfirmingButtonView::Private {
    QString confirmText = QStringLiteral("CONFIRM");
    bool armed = false;
    QTimer* disarmTimer;
};

namespace {

Style styleForKind(int kind, const QString& label)
{
    QString type = QStringLiteral("medium");
    if (kind == ConfirmingButtonView::Small)
        type = QStringLiteral("small");
    else if (kind == ConfirmingButtonView::Large)
        type = QStringLiteral("large");
    else if (kind != ConfirmingButtonView::Medium)
        Logger(nullptr, "WARN") << "confirming button" << label << "has no kind" << kind << "- a medium one is made";
    return Style(QStringLiteral("SettingsPushButton; ButtonType:%1; Width:180").arg(type));
}

} // namespace

ConfirmingButtonView::ConfirmingButtonView(DisplayView* parent, const QString& label, int kind)
    : ButtonView(parent, styleForKind(kind, label), label)
    , d(std::make_unique<Private>())
{
    d->disarmTimer = new QTimer(this);
    d->disarmTimer->setSingleShot(true);
    d->disarmTimer->setInterval(3000);
    connect(d->disarmTimer, &QTimer::timeout, this, &ConfirmingButtonView::disarm);
    connect(this, &DisplayView::disabled, this, &ConfirmingButtonView::disarm);
}

ConfirmingButtonView::~ConfirmingButtonView() = default;

QString ConfirmingButtonView::confirmText() const
{
    return d->confirmText;
}

bool ConfirmingButtonView::isArmed() const
{
    return d->armed;
}

void ConfirmingButtonView::setConfirmText(const QString& text)
{
    d->confirmText = text;
    update();
}

int ConfirmingButtonView::disarmInterval() const
{
    return d->disarmTimer->interval();
}

void ConfirmingButtonView::setDisarmInterval(int ms)
{
    d->disarmTimer->setInterval(ms);
}

void ConfirmingButtonView::activated()
{
    if (!d->armed) {
        d->armed = true;
        setButtonColor(QStringLiteral("warning"));
        d->disarmTimer->start();
        return;
    }
    disarm();
    emit released();
}

void ConfirmingButtonView::disarm()
{
    d->disarmTimer->stop();
    if (!d->armed)
        return;
    d->armed = false;
    setButtonColor();
}

QString ConfirmingButtonView::faceText() const
{
    return d->armed ? d->confirmText : label();
}

void ConfirmingButtonView::dumpProperties(QJsonObject& out) const
{
    ButtonView::dumpProperties(out);
    out.insert(QStringLiteral("armed"), d->armed);
    out.insert(QStringLiteral("confirmText"), d->confirmText);
}
