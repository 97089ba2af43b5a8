#pragma once

#include "views/DisplayView.h"

#include <QString>

#include <memory>

// A page of a MultiPageView. Its content is built once, by doPageLoad(), the first time the
// page is shown, from the state of that moment. While shown it gets tick1s() every second.
class ORVANE_EXPORT PageView : public DisplayView {
    Q_OBJECT
public:
    PageView(DisplayView* parent, const QString& title);
    ~PageView() override;

    QString title() const;
    void setTitle(const QString& title);
    bool isLoaded() const;

    // Called by the page's container as the page comes into or out of view.
    void pageShown();
    void pageHidden();

    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

signals:
    void shown();
    void hidden();

protected slots:
    virtual void tick1s() {}

protected:
    virtual void doPageLoad() {}

private:
    struct Private;
    std::unique_ptr<Private> d;
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
