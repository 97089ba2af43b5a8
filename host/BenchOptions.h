#pragma once

#include <QSize>
#include <QStringList>
#include <memory>

class QCommandLineParser;

// The largest display side the bench paints: a frame of 8192x8192 is 256 MB already.
constexpr int MaxDisplaySide = 8192;

// What orvane-bench was asked to do.
struct BenchOptions {
    QString pluginPath;
    QString configPath;
    QStringList assignments; // NAME=VALUE, applied in order
    QSize size{1920, 1200};
    bool offscreen = false;
    QString screenshotPath;
    QString dumpPath;
    QString scriptPath;
    bool keepGoing = false;     // a script goes on past failed expectations
    double driveAt = -1;        // seconds into the bench car's drive at start; < 0 parked
    int vehicleLatencyMs = 300; // how long the car takes to accept a pending request
    QString dataDir;            // empty: StorageUtils' default
    int servicePort = 8080;     // the service endpoint's loopback port; 0 picks a free one
    QString browserUrl;         // opens the Browser screen at start
    QStringList failingHostCommands; // host commands that fail, as a broken car's would
    // Kept for the framework services that read their own options (CAN sources).
    std::shared_ptr<QCommandLineParser> parser;
};

// Parses the command line. On --help it prints the help and exits 0; on bad usage it prints
// the reason and returns false.
bool parseBenchOptions(const QStringList& arguments, BenchOptions* options, QString* error);
