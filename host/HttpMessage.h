#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

#include <functional>

// One request as the endpoint's connection parsed it: only what the endpoint reads.
struct HttpRequest {
    QByteArray method;
    QByteArray target;  // origin form, query included
    QByteArray version; // "HTTP/1.0" or "HTTP/1.1"
    QList<QPair<QByteArray, QByteArray>> headers;
    // Asked again after being held: it is answered now, whatever did or did not change.
    bool waited = false;

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
    // When holdMs is set, nothing is sent yet: the request waits while unchanged() holds,
    // looked at whenever the server hears of a change, for holdMs at most; then the handler
    // is asked again (with waited set) and answers.
    int holdMs = 0;
    std::function<bool()> unchanged;

    // A short plain-text answer ("404 Not Found").
    static HttpResponse error(int status);
    static HttpResponse held(int holdMs, std::function<bool()> unchanged);
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
