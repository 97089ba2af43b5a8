#include "HttpConnection.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <sys/socket.h>

#include <cctype>
#include <cstring>
#include <utility>

namespace {

// Answers a client leaves unread beyond this stop the reading of its further requests.
constexpr qint64 MaxUnsentBytes = 1024 * 1024;

bool isToken(const QByteArray& text)
{
    if (text.isEmpty())
        return false;
    for (const char c : text) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr("!#$%&'*+-.^_`|~", c))
            return false;
    }
    return true;
}

bool isVisible(const QByteArray& text)
{
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= 0x20 || c == 0x7f)
            return false;
    }
    return !text.isEmpty();
}

bool isDecimal(const QByteArray& text)
{
    if (text.isEmpty() || text.size() > 18)
        return false;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// Where the head ends, just after its blank line; -1 when it has not all arrived.
int headEnd(const QByteArray& buffer)
{
    const int crlf = buffer.indexOf("\r\n\r\n");
    const int lf = buffer.indexOf("\n\n");
    if (crlf >= 0 && (lf < 0 || crlf < lf))
        return crlf + 4;
    return lf >= 0 ? lf + 2 : -1;
}

// Parses a request's head; 0, or the status that refuses it.
int parseHead(const QByteArray& head, const HttpLimits& limits, HttpRequest* request)
{
    QList<QByteArray> lines = head.split('\n');
    for (QByteArray& line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    const QList<QByteArray> parts = lines.first().split(' ');
    if (parts.size() != 3 || !isToken(parts[0]) || !isVisible(parts[1]))
        return 400;
    if (!parts[1].startsWith('/') && parts[1] != "*")
        return 400;
    if (parts[2] != "HTTP/1.1" && parts[2] != "HTTP/1.0")
        return parts[2].startsWith("HTTP/") ? 505 : 400;
    request->method = parts[0];
    request->target = parts[1];
    request->version = parts[2];
    for (int i = 1; i < lines.size(); ++i) {
        const QByteArray& line = lines[i];
        if (line.isEmpty())
            continue; // the blank line that ends the head
        const int colon = line.indexOf(':');
        // No colon, or a name with blanks or a folded continuation line: not a header.
        if (colon <= 0 || !isToken(line.left(colon)))
            return 400;
        if (request->headers.size() >= limits.maxHeaders)
            return 431;
        request->headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    int hosts = 0;
    for (const auto& field : qAsConst(request->headers))
        hosts += field.first.compare("Host", Qt::CaseInsensitive) == 0;
    if (hosts > 1 || (hosts == 0 && request->version == "HTTP/1.1"))
        return 400;
    return 0;
}

// The length of the body that follows the head; 0, or the status that refuses it.
int bodyLength(const HttpRequest& request, const HttpLimits& limits, qint64* length)
{
    // Without a length the end of a chunked body must be parsed: nothing here needs one.
    if (!request.header("Transfer-Encoding").isNull())
        return 501;
    QByteArray declared;
    for (const auto& field : request.headers) {
        if (field.first.compare("Content-Length", Qt::CaseInsensitive) != 0)
            continue;
        if (!isDecimal(field.second) || (!declared.isNull() && declared != field.second))
            return 400;
        declared = field.second;
    }
    *length = declared.isNull() ? 0 : declared.toLongLong();
    return *length > limits.maxBodyBytes ? 413 : 0;
}

} // namespace

HttpConnection::HttpConnection(QTcpSocket* socket, const HttpLimits& limits, Handler handler, QObject* parent)
    : QObject(parent)
    , mSocket(socket)
    , mPeerAddress(socket->peerAddress().toString())
    , mLimits(limits)
    , mHandler(std::move(handler))
{
    mSocket->setParent(this);
    // Qt buffers no more than a head: a client that sends faster than it is served waits in
    // its own socket.
    mSocket->setReadBufferSize(mLimits.maxHeadBytes);
    mDeadline.setSingleShot(true);
    mDeadline.setInterval(mLimits.requestDeadlineMs);
    connect(&mDeadline, &QTimer::timeout, this, &HttpConnection::onDeadline);
    mHoldTimer.setSingleShot(true);
    connect(&mHoldTimer, &QTimer::timeout, this, &HttpConnection::answerHeldRequest);
    connect(mSocket, &QTcpSocket::disconnected, this, &HttpConnection::close);
}

void HttpConnection::setState(State state)
{
    const bool wasHolding = mState == State::Holding;
    mState = state;
    if (wasHolding != (state == State::Holding))
        emit holdingChanged(!wasHolding);
}

void HttpConnection::start()
{
    if (mState != State::Waiting)
        return;
    watchSocket();
    setState(State::Reading);
    mDeadline.start();
    readInput();
}

void HttpConnection::refuse(int status)
{
    watchSocket();
    fail(status);
}

void HttpConnection::watchSocket()
{
    connect(mSocket, &QTcpSocket::readyRead, this, &HttpConnection::readInput);
    connect(mSocket, &QTcpSocket::bytesWritten, this, [this] {
        if (mState == State::Draining && mSocket->bytesToWrite() == 0)
            ::shutdown(int(mSocket->socketDescriptor()), SHUT_WR);
        else
            readInput();
    });
}

void HttpConnection::readInput()
{
    while (mState == State::Reading) {
        const qint64 room = mLimits.maxHeadBytes + 1 - mBuffer.size();
        if (room > 0 && mSocket->bytesAvailable() > 0)
            mBuffer += mSocket->read(room);
        if (!answerNextRequest())
            break;
    }
    if (mState == State::Draining)
        mSocket->readAll();
}

bool HttpConnection::answerNextRequest()
{
    if (mBodyLeft > 0) {
        const int take = int(qMin<qint64>(mBodyLeft, mBuffer.size()));
        if (take == 0)
            return false;
        mBuffer.remove(0, take);
        mBodyLeft -= take;
        if (mBodyLeft == 0)
            respond(mAwaitingBody);
        return true;
    }
    if (mSocket->bytesToWrite() > MaxUnsentBytes)
        return false;
    // Blank lines before a request line are tolerated.
    int blanks = 0;
    while (blanks < mBuffer.size() && (mBuffer[blanks] == '\r' || mBuffer[blanks] == '\n'))
        ++blanks;
    mBuffer.remove(0, blanks);
    const int end = headEnd(mBuffer);
    if (end < 0 && mBuffer.size() <= mLimits.maxHeadBytes)
        return blanks > 0;
    if (end < 0 || end > mLimits.maxHeadBytes) {
        const int requestLine = mBuffer.indexOf('\n');
        fail(requestLine < 0 || requestLine > mLimits.maxHeadBytes ? 414 : 431);
        return false;
    }
    HttpRequest request;
    int refusal = parseHead(mBuffer.left(end), mLimits, &request);
    mBuffer.remove(0, end);
    qint64 length = 0;
    if (!refusal)
        refusal = bodyLength(request, mLimits, &length);
    if (refusal) {
        fail(refusal);
        return false;
    }
    if (length > 0) {
        mAwaitingBody = request;
        mBodyLeft = length;
        return true;
    }
    respond(request);
    return true;
}

void HttpConnection::respond(const HttpRequest& request)
{
    HttpResponse response = mHandler(request);
    if (response.holdMs <= 0 || request.waited) {
        send(response, request);
        return;
    }
    mHeldRequest = request;
    mHeldResponse = std::move(response);
    // The handler bounds the wait, not the deadline of a request's arrival.
    mDeadline.stop();
    mHoldTimer.start(mHeldResponse.holdMs);
    setState(State::Holding);
    // A change between the handler's look and now was told while nothing was held here.
    lookAtHeldRequest();
}

void HttpConnection::lookAtHeldRequest()
{
    if (mState == State::Holding && !(mHeldResponse.unchanged && mHeldResponse.unchanged()))
        answerHeldRequest();
}

void HttpConnection::answerHeldRequest()
{
    if (mState != State::Holding)
        return;
    mHoldTimer.stop();
    setState(State::Reading);
    HttpRequest request = std::exchange(mHeldRequest, HttpRequest());
    mHeldResponse = HttpResponse();
    request.waited = true;
    respond(request);
    readInput(); // what the client sent meanwhile
}

void HttpConnection::send(const HttpResponse& response, const HttpRequest& request)
{
    const bool keepAlive = request.wantsKeepAlive();
    mSocket->write(response.serialize(!request.isHead(), keepAlive));
    // Qt takes a client's half close (requests sent, its side shut) for the end and drops
    // what it has not written yet: the answer goes out now.
    mSocket->flush();
    if (!keepAlive) {
        close();
        return;
    }
    mDeadline.start(); // the next request's turn
}

void HttpConnection::fail(int status)
{
    mBuffer.clear();
    mBodyLeft = 0;
    mSocket->write(HttpResponse::error(status).serialize(true, false));
    close();
}

void HttpConnection::onDeadline()
{
    if (mState == State::Reading && (!mBuffer.isEmpty() || mBodyLeft > 0 || mSocket->bytesAvailable() > 0)) {
        fail(408);
        return;
    }
    if (mState == State::Reading && mSocket->bytesToWrite() == 0) {
        close(); // idle
        return;
    }
    // A client that leaves its answers unread, or never closes its side.
    setState(State::Closed);
    mSocket->abort();
    emit finished(this);
}

// Closing with unread input would reset the connection and could take the last answer with
// it: the answer is written, our side shut, and the client's further bytes read and dropped
// until it closes too or the deadline ends it.
void HttpConnection::close()
{
    if (mState == State::Closed)
        return;
    mHoldTimer.stop();
    if (mSocket->state() != QAbstractSocket::ConnectedState) {
        setState(State::Closed);
        mDeadline.stop();
        emit finished(this);
        return;
    }
    if (mState == State::Draining)
        return;
    setState(State::Draining);
    mDeadline.start();
    mSocket->flush();
    if (mSocket->bytesToWrite() == 0)
        ::shutdown(int(mSocket->socketDescriptor()), SHUT_WR);
    mSocket->readAll();
}
