#pragma once

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
    // It pumps its engine from the host's loop whenever the engine has work.
    ChromiumManager* (*createBrowserRuntime)(QObject* parent);
};

using GetPluginExports = const PluginExports* (*)();
constexpr const char* PluginExportsSymbol = "orvanePluginExports";
