#include "services/FontManager.h"

#include "core/Logger.h"

#include <QFontDatabase>
#include <QGuiApplication>

#include <fontconfig/fontconfig.h>

#include <thread>

namespace {

// Joined by the first FontManager, or at exit when there never was one.
struct BackgroundLoad {
    std::thread thread;
    ~BackgroundLoad() { join(); }
    void join()
    {
        if (thread.joinable())
            thread.join();
    }
};

BackgroundLoad& backgroundLoad()
{
    static BackgroundLoad load;
    return load;
}

} // namespace

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
    backgroundLoad().join();
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

void FontManager::loadInBackground()
{
    if (!backgroundLoad().thread.joinable())
        backgroundLoad().thread = std::thread([] { FcInit(); });
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
