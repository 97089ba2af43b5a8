#include "services/FontManager.h"

#include "core/Logger.h"

#include <QFontDatabase>
#include <QGuiApplication>

#include <fontconfig/fontconfig.h>

#include <thread>

namespace {

// Started and joined on the UI thread; joined at exit too, when a host calls exit() with the
// guard still on its stack.
struct PreloadThread {
    std::thread thread;
    ~PreloadThread() { join(); }
    void join()
    {
        if (thread.joinable())
            thread.join();
    }
};

PreloadThread& preloadThread()
{
    static PreloadThread preload;
    return preload;
}

void waitForPreload()
{
    preloadThread().join();
}

} // namespace

FontPreload::FontPreload()
{
    if (!preloadThread().thread.joinable())
        preloadThread().thread = std::thread([] { FcInit(); });
}

FontPreload::~FontPreload()
{
    waitForPreload();
}

const QStringList& FontManager::proportionalFamilies()
{
    static const QStringList families{
        QStringLiteral("Liberation Serif"), QStringLiteral("DejaVu Serif"), QStringLiteral("FreeSans"),
        QStringLiteral("Liberation Sans"), QStringLiteral("DejaVu Sans"),
    };
    return families;
}

const QStringList& FontManager::monospacedFamilies()
{
    static const QStringList families{
        QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Liberation Mono"), QStringLiteral("FreeMono"),
        QStringLiteral("Noto Mono"), QStringLiteral("Hack"),
    };
    return families;
}

FontManager::FontManager()
{
    // Qt reads the configuration through the same library: begun before it is finished, it
    // would be read twice.
    waitForPreload();
    for (const QString& family : proportionalFamilies())
        mProportional.append(QFont(family));
    for (const QString& family : monospacedFamilies()) {
        QFont font(family);
        font.setStyleHint(QFont::Monospace);
        mMonospaced.append(font);
    }
    const QStringList missing = missingFamilies();
    if (!missing.isEmpty())
        Logger(nullptr, "WARN") << "Fonts not installed, substitutes used:" << missing.join(QStringLiteral(", "));
}

FontManager* FontManager::instance()
{
    static FontManager manager;
    return &manager;
}

QStringList FontManager::missingFamilies() const
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return {};
    const QStringList installed = QFontDatabase().families();
    QStringList missing;
    for (const QString& family : proportionalFamilies() + monospacedFamilies()) {
        if (!installed.contains(family, Qt::CaseInsensitive))
            missing.append(family);
    }
    return missing;
}
