#include "views/ConfirmingButtonView.h"

#include "core/Logger.h"

#include <QJsonObject>
#include <QTimer>

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
    , mConfirmText(QStringLiteral("CONFIRM"))
    , mDisarmTimer(new QTimer(this))
{
    mDisarmTimer->setSingleShot(true);
    mDisarmTimer->setInterval(3000);
    connect(mDisarmTimer, &QTimer::timeout, this, &ConfirmingButtonView::disarm);
    connect(this, &DisplayView::disabled, this, &ConfirmingButtonView::disarm);
}

void ConfirmingButtonView::setConfirmText(const QString& text)
{
    mConfirmText = text;
    update();
}

int ConfirmingButtonView::disarmInterval() const
{
    return mDisarmTimer->interval();
}

void ConfirmingButtonView::setDisarmInterval(int ms)
{
    mDisarmTimer->setInterval(ms);
}

void ConfirmingButtonView::activated()
{
    if (!mArmed) {
        mArmed = true;
        setButtonColor(QStringLiteral("warning"));
        mDisarmTimer->start();
        return;
    }
    disarm();
    emit released();
}

void ConfirmingButtonView::disarm()
{
    mDisarmTimer->stop();
    if (!mArmed)
        return;
    mArmed = false;
    setButtonColor();
}

QString ConfirmingButtonView::faceText() const
{
    return mArmed ? mConfirmText : label();
}

void ConfirmingButtonView::dumpProperties(QJsonObject& out) const
{
    ButtonView::dumpProperties(out);
    out.insert(QStringLiteral("armed"), mArmed);
    out.insert(QStringLiteral("confirmText"), mConfirmText);
}
