#include "PluginLoader.h"

#include "services/PluginExports.h"

#include <QFileInfo>
#include <QMetaObject>

#include <dlfcn.h>

bool PluginLoader::load(const QString& path, QString* error)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        *error = QStringLiteral("plug-in %1 does not exist").arg(path);
        return false;
    }
    void* handle = dlopen(QFile::encodeName(info.absoluteFilePath()).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        *error = QStringLiteral("cannot load plug-in %1: %2").arg(path, QString::fromLocal8Bit(dlerror()));
        return false;
    }
    auto entry = reinterpret_cast<Entry>(dlsym(handle, entrySymbol()));
    if (!entry) {
        *error = QStringLiteral("plug-in %1 has no LoadPlugin entry").arg(path);
        return false;
    }
    mPath = info.absoluteFilePath();
    mEntry = entry;
    const auto exports = reinterpret_cast<GetPluginExports>(dlsym(handle, PluginExportsSymbol));
    mExports = exports ? exports() : nullptr;
    return true;
}

QString PluginLoader::directory() const
{
    return QFileInfo(mPath).absolutePath();
}

DisplayView* PluginLoader::create(AppInfo* app, DisplayView* parent) const
{
    return mEntry ? mEntry(app, parent) : nullptr;
}

const QMetaObject* PluginLoader::exportedPage(const QString& className) const
{
    if (!mExports)
        return nullptr;
    for (const QMetaObject* const* page = mExports->pages; page && *page; ++page) {
        if (className == QLatin1String((*page)->className()))
            return *page;
    }
    return nullptr;
}
