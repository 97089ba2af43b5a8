#include "can/CANData.h"

#include "core/Logger.h"

#include <QFile>
#include <QFileInfo>
#include <QTextCodec>

#include <algorithm>
#include <cmath>

struct CANData::Private {
    QHash<QByteArray, int> busesByName;
    std::vector<std::shared_ptr<CANBusNode>> buses;
    std::vector<CANSignalNode*> signalsById;
    QHash<QByteArray, bool> highPrecisionNames;
    int messageCount = 0;

    // Nodes for a message of the catalogue and its signals, numbered on from those already made.
    std::unique_ptr<CANMessageNode> makeMessage(const DbcMessage& message, int index, CANBusNode* bus);
    std::unique_ptr<CANSignalNode> makeSignal(const DbcSignal& signal, int index, CANMessageNode* message);
};

namespace {

constexpr int MaxProblemsLogged = 30;
// The largest real catalogues are a few megabytes.
constexpr qint64 MaxCatalogueBytes = 64 * 1024 * 1024;

// Catalogue text is UTF-8 in newer files and CP-1252 in older ones; try the first strictly.
QString decodeText(const std::string& bytes)
{
    if (bytes.empty())
        return QString();
    static QTextCodec* utf8 = QTextCodec::codecForName("UTF-8");
    static QTextCodec* cp1252 = QTextCodec::codecForName("windows-1252");
    QTextCodec::ConverterState state(QTextCodec::ConvertInvalidToNull);
    const QString text = utf8->toUnicode(bytes.data(), int(bytes.size()), &state);
    if (state.invalidChars == 0 && state.remainingChars == 0)
        return text;
    return cp1252 ? cp1252->toUnicode(bytes.data(), int(bytes.size())) : QString::fromLatin1(bytes.data(), int(bytes.size()));
}

QByteArray bytesOf(const std::string& s) { return QByteArray(s.data(), int(s.size())); }

bool highPrecision(const DbcSignal& s)
{
    if (s.layout.type != SignalLayout::ValueType::Integer)
        return true;
    return s.factor != 0 && std::fabs(s.factor) < 0.001;
}

} // namespace

CANBusNode* CANSignalNode::bus() const { return mMessage->bus(); }

QString CANSignalNode::labelFor(qint64 raw) const
{
    const auto it = std::lower_bound(mLabels.begin(), mLabels.end(), raw,
        [](const QPair<qint64, QString>& l, qint64 v) { return l.first < v; });
    return it != mLabels.end() && it->first == raw ? it->second : QString();
}

CANSignalNode* CANMessageNode::findSignal(const QByteArray& name) const
{
    const auto it = mSignalsByName.constFind(name);
    return it == mSignalsByName.constEnd() ? nullptr : mSignalNodes[size_t(*it)].get();
}

CANMessageNode* CANBusNode::findMessage(const QByteArray& name) const
{
    const auto it = mMessagesByName.constFind(name);
    return it == mMessagesByName.constEnd() ? nullptr : mMessages[size_t(*it)].get();
}

// Copies share the buses, which nothing changes once loaded. A moved-from catalogue is empty.
CANData::CANData()
    : d(std::make_unique<Private>())
{
}

CANData::~CANData() = default;

CANData::CANData(const CANData& other)
    : d(std::make_unique<Private>(*other.d))
{
}

CANData::CANData(CANData&& other) noexcept
    : d(std::make_unique<Private>())
{
    d.swap(other.d);
}

CANData& CANData::operator=(const CANData& other)
{
    *d = *other.d;
    return *this;
}

CANData& CANData::operator=(CANData&& other) noexcept
{
    d.swap(other.d);
    return *this;
}

CANSignalNode* CANData::signalById(int id) const
{
    return id >= 0 && id < int(d->signalsById.size()) ? d->signalsById[size_t(id)] : nullptr;
}

void CANData::splitBusArgument(const QString& argument, QString* busName, QString* path)
{
    const int eq = argument.indexOf(QLatin1Char('='));
    // A '=' inside a directory name is part of the path, not a bus name.
    if (eq > 0 && !argument.left(eq).contains(QLatin1Char('/'))) {
        *busName = argument.left(eq);
        *path = argument.mid(eq + 1);
    } else {
        *busName = QString();
        *path = argument;
    }
}

bool CANData::addBusFromFile(const QString& path, const QString& busName)
{
    // A pipe or a device could block the reader or never end.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        Logger(nullptr, "ERROR") << "CAN catalogue" << path << "is not a regular file; not read";
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Logger(nullptr, "ERROR") << "CAN catalogue" << path << "cannot be read:" << file.errorString();
        return false;
    }
    if (file.size() > MaxCatalogueBytes) {
        Logger(nullptr, "ERROR") << "CAN catalogue" << path << "holds" << file.size()
                                 << "bytes, more than any catalogue; not read";
        return false;
    }
    const QByteArray text = file.read(MaxCatalogueBytes);
    const QString name = busName.isEmpty() ? QFileInfo(path).completeBaseName() : busName;
    return addBusFromText(text, name, path);
}

