#include "services/ServiceCallContext.h"

#include "core/Logger.h"
#include "services/PlatformJournal.h"
#include "services/ServiceCall.h"

ServiceCallContext::ServiceCallContext(QObject* parent)
    : QObject(parent)
{
}

void ServiceCallContext::dispose()
{
    mDisposed = true;
}

void ServiceCall::issue(const QString& service, const QString& operation, const QStringList& arguments,
                        ServiceCallContext* context, bool noReply)
{
    PlatformJournal::record(service, operation, arguments);
    if (!context)
        return;
    const QString call = PlatformRequest::textOf(service, operation, arguments);
    if (context->mDisposed)
        Logger(context, "WARN") << "Service call" << call << "made in a disposed context; its answer is dropped";
    context->mCalls.append(call);
    if (noReply)
        return;
    // Queued on the context itself: a context destroyed meanwhile never hears the answer.
    QMetaObject::invokeMethod(
        context,
        [context, call] {
            if (context->mDisposed)
                return;
            context->mAnswered.append(call);
            emit context->answerArrived(call);
        },
        Qt::QueuedConnection);
}
