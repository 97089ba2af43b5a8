#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QStringList>

// A caller's handle on the service calls it makes: which calls went out in it, which were
// answered, and whether the caller has let go of it. The caller creates it, passes it to one
// or more calls and disposes it; answers that come after dispose() are dropped, as the car's
// service bus drops replies nobody waits for.
//
//     ServiceCallContext ctx;
//     CenterDisplayService::proxy()->clearChargingLocationPreferences(&ctx);
//     ctx.dispose();
class ORVANE_EXPORT ServiceCallContext : public QObject {
    Q_OBJECT
public:
    explicit ServiceCallContext(QObject* parent = nullptr);

    // Journal text of every call made in this context, in order.
    QStringList calls() const { return mCalls; }
    // The calls whose answer arrived before the context was disposed.
    QStringList answered() const { return mAnswered; }
    bool isDisposed() const { return mDisposed; }
    void dispose();

signals:
    void answerArrived(const QString& call);

private:
    friend class ServiceCall;
    QStringList mCalls;
    QStringList mAnswered;
    bool mDisposed = false;
};