namespace {

// The parsed catalogue, its problems logged (the first few); null when it cannot serve as a bus.
std::unique_ptr<DbcFile> parseCatalogue(const QByteArray& text, const QString& busName, const QString& sourceName)
{
    auto file = std::make_unique<DbcFile>(parseDbc(std::string_view(text.constData(), size_t(text.size()))));
    if (!file->fatalError.empty()) {
        Logger(nullptr, "ERROR") << "CAN catalogue" << sourceName << "not loaded:" << file->fatalError;
        return nullptr;
    }
    int logged = 0;
    for (const DbcProblem& p : file->problems) {
        if (logged++ == MaxProblemsLogged) {
            Logger(nullptr, "WARN") << "CAN catalogue" << sourceName << "has"
                                    << int(file->problems.size() - MaxProblemsLogged) << "more problems";
            break;
        }
        Logger(nullptr, "WARN") << QStringLiteral("%1:%2:").arg(sourceName).arg(p.line) << decodeText(p.text);
    }
    if (file->messages.empty() && !file->problems.empty()) {
        Logger(nullptr, "ERROR") << "CAN catalogue" << sourceName << "holds no messages; not loaded";
        return nullptr;
    }
    if (file->messages.empty())
        Logger(nullptr, "WARN") << "CAN catalogue" << sourceName << "holds no messages: bus" << busName
                                << "decodes nothing";
    return file;
}

} // namespace

bool CANData::addBusFromText(const QByteArray& text, const QString& busName, const QString& sourceName)
{
    const QByteArray name = busName.toUtf8();
    if (name.isEmpty()) {
        Logger(nullptr, "ERROR") << "CAN catalogue" << sourceName << "has no bus name; skipped";
        return false;
    }
    if (d->busesByName.contains(name)) {
        Logger(nullptr, "ERROR") << "CAN bus" << busName << "is already loaded;" << sourceName << "skipped";
        return false;
    }
    std::unique_ptr<DbcFile> file = parseCatalogue(text, busName, sourceName);
    if (!file)
        return false;

    auto bus = std::make_unique<CANBusNode>();
    bus->mName = name;
    bus->mSourceFile = sourceName;
    bus->mIndex = int(d->buses.size());
    bus->mStandardIds.assign(2048, -1);
    for (size_t mi = 0; mi < file->messages.size(); ++mi) {
        const DbcMessage& m = file->messages[mi];
        std::unique_ptr<CANMessageNode> message = d->makeMessage(m, int(mi), bus.get());
        // Long names may collide with another message's: the first keeps the name.
        if (!bus->mMessagesByName.contains(message->mName))
            bus->mMessagesByName.insert(message->mName, int(mi));
        if (m.extended)
            bus->mExtendedIds.emplace(m.id, int(mi));
        else
            bus->mStandardIds[m.id] = int(mi);
        bus->mMessages.push_back(std::move(message));
    }
    bus->mFile = std::move(file);

    Logger(nullptr, "INFO") << "CAN bus" << busName << "loaded from" << sourceName << ":" << bus->messageCount()
                            << "messages," << int(bus->mFile->signalCount()) << "signals,"
                            << int(bus->mFile->problems.size()) << "problems";
    d->busesByName.insert(name, bus->mIndex);
    d->buses.push_back(std::move(bus));
    return true;
}

std::unique_ptr<CANMessageNode> CANData::Private::makeMessage(const DbcMessage& m, int index, CANBusNode* bus)
{
    auto message = std::make_unique<CANMessageNode>();
    message->mName = bytesOf(m.name);
    message->mComment = decodeText(m.comment);
    message->mIndex = index;
    message->mGlobalIndex = messageCount++;
    message->mBus = bus;
    message->mDefinition = &m;
    for (size_t si = 0; si < m.signalList.size(); ++si) {
        std::unique_ptr<CANSignalNode> node = makeSignal(m.signalList[si], int(si), message.get());
        message->mSignalsByName.insert(node->mName, int(si));
        message->mSignalNodes.push_back(std::move(node));
    }
    return message;
}

std::unique_ptr<CANSignalNode> CANData::Private::makeSignal(const DbcSignal& s, int index, CANMessageNode* message)
{
    auto node = std::make_unique<CANSignalNode>();
    node->mName = bytesOf(s.name);
    node->mUnit = decodeText(s.unit);
    node->mComment = decodeText(s.comment);
    node->mId = int(signalsById.size());
    node->mIndex = index;
    node->mMessage = message;
    node->mDefinition = &s;
    node->mHighPrecision = highPrecision(s);
    for (const ValueLabel& l : s.labels)
        node->mLabels.append(qMakePair(qint64(l.value), decodeText(l.label)));
    if (node->mHighPrecision)
        highPrecisionNames.insert(node->mName, true);
    signalsById.push_back(node.get());
    return node;
}

CANBusNode* CANData::findBus(const QString& name) const
{
    const auto it = d->busesByName.constFind(name.toUtf8());
    return it == d->busesByName.constEnd() ? nullptr : d->buses[size_t(*it)].get();
}

CANMessageNode* CANData::findMessage(const CANBusNode* bus, const QString& name) const
{
    return bus ? bus->findMessage(name.toUtf8()) : nullptr;
}

CANSignalNode* CANData::findSignal(const CANMessageNode* message, const QString& name) const
{
    return message ? message->findSignal(name.toUtf8()) : nullptr;
}

bool CANData::isHighPrecision(const QString& signalName) const
{
    return d->highPrecisionNames.contains(signalName.toUtf8());
}

int CANData::busCount() const
{
    return int(d->buses.size());
}

CANBusNode* CANData::busAt(int i) const
{
    return d->buses[size_t(i)].get();
}

int CANData::messageCount() const
{
    return d->messageCount;
}

int CANData::signalCount() const
{
    return int(d->signalsById.size());
}
