#include "views/dialog/PageDialogPopup.h"

#include "views/CenterDisplay.h"
#include "views/ViewHost.h"
#include "views/keyboard/TextFieldView.h"
#include "views/popup/OverlayView.h"

#include <QJsonObject>

namespace {

QString refusal(PageDialogPopup::Kind kind)
{
    switch (kind) {
    case PageDialogPopup::Alert:
        return QString();
    case PageDialogPopup::Geolocation:
        return QObject::tr("DENY");
    default:
        return QObject::tr("CANCEL");
    }
}

constexpr int FieldHeight = 64;

} // namespace

PageDialogPopup::PageDialogPopup(const QString& title, const QString& text, Kind kind, const QString& defaultPrompt)
    : ConfirmationPopup(title, text, refusal(kind), kind == Geolocation ? tr("ALLOW") : tr("OK"), true, QuestionStyle, 760)
    , mKind(kind)
{
    if (kind == Prompt) {
        mField = new TextFieldView(this, defaultPrompt);
        mField->setObjectName(QStringLiteral("prompt"));
        insertContent(mField, FieldHeight);
    }
    connect(this, &ConfirmationPopup::answered, this, [this](bool yes) {
        // A refused prompt gives the page nothing, whatever was typed.
        emit pageAnswered(yes, yes ? enteredText() : QString());
    });
    if (mField) {
        connect(mField, &TextFieldView::returnPressed, this, [this] { answer(true); });
        connect(this, &PopupView::closed, mField, [this] {
            if (mField->hasKeyFocus())
                ViewHost::setKeyFocus(nullptr);
        });
    }
}

void PageDialogPopup::present()
{
    if (mField) {
        // Above the keyboard, so the field stays in sight while it is typed into.
        const int above = theCenterDisplay->overlay()->height() - theCenterDisplay->keyboardHeight();
        moveTo((theCenterDisplay->overlay()->width() - width()) / 2, qMax(0, (above - height()) / 2));
    }
    open();
    if (mField)
        mField->beginEditing();
}

QString PageDialogPopup::enteredText() const
{
    return mField ? mField->text() : QString();
}

void PageDialogPopup::withdraw()
{
    disconnect(this, &PageDialogPopup::pageAnswered, nullptr, nullptr);
    dismiss();
}

void PageDialogPopup::dumpProperties(QJsonObject& out) const
{
    ConfirmationPopup::dumpProperties(out);
    static const char* const kinds[] = {"alert", "confirm", "prompt", "geolocation"};
    out.insert(QStringLiteral("kind"), QLatin1String(kinds[mKind]));
}
