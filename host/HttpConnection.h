#pragma once

#include "HttpMessage.h"

#include <QObject>
#include <QTimer>

#include <functional>

class QTcpSocket;

// One client of the endpoint: reads requests one after the other (pipelined ones included)
// and answers each in order. Everything a client sends is bounded: the bytes and lines of a
// request's head, its body, the time it takes to arrive, and the answers it leaves unread.
// A request the handler holds (a reader waiting for news) stops the reading until it is
// answered; a client that goes meanwhile takes it along.
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
    // Something changed: a held request whose wait is over is answered.
    void lookAtHeldRequest();

signals:
    // The client is gone or the connection was closed; the connection may be deleted.
    void finished(HttpConnection* connection);
    void holdingChanged(bool holding);

private:
    enum class State { Waiting, Reading, Holding, Draining, Closed };

    void setState(State state);
    void respond(const HttpRequest& request);
    void answerHeldRequest();
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
    HttpRequest mHeldRequest;
    HttpResponse mHeldResponse;
    QTimer mHoldTimer;
};
