#pragma once

#include <QString>

class AppInfo;
class DisplayView;
struct QMetaObject;

// Loads a UI plug-in the way the car does: dlopen, then its C++ entry LoadPlugin.
// The library stays loaded for the life of the process: its objects may outlive any view.
class PluginLoader {
public:
    using Entry = DisplayView* (*)(AppInfo*, DisplayView*);

    bool load(const QString& path, QString* error);
    QString path() const { return mPath; }
    // The directory the plug-in was loaded from, which holds its assets.
    QString directory() const;
    DisplayView* create(AppInfo* app, DisplayView* parent) const;
    // The meta-object of a class the plug-in exports (pages a host may place itself), or null.
    // Such a page is made with QMetaObject::newInstance through its invokable constructor.
    const QMetaObject* exportedClass(const QString& className) const;

    // LoadPlugin(AppInfo*, DisplayView*) as the Itanium C++ ABI spells it.
    static const char* entrySymbol() { return "_Z10LoadPluginP7AppInfoP11DisplayView"; }

private:
    QString mPath;
    Entry mEntry = nullptr;
    void* mHandle = nullptr;
};
