#pragma once

#include <QStringList>

class ServiceCallContext;

// The one way a platform service proxy carries out a call on the bench: the call goes into the
// platform journal and, unless the caller asked for no reply, is answered on a later turn of
// the event loop, as the car's services answer.
class ServiceCall {
public:
    static void issue(const QString& service, const QString& operation, const QStringList& arguments,
                      ServiceCallContext* context, bool noReply);
};
