#include "HttpMessage.h"

namespace {

bool hasToken(const QByteArray& list, const char* token)
{
    for (const QByteArray& item : list.split(','))
        if (item.trimmed().compare(token, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

} // namespace

QByteArray HttpRequest::header(const QByteArray& name) const
{
    for (const auto& field : headers)
        if (field.first.compare(name, Qt::CaseInsensitive) == 0)
            return field.second;
    return QByteArray();
}

bool HttpRequest::wantsKeepAlive() const
{
    const QByteArray connection = header("Connection");
    if (version == "HTTP/1.0")
        return hasToken(connection, "keep-alive");
    return !hasToken(connection, "close");
}

HttpResponse HttpResponse::error(int status)
{
    HttpResponse response;
    response.status = status;
    response.contentType = "text/plain";
    response.body = QByteArray::number(status) + ' ' + httpReasonPhrase(status) + '\n';
    return response;
}

HttpResponse HttpResponse::held(int holdMs, std::function<bool()> unchanged)
{
    HttpResponse response;
    response.holdMs = holdMs;
    response.unchanged = std::move(unchanged);
    return response;
}

QByteArray HttpResponse::serialize(bool withBody, bool keepAlive) const
{
    QByteArray out;
    out.reserve(256 + (withBody ? body.size() : 0));
    out += "HTTP/1.1 " + QByteArray::number(status) + ' ' + httpReasonPhrase(status) + "\r\n";
    if (!contentType.isEmpty())
        out += "Content-Type: " + contentType + "\r\n";
    out += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    out += "Cache-Control: no-store\r\n";
    out += "X-Content-Type-Options: nosniff\r\n";
    for (const auto& field : headers)
        out += field.first + ": " + field.second + "\r\n";
    out += keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    if (withBody)
        out += body;
    return out;
}

const char* httpReasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 400: return "Bad Request";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 413: return "Payload Too Large";
    case 414: return "URI Too Long";
    case 421: return "Misdirected Request";
    case 431: return "Request Header Fields Too Large";
    case 501: return "Not Implemented";
    case 503: return "Service Unavailable";
    case 505: return "HTTP Version Not Supported";
    default: return status / 100 == 4 ? "Client Error" : "Server Error";
    }
}
