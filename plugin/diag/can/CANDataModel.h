#pragma once

#include <QList>
#include <QObject>
#include <QString>

class AppInfo;
class CANData;
class CANSignalNode;
class QFile;

// The CAN catalogue as the viewer shows it: buses, their messages and their signals,
// addressed by positions in that tree. Unfiltered it is the whole catalogue; filtered, only
// what the filter file names, always in catalogue order.
class CANDataModel : public QObject {
    Q_OBJECT
public:
    // What one level of the filtered tree keeps: catalogue indices in ascending order, and
    // one child per kept index for the level below (signals have none).
    struct CANFilterEntry {
        QList<int> indices;
        QList<CANFilterEntry> children;
    };

    // With showAll the model is the catalogue; otherwise it reads the filter file,
    // "/var/etc/diagCAN-config.json" before the one in the application's folder.
    CANDataModel(AppInfo* appInfo, bool showAll, QObject* parent = nullptr);

    bool isFiltered() const { return mFiltered; }

    // Positions are those of the shown tree and must be valid.
    int getBusCount() const;
    QString getBusName(int bus) const;
    int getMessageCount(int bus) const;
    QString getMessageName(int bus, int msg) const;
    int getSignalCount(int bus, int msg) const;
    QString getSignalName(int bus, int msg, int sig) const;
    // The catalogue's node; not owned.
    CANSignalNode* getSignal(int bus, int msg, int sig) const;

    // Reads a filter file and keeps what it names. Call it once: a second call appends.
    void loadFilter(QFile& file);

    // The filter file candidates, the first existing one wins.
    static QStringList filterFileCandidates(const AppInfo* appInfo);
    // What a filter text keeps of a catalogue, appended to `root`; false when the text is not
    // a JSON object with at least one key.
    static bool applyFilter(const QByteArray& text, const CANData& catalogue, CANFilterEntry* root);

private:
    int busIndex(int bus) const;
    int messageIndex(int bus, int msg) const;
    int signalIndex(int bus, int msg, int sig) const;

    bool mFiltered;
    CANFilterEntry mRoot;
};
