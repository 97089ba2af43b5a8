#pragma once

#include "views/DisplayView.h"

#include <QString>

// A page of a MultiPageView. Its content is built once, by doPageLoad(), the first time the
// page is shown, from the state of that moment. While shown it gets tick1s() every second.
class ORVANE_EXPORT PageView : public DisplayView {
    Q_OBJECT
public:
    PageView(DisplayView* parent, const QString& title);

    QString title() const { return mTitle; }
    void setTitle(const QString& title);
    bool isLoaded() const { return mLoaded; }

    // Called by the page's container as the page comes into or out of view.
    void pageShown();
    void pageHidden();

    QString describe() const override { return mTitle; }
    void dumpProperties(QJsonObject& out) const override;

signals:
    void shown();
    void hidden();

protected slots:
    virtual void tick1s() {}

protected:
    virtual void doPageLoad() {}

private:
    QString mTitle;
    bool mLoaded = false;
    bool mActive = false;
};

// The framework's one-second clock, shared by every page.
class ORVANE_EXPORT SecondTicker : public QObject {
    Q_OBJECT
public:
    static SecondTicker* instance();

signals:
    void tick();

private:
    SecondTicker();
};
