#include "views/ViewDump.h"

#include "views/DisplayView.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

namespace {

QJsonObject rectJson(const QRect& r)
{
    return QJsonObject{{"x", r.x()}, {"y", r.y()}, {"width", r.width()}, {"height", r.height()}};
}

} // namespace

QJsonObject ViewDump::toJson(const DisplayView* view)
{
    QJsonObject out;
    out.insert(QStringLiteral("class"), QString::fromLatin1(view->metaObject()->className()));
    if (!view->objectName().isEmpty())
        out.insert(QStringLiteral("name"), view->objectName());
    view->dumpProperties(out);
    out.insert(QStringLiteral("geometry"), rectJson(view->geometry()));
    out.insert(QStringLiteral("rootGeometry"), rectJson(view->rootGeometry()));
    out.insert(QStringLiteral("visible"), view->isVisible());
    out.insert(QStringLiteral("shown"), view->isShown());
    out.insert(QStringLiteral("enabled"), view->isEnabled());
    QJsonArray children;
    for (const DisplayView* child : view->childViews())
        children.append(toJson(child));
    out.insert(QStringLiteral("children"), children);
    return out;
}

bool ViewDump::writeFile(const DisplayView* root, const QString& path, QString* error)
{
    return writeFile(toJson(root), path, error);
}

bool ViewDump::writeFile(const QJsonObject& dump, const QString& path, QString* error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    file.write(QJsonDocument(dump).toJson(QJsonDocument::Indented));
    if (!file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}
