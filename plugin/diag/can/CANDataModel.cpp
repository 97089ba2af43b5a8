#include "diag/can/CANDataModel.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "services/AppInfo.h"
#include "services/VxJson.h"

#include <QFile>
#include <QSet>

namespace {

// Every name of the largest catalogues fits many times over; a larger file is not a filter,
// and reading it would cost seconds and most of the memory.
constexpr qint64 MaxFilterBytes = 4 * 1024 * 1024;

// A filter key's names. Anything but an array of strings names nothing; what is skipped is
// logged, so a filter that shows less than meant says why.
QSet<QByteArray> namesOf(const QVariantMap& map, const QString& key)
{
    QSet<QByteArray> names;
    const QVariant value = map.value(key);
    if (!value.isValid())
        return names;
    if (value.type() != QVariant::List) {
        Logger(nullptr, "WARN") << "CAN View Filter:" << key << "is not a list of names; ignored";
        return names;
    }
    int skipped = 0;
    for (const QVariant& entry : value.toList()) {
        if (entry.type() == QVariant::String)
            names.insert(entry.toString().toUtf8());
        else
            ++skipped;
    }
    if (skipped > 0)
        Logger(nullptr, "WARN") << "CAN View Filter:" << skipped << "entries of" << key << "are not names; skipped";
    return names;
}

} // namespace

CANDataModel::CANDataModel(AppInfo* appInfo, bool showAll, QObject* parent)
    : QObject(parent)
    , mFiltered(!showAll)
{
    if (showAll)
        return;
    const QStringList candidates = filterFileCandidates(appInfo);
    for (const QString& candidate : candidates) {
        QFile file(candidate);
        if (file.exists()) {
            loadFilter(file);
            return;
        }
    }
    Logger(this, "ERROR") << "CAN View Filter File" << candidates.last() << "does not exist";
}

QStringList CANDataModel::filterFileCandidates(const AppInfo* appInfo)
{
    const QString app = appInfo ? appInfo->directoryPath() : QString();
    return {DiagCANConfigDirectory + QLatin1Char('/') + DiagCANConfigFileName,
            app + QLatin1Char('/') + DiagCANConfigFileName};
}

void CANDataModel::loadFilter(QFile& file)
{
    Logger(this, "INFO") << "Loading CAN View Filter from" << file.fileName();
    if (!file.open(QIODevice::ReadOnly)) {
        Logger(this, "ERROR") << "Unable to open CAN View Filter" << file.fileName();
        return;
    }
    if (file.size() > MaxFilterBytes) {
        Logger(this, "WARN") << "CAN View Filter" << file.fileName() << "holds" << file.size() << "bytes, more than any filter needs";
        Logger(this, "ERROR") << "Empty or corrupt CAN View Filter";
        return;
    }
    const QByteArray text = file.readAll();
    file.close();
    if (text.isEmpty() || !applyFilter(text, CANDataManager::catalogue(), &mRoot))
        Logger(this, "ERROR") << "Empty or corrupt CAN View Filter";
}

bool CANDataModel::applyFilter(const QByteArray& text, const CANData& catalogue, CANFilterEntry* root)
{
    bool ok = false;
    const QVariant parsed = VxJson::Parser::parse(text, &ok, false);
    // An array is JSON but no filter.
    const QVariantMap map = parsed.toMap();
    if (!ok || parsed.type() != QVariant::Map || map.isEmpty())
        return false;
    // Sets, not lists: a filter naming thousands of signals is read in one pass of the
    // catalogue; a name's first listing is as good as any other.
    const QSet<QByteArray> buses = namesOf(map, QStringLiteral("buses"));
    const QSet<QByteArray> messages = namesOf(map, QStringLiteral("messages"));
    const QSet<QByteArray> signalNames = namesOf(map, QStringLiteral("signals"));

    for (int b = 0; b < catalogue.busCount(); ++b) {
        const CANBusNode* bus = catalogue.busAt(b);
        if (!buses.contains(bus->name()))
            continue;
        root->indices.append(b);
        CANFilterEntry busEntry;
        for (int m = 0; m < bus->messageCount(); ++m) {
            const CANMessageNode* message = bus->messageAt(m);
            if (!messages.contains(message->name()))
                continue;
            busEntry.indices.append(m);
            CANFilterEntry messageEntry;
            for (int s = 0; s < message->signalCount(); ++s) {
                if (signalNames.contains(message->signalAt(s)->name())) {
                    messageEntry.indices.append(s);
                    messageEntry.children.append(CANFilterEntry());
                }
            }
            busEntry.children.append(messageEntry);
        }
        root->children.append(busEntry);
    }
    return true;
}

int CANDataModel::busIndex(int bus) const
{
    return mFiltered ? mRoot.indices[bus] : bus;
}

int CANDataModel::messageIndex(int bus, int msg) const
{
    return mFiltered ? mRoot.children[bus].indices[msg] : msg;
}

int CANDataModel::signalIndex(int bus, int msg, int sig) const
{
    return mFiltered ? mRoot.children[bus].children[msg].indices[sig] : sig;
}

int CANDataModel::getBusCount() const
{
    return mFiltered ? mRoot.indices.size() : CANDataManager::catalogue().busCount();
}

QString CANDataModel::getBusName(int bus) const
{
    return QString::fromUtf8(CANDataManager::catalogue().busAt(busIndex(bus))->name());
}

int CANDataModel::getMessageCount(int bus) const
{
    return mFiltered ? mRoot.children[bus].indices.size() : CANDataManager::catalogue().busAt(bus)->messageCount();
}

QString CANDataModel::getMessageName(int bus, int msg) const
{
    return QString::fromUtf8(CANDataManager::catalogue().busAt(busIndex(bus))->messageAt(messageIndex(bus, msg))->name());
}

int CANDataModel::getSignalCount(int bus, int msg) const
{
    if (mFiltered)
        return mRoot.children[bus].children[msg].indices.size();
    return CANDataManager::catalogue().busAt(bus)->messageAt(msg)->signalCount();
}

QString CANDataModel::getSignalName(int bus, int msg, int sig) const
{
    return QString::fromUtf8(getSignal(bus, msg, sig)->name());
}

CANSignalNode* CANDataModel::getSignal(int bus, int msg, int sig) const
{
    return CANDataManager::catalogue().busAt(busIndex(bus))->messageAt(messageIndex(bus, msg))->signalAt(signalIndex(bus, msg, sig));
}
