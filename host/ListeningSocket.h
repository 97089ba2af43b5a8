#pragma once

#include <QString>

// Listening sockets made with the plain socket calls, so that a part of the bench that does not
// load Qt's network library can bind them early: clients queue in the kernel's backlog until
// whoever takes the socket over accepts them.

// Listens on 127.0.0.1:port (0: a free one). The descriptor and the port bound, or -1 with the
// reason.
int listenOnLoopback(int port, int* boundPort, QString* reason);

// Listens on a local socket at path, which only this user may connect to. The descriptor, or -1
// with the reason.
int listenOnLocalPath(const QString& path, QString* reason);
