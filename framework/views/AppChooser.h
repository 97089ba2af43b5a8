#pragma once

#include "views/DisplayView.h"

#include <QStringList>

#include <functional>
#include <memory>

class ListView;

// The host's applications as a list to touch. Choosing one asks the host to open it; the
// request goes into the platform journal. Hosts register their apps once, at start:
//
//   AppChooser::registerApp("Browser", [this] { openBrowser(); });
class ORVANE_EXPORT AppChooser : public DisplayView {
    Q_OBJECT
public:
    using Opener = std::function<void()>;

    // A chooser lists the apps registered when it was made, in registration order.
    explicit AppChooser(DisplayView* parent);
    ~AppChooser() override;

    // A name registered again replaces the earlier opener in its place.
    static void registerApp(const QString& name, const Opener& open);
    static QStringList appNames();
    // Journals the request and opens the app; false when no app has that name.
    static bool openApp(const QString& name);

    ListView* listView() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
