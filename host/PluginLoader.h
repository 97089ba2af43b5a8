#pragma once

#include <QString>

class AppInfo;
class DisplayView;
struct PluginExports;
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
    // What the plug-in offers beyond its root view; null when it offers nothing.
    const PluginExports* exports() const { return mExports; }
    // The page class of that name the plug-in exports, or null.
    const QMetaObject* exportedPage(const QString& className) const;

    // LoadPlugin(AppInfo*, DisplayView*) as the Itanium C++ ABI spells it: the car's hosts find
    // the entry by this name.
    static const char* entrySymbol() { return "_Z10LoadPluginP7AppInfoP11DisplayView"; }

private:
    QString mPath;
    Entry mEntry = nullptr;
    const PluginExports* mExports = nullptr;
};
