#include "BenchNetwork.h"

#include "BenchNetworkModule.h"
#include "BenchPaths.h"
#include "HostCommandEnvironment.h"
#include "ListeningSocket.h"
#include "core/Logger.h"

#include <QElapsedTimer>
#include <QFile>
#include <QObject>

#include <dlfcn.h>
#include <unistd.h>

#include <utility>

BenchNetwork::~BenchNetwork()
{
    // Sockets the services never took.
    if (mServiceSocket >= 0)
        ::close(mServiceSocket);
    if (mHostCommandSocket >= 0)
        ::close(mHostCommandSocket);
}

bool BenchNetwork::bindServicePort(int port, QString* reason)
{
    mServiceSocket = listenOnLoopback(port, &mServicePort, reason);
    if (mServiceSocket >= 0)
        return true;
    *reason = QStringLiteral("cannot listen on 127.0.0.1:%1 (%2): is another bench or service using the port? "
                             "Choose another with --service-port")
                  .arg(port)
                  .arg(*reason);
    return false;
}

QString BenchNetwork::serviceUrl() const
{
    return mServicePort > 0 ? QStringLiteral("http://127.0.0.1:%1/").arg(mServicePort) : QString();
}

bool BenchNetwork::bindHostCommandSocket(const QString& socketFolder, QString* reason)
{
    const QString path = hostCommandSocketPath(socketFolder);
    mHostCommandSocket = listenOnLocalPath(path, reason);
    if (mHostCommandSocket < 0) {
        *reason = QStringLiteral("cannot listen for host commands on %1: %2").arg(path, *reason);
        return false;
    }
    exportHostCommandEnvironment(hostCommandsFolder(), path);
    return true;
}

void BenchNetwork::start()
{
    if (mServiceSocket < 0 && mHostCommandSocket < 0)
        return;
    QElapsedTimer loading;
    loading.start();
    const QString path = benchLibraryDir() + QLatin1Char('/') + QLatin1String(BenchNetworkModuleName);
    void* module = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    const auto startServices =
        reinterpret_cast<StartBenchNetwork>(module ? dlsym(module, StartBenchNetworkSymbol) : nullptr);
    if (!startServices) {
        Logger(nullptr, "ERROR") << "No network services (service endpoint, host commands' journal):"
                                 << QString::fromLocal8Bit(dlerror());
        return;
    }
    BenchNetworkSockets sockets;
    sockets.service = std::exchange(mServiceSocket, -1);
    sockets.servicePort = mServicePort;
    sockets.hostCommands = std::exchange(mHostCommandSocket, -1);
    mServices.reset(startServices(sockets, nullptr));
    Logger(nullptr, "INFO") << "Network services loaded in" << int(loading.elapsed()) << "ms";
}
