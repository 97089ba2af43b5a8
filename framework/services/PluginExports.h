#pragma once

#include <functional>

class ChromiumManager;
class QObject;
struct QMetaObject;

// What a UI plug-in offers a host beyond its LoadPlugin entry, under the C symbol
// PluginExportsSymbol, so that a host needs no C++ name of the plug-in's classes.
struct PluginExports {
    // Pages a host may place itself, each made with newInstance(DisplayView* parent); null ends it.
    const QMetaObject* const* pages;
    // The browser's web view, made with newInstance(DisplayView* parent); null without a browser.
    const QMetaObject* webView;
    // The browser runtime the centre display hands out, owned by parent; null without a browser.
    ChromiumManager* (*createBrowserRuntime)(QObject* parent);
    // Pumps the browser runtime one step; a host calls it from its loop while the runtime has
    // browsers, which whenBrowsersChange tells it (has is true from the first, false after the last).
    void (*tickBrowserRuntime)(ChromiumManager* runtime);
    void (*whenBrowsersChange)(ChromiumManager* runtime, QObject* context, std::function<void(bool has)> changed);
};

using GetPluginExports = const PluginExports* (*)();
constexpr const char* PluginExportsSymbol = "orvanePluginExports";
