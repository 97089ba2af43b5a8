#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

// One request as the endpoint's connection parsed it: only what the endpoint reads.
struct HttpRequest {
    QByteArray method;
    QByteArray target;  // origin form, query included
    QByteArray version; // "HTTP/1.0" or "HTTP/1.1"
    QList<QPair<QByteArray, QByteArray>> headers;

    // The first header of that name (names compare case-insensitively), null when absent.
    QByteArray header(const QByteArray& name) const;
    QByteArray path() const { return target.split('?').first(); }
    bool isHead() const { return method == "HEAD"; }
    // What the client asked for: HTTP/1.1 keeps the connection unless told to close, HTTP/1.0
    // closes it unless asked to keep it.
    bool wantsKeepAlive() const;
};

struct HttpResponse {
    int status = 200;
    QByteArray contentType;
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;

    // A short plain-text answer ("404 Not Found").
    static HttpResponse error(int status);
    // The bytes on the wire; a HEAD answer carries the length of the body it leaves out.
    QByteArray serialize(bool withBody, bool keepAlive) const;
};

const char* httpReasonPhrase(int status);

// What one client may take of the endpoint. Requests are small GETs, so anything larger or
// slower is refused early rather than read.
struct HttpLimits {
    int maxHeadBytes = 16 * 1024; // request line and headers
    int maxHeaders = 100;
    qint64 maxBodyBytes = 64 * 1024;
    // A whole request, from the moment the connection waits for it; an idle connection is
    // closed after as long.
    int requestDeadlineMs = 5000;
    // Connections served at once from one address; more wait unread, in turn, up to as many
    // again, and the rest are refused.
    int servedPerAddress = 256;
    int waitingPerAddress = 256;
    // Beyond this, new connections wait in the listen backlog.
    int maxConnections = 1024;
};
