#include "views/AppChooser.h"

#include "core/Logger.h"
#include "services/PlatformJournal.h"
#include "views/table/ListView.h"

#include <QMutex>
#include <QVector>

struct AppChooser::Private {
    ListView* list;
};

namespace {

struct App {
    QString name;
    AppChooser::Opener open;
};

struct Registry {
    QMutex mutex;
    QVector<App> apps;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

} // namespace

AppChooser::AppChooser(DisplayView* parent)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
    d->list = new ListView(this, appNames());
    d->list->setAutoResizeToParent(true);
    connect(d->list, &ListView::itemChosen, this, [](int, const QString& name) { openApp(name); });
}

AppChooser::~AppChooser() = default;

ListView* AppChooser::listView() const
{
    return d->list;
}

void AppChooser::registerApp(const QString& name, const Opener& open)
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    for (App& app : r.apps) {
        if (app.name == name) {
            app.open = open;
            return;
        }
    }
    r.apps.append({name, open});
}

QStringList AppChooser::appNames()
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    QStringList names;
    for (const App& app : qAsConst(r.apps))
        names << app.name;
    return names;
}

bool AppChooser::openApp(const QString& name)
{
    Opener open;
    {
        Registry& r = registry();
        QMutexLocker lock(&r.mutex);
        for (const App& app : qAsConst(r.apps)) {
            if (app.name == name)
                open = app.open;
        }
    }
    if (!open) {
        Logger(nullptr, "WARN") << "No app named" << name << "to open";
        return false;
    }
    PlatformJournal::record(QStringLiteral("AppChooser"), QStringLiteral("openApp"), {name});
    // The opener may rebuild the very view that asked: let the tap finish first.
    QMetaObject::invokeMethod(PlatformJournal::instance(), open, Qt::QueuedConnection);
    return true;
}
