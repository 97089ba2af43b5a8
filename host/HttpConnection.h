#pragma once

#include "HttpMessage.h"

#include <QObject>
#include <QTimer>

#include <functional>

class QTcpSocket;

// One client of the endpoint: reads requests one after the other (pipelined ones included)
// and answers each in order. Everything a client sends is bounded: the bytes and lines of a
// request's head, its body, the time it takes to arrive, and the answers it leaves unread.
class HttpConnection : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    // Takes the socket; reads nothing before start().
    HttpConnection(QTcpSocket* socket, const HttpLimits& limits, Handler handler, QObject* parent = nullptr);

    QString peerAddress() const { return mPeerAddress; }
    void start();
    // Answers with an error and closes without reading a request.
    void refuse(int status);

signals:
    // The client is gone or the connection was closed; the connection may be deleted.
    void finished(HttpConnection* connection);

private:
    enum class State { Waiting, Reading, Draining, Closed };

    void watchSocket();
    void readInput();
    // Answers the next complete request in the buffer; false when none is complete yet.
    bool answerNextRequest();
    void send(const HttpResponse& response, const HttpRequest& request);
    void fail(int status);
    void onDeadline();
    void close();

    QTcpSocket* mSocket;
    const QString mPeerAddress;
    const HttpLimits mLimits;
    const Handler mHandler;
    State mState = State::Waiting;
    QByteArray mBuffer;
    // A request whose body is still being read (and thrown away) before it is answered.
    HttpRequest mAwaitingBody;
    qint64 mBodyLeft = 0;
    QTimer mDeadline;
};
