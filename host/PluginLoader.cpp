#include "PluginLoader.h"

#include <QFileInfo>

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
    mHandle = handle;
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

const QMetaObject* PluginLoader::exportedClass(const QString& className) const
{
    if (!mHandle)
        return nullptr;
    // ClassName::staticMetaObject as the Itanium C++ ABI spells it.
    const QByteArray name = className.toLatin1();
    const QByteArray symbol = "_ZN" + QByteArray::number(name.size()) + name + "16staticMetaObjectE";
    return static_cast<const QMetaObject*>(dlsym(mHandle, symbol.constData()));
}
