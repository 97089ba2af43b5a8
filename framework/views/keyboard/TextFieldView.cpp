#include "views/keyboard/TextFieldView.h"

#include "views/CenterDisplay.h"

#include <QJsonObject>
#include <QKeyEvent>
#include <QPainter>

TextFieldView::TextFieldView(DisplayView* parent, const QString& text)
    : DisplayView(parent)
    , mText(text)
{
    resize(400, 60);
}

void TextFieldView::setText(const QString& text)
{
    if (text == mText)
        return;
    mText = text;
    update();
}

void TextFieldView::beginEditing()
{
    setKeyFocus();
    theCenterDisplay->setKeyboardVisible(true);
    update();
}

bool TextFieldView::touchEvent(const TouchEvent& event)
{
    if (event.kind == TouchEvent::Kind::Release)
        beginEditing();
    return true;
}

bool TextFieldView::keyEvent(QKeyEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return true;
    switch (event->key()) {
    case Qt::Key_Backspace:
        mText.chop(1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit returnPressed();
        return true;
    case Qt::Key_Tab:
        return false;
    default:
        if (event->text().isEmpty() || !event->text().at(0).isPrint())
            return false;
        mText += event->text();
    }
    update();
    emit textEdited(mText);
    return true;
}

void TextFieldView::lostKeyFocus()
{
    theCenterDisplay->setKeyboardVisible(false);
    update();
}

void TextFieldView::draw(QPainter& painter)
{
    painter.setRenderHint(QPainter::Antialiasing);
    const bool editing = hasKeyFocus();
    painter.setPen(QPen(editing ? QColor(0x3d, 0x8b, 0xff) : QColor(0x4a, 0x52, 0x5e), 2));
    painter.setBrush(QColor(0x12, 0x14, 0x18));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
    QFont font = painter.font();
    font.setPixelSize(height() * 2 / 5);
    painter.setFont(font);
    painter.setPen(Qt::white);
    const QRect inner = rect().adjusted(16, 0, -16, 0);
    // The end of a long text is where typing happens: it stays in view.
    const QString shown = painter.fontMetrics().elidedText(mText, Qt::ElideLeft, inner.width() - 4);
    painter.drawText(inner, Qt::AlignLeft | Qt::AlignVCenter, shown + (editing ? QStringLiteral("|") : QString()));
}

void TextFieldView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("text"), mText);
    out.insert(QStringLiteral("editing"), hasKeyFocus());
}
