#pragma once

#include "OrvaneExport.h"
#include "can/DbcParser.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <unordered_map>
#include <vector>

class CANBusNode;
class CANMessageNode;

// The vehicle's CAN catalogue: buses (one per catalogue file), their messages and their
// signals, all in file order. A catalogue is filled by one thread and then handed to
// CANDataManager, which shares it with the capture threads; from then on it never changes, so
// they read it without locks. Copies share their nodes, which never change once made: a copy
// grown by a bus keeps every node of the original, ids and indices included.

class ORVANE_EXPORT CANSignalNode {
public:
    const QByteArray& name() const { return mName; }
    const QString& unit() const { return mUnit; }
    const QString& comment() const { return mComment; }
    // Unique across the whole catalogue, dense from 0 in catalogue order.
    int id() const { return mId; }
    int index() const { return mIndex; }  // within its message
    CANMessageNode* message() const { return mMessage; }
    CANBusNode* bus() const;
    const DbcSignal& definition() const { return *mDefinition; }
    // Floats, and factors finer than 0.001, need more decimals to be read.
    bool isHighPrecision() const { return mHighPrecision; }
    // The catalogue's label for a raw value, or a null string.
    QString labelFor(qint64 raw) const;

private:
    friend class CANData;
    QByteArray mName;
    QString mUnit;
    QString mComment;
    int mId = 0;
    int mIndex = 0;
    CANMessageNode* mMessage = nullptr;
    const DbcSignal* mDefinition = nullptr;
    bool mHighPrecision = false;
    QVector<QPair<qint64, QString>> mLabels;  // sorted by value
};

class ORVANE_EXPORT CANMessageNode {
public:
    const QByteArray& name() const { return mName; }
    const QString& comment() const { return mComment; }
    quint32 frameId() const { return mDefinition->id; }
    bool isExtended() const { return mDefinition->extended; }
    int index() const { return mIndex; }  // within its bus
    int globalIndex() const { return mGlobalIndex; }  // across the catalogue
    CANBusNode* bus() const { return mBus; }
    int signalCount() const { return int(mSignalNodes.size()); }
    CANSignalNode* signalAt(int i) const { return mSignalNodes[size_t(i)].get(); }
    CANSignalNode* findSignal(const QByteArray& name) const;
    int cycleTimeMs() const { return mDefinition->cycleTimeMs; }
    const DbcMessage& definition() const { return *mDefinition; }

private:
    friend class CANData;
    QByteArray mName;
    QString mComment;
    int mIndex = 0;
    int mGlobalIndex = 0;
    CANBusNode* mBus = nullptr;
    const DbcMessage* mDefinition = nullptr;
    std::vector<std::unique_ptr<CANSignalNode>> mSignalNodes;
    QHash<QByteArray, int> mSignalsByName;
};

class ORVANE_EXPORT CANBusNode {
public:
    const QByteArray& name() const { return mName; }
    const QString& sourceFile() const { return mSourceFile; }
    int index() const { return mIndex; }
    int messageCount() const { return int(mMessages.size()); }
    CANMessageNode* messageAt(int i) const { return mMessages[size_t(i)].get(); }
    CANMessageNode* findMessage(const QByteArray& name) const;
    // The message a frame carries, or -1; constant time, safe on any thread.
    int messageIndexForFrame(quint32 id, bool extended) const
    {
        if (!extended)
            return id < mStandardIds.size() ? mStandardIds[id] : -1;
        const auto it = mExtendedIds.find(id);
        return it == mExtendedIds.end() ? -1 : it->second;
    }

private:
    friend class CANData;
    QByteArray mName;
    QString mSourceFile;
    int mIndex = 0;
    std::unique_ptr<DbcFile> mFile;
    std::vector<std::unique_ptr<CANMessageNode>> mMessages;
    QHash<QByteArray, int> mMessagesByName;
    std::vector<int> mStandardIds;  // 2048 entries
    std::unordered_map<quint32, int> mExtendedIds;
};

class ORVANE_EXPORT CANData {
public:
    CANData();
    ~CANData();
    CANData(const CANData&);
    CANData(CANData&&) noexcept;
    CANData& operator=(const CANData&);
    CANData& operator=(CANData&&) noexcept;

    // "[NAME=]FILE": the bus takes NAME, or the file's base name.
    static void splitBusArgument(const QString& argument, QString* busName, QString* path);

    // Reads one catalogue file as a new bus. Every problem is logged with file and line; a
    // file that cannot be read leaves the catalogue as it was. False when no bus was added.
    bool addBusFromFile(const QString& path, const QString& busName = QString());
    // The same from text already in memory; `sourceName` names it in log lines.
    bool addBusFromText(const QByteArray& text, const QString& busName, const QString& sourceName);

    int busCount() const;
    CANBusNode* busAt(int i) const;
    int messageCount() const;
    int signalCount() const;
    CANSignalNode* signalById(int id) const;

    CANBusNode* findBus(const QString& name) const;
    CANMessageNode* findMessage(const CANBusNode* bus, const QString& name) const;
    CANSignalNode* findSignal(const CANMessageNode* message, const QString& name) const;
    // Whether any signal of this name is high precision.
    bool isHighPrecision(const QString& signalName) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
