// The plug-in's browser against real Chromium, timed. Run under X (Xvfb):
//   cef_plugin_bench [rounds]
// 1. A 100-image page through the plug-in's resource policy (a web view's ChromiumClient)
//    against a client without a request handler, same engine, loads alternating; a client
//    whose handler allows everything, and so names nothing it may refuse, shows what holding
//    every request costs.
// 2. A renderer killed with SIGKILL until the page the plug-in reloads has loaded.
// Prints medians with their limits.
#include "../../plugin/tests/BrowserTestSupport.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "display/DisplayDevice.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "include/cef_browser.h"
#include "include/cef_client.h"
#include "views/CenterDisplay.h"
#include "test_support.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

// The comparison's other sides: an engine client that asks nobody about its requests, and one
// whose handler lets everything through at once, asked about every request as it names none
// it may refuse (Chromium holding each one until the engine has answered).
class PlainClient : public CefClient, public CefLifeSpanHandler, public CefLoadHandler, public CefRequestHandler {
public:
    explicit PlainClient(bool intercept) : mIntercept(intercept) {}
    CefRefPtr<CefRequestHandler> GetRequestHandler() override { return mIntercept ? this : nullptr; }
    ReturnValue OnBeforeResourceLoad(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, CefRefPtr<CefRequest>,
                                     CefRefPtr<CefRequestCallback>) override
    {
        return RV_CONTINUE;
    }
    CefRefPtr<CefLifeSpanHandler> GetLifeSpanHandler() override { return this; }
    CefRefPtr<CefLoadHandler> GetLoadHandler() override { return this; }
    void OnAfterCreated(CefRefPtr<CefBrowser> b) override { browser = b; }
    void OnLoadEnd(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame, int) override
    {
        if (frame->IsMain())
            ++loads;
    }
    CefRefPtr<CefBrowser> browser;
    int loads = 0;

private:
    const bool mIntercept;
    IMPLEMENT_REFCOUNTING(PlainClient);
};

// A page of 100 images, served over HTTP and written as the car's local web content.
std::string imagesPage(const char* imageName)
{
    std::string html = "<html><body>";
    for (int i = 0; i < 100; ++i)
        html += "<img src='" + std::string(imageName) + std::to_string(i) + ".gif'>";
    return html + "</body></html>";
}

void servePages(testing_support::HttpServer& server)
{
    server.Serve("/page.html", imagesPage("/img"));
    for (int i = 0; i < 100; ++i)
        server.Serve("/img" + std::to_string(i) + ".gif", "GIF89a", 200, "image/gif");
    server.Serve("/victim.html", "<title>victim</title><p>reloaded</p>");
}

// The folder the policy lets file URLs read; false when the bench may not write there.
bool writeLocalPage(const QString& folder)
{
    bool written = QDir().mkpath(folder);
    for (int i = 0; written && i <= 100; ++i) {
        QFile file(folder + (i < 100 ? QStringLiteral("/img%1.gif").arg(i) : QStringLiteral("/page.html")));
        written = file.open(QIODevice::WriteOnly)
                  && file.write(i < 100 ? QByteArray("GIF89a") : QByteArray::fromStdString(imagesPage("img"))) > 0;
    }
    return written;
}

// The plug-in's web view and the two engine clients it is measured against, side by side.
class Contenders {
public:
    explicit Contenders(DisplayView* root) : mView(new WebKitView(root))
    {
        mView->setGeometry(QRect(0, 0, 640, 480));
        QObject::connect(mView, &WebKitView::pageLoadDidFinish, [this] { ++mFinished; });
    }
    ~Contenders()
    {
        delete mView;
        for (auto client : {mPlain, mAllowAll}) {
            if (client->browser)
                client->browser->GetHost()->CloseBrowser(true);
        }
        pumpUntil([] { return false; }, 500);
    }

    bool start()
    {
        if (!pumpUntil([&] { return mView->browserExists(); }))
            return false;
        for (auto client : {mPlain, mAllowAll}) {
            CefWindowInfo info;
            info.x = client == mPlain ? 660 : 1300;
            info.width = 600;
            info.height = 480;
            CefBrowserHost::CreateBrowser(info, client.get(), "", CefBrowserSettings(), nullptr);
            if (!pumpUntil([&] { return client->browser != nullptr; }))
                return false;
        }
        return true;
    }

    // Milliseconds until the page has loaded, -1 when it does not: 0 is the plug-in's view, 1
    // the client without a handler, 2 the one allowing everything.
    double load(int side, const std::string& url)
    {
        QElapsedTimer t;
        t.start();
        if (side == 0) {
            const int before = mFinished;
            mView->client()->browser()->GetMainFrame()->LoadURL(url);
            if (!pumpUntil([&] { return mFinished > before && !mView->client()->browser()->IsLoading(); }))
                return -1;
        } else {
            CefRefPtr<PlainClient> client = side == 1 ? mPlain : mAllowAll;
            const int before = client->loads;
            client->browser->GetMainFrame()->LoadURL(url);
            if (!pumpUntil([&] { return client->loads > before && !client->browser->IsLoading(); }))
                return -1;
        }
        return t.nsecsElapsed() / 1e6;
    }

    // The three take turns, and which goes first rotates too; two rounds warm up. Medians of
    // the policy, no handler, and a handler that lets all through.
    bool compare(int rounds, const std::function<std::string(int)>& urlOf, std::array<double, 3>* medians)
    {
        std::vector<double> times[3];
        for (int run = 0; run < rounds + 2; ++run) {
            const std::string url = urlOf(run);
            for (int k = 0; k < 3; ++k) {
                const int side = (run + k) % 3;
                const double ms = load(side, url);
                if (ms < 0)
                    return false;
                if (run >= 2)
                    times[side].push_back(ms);
            }
        }
        for (int side = 0; side < 3; ++side)
            (*medians)[side] = median(times[side]);
        return true;
    }

    // The page's renderers killed, until the page the plug-in reloads has loaded; each reload
    // finishes, which resets the plug-in's crash count. Empty when a kill went unanswered.
    std::vector<double> recoveries(int kills)
    {
        std::vector<double> times;
        for (int i = 0; i < kills; ++i) {
            const int chromium = testing_support::ChromiumPidOf(mView->client()->windowHandle());
            const std::vector<int> renderers = testing_support::RendererPids(chromium);
            if (chromium <= 0 || renderers.empty()) {
                std::fprintf(stderr, "no renderer to kill\n");
                return {};
            }
            const int before = mFinished;
            QElapsedTimer t;
            t.start();
            for (int pid : renderers)
                kill(pid, SIGKILL);
            if (!pumpUntil([&] { return mFinished > before; })) {
                std::fprintf(stderr, "the page was not reloaded after a crash\n");
                return {};
            }
            times.push_back(t.nsecsElapsed() / 1e6);
        }
        return times;
    }

private:
    WebKitView* mView;
    int mFinished = 0;
    CefRefPtr<PlainClient> mPlain = new PlainClient(false);
    CefRefPtr<PlainClient> mAllowAll = new PlainClient(true);
};

void reportRatio(const char* what, const std::array<double, 3>& m, int rounds)
{
    const double ratio = m[0] / m[1];
    std::printf("100 images %s: policy %.1f ms, no handler %.1f ms, allow-all %.1f ms (%d runs); "
                "ratio %.3f (limit 1.10) %s\n",
                what, m[0], m[1], m[2], rounds, ratio, ratio <= 1.10 ? "ok" : "OVER");
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(4, atoi(argv[1])) : 24;

    ControlGroupCommands commands;
    PrivateChromiumProfile profile(QStringLiteral(VEXOR_LAUNCHER_DIR));
    ConfigStore::setPath(profile.folder() + "/car.ini");
    ChromiumManager manager;
    theCenterDisplay->setChromiumManager(&manager);
    GUI_allReady.setValue(true);

    testing_support::HttpServer server;
    servePages(server);
    DisplayView root;
    DisplayDevice display(&root, QSize(1280, 720));
    root.setGeometry(QRect(QPoint(0, 0), display.size()));
    Contenders contenders(&root);
    if (!contenders.start()) {
        std::fprintf(stderr, "no browser from Chromium\n");
        return 1;
    }

    std::array<double, 3> overHttp{};
    if (!contenders.compare(rounds, [&](int run) { return server.Url("/page.html?run=" + std::to_string(run)); },
                            &overHttp)) {
        std::fprintf(stderr, "a load did not finish\n");
        return 1;
    }
    const QString localFolder = QStringLiteral("/usr/vexor/UI/assets/web_content/cef_plugin_bench");
    const bool local = writeLocalPage(localFolder);
    std::array<double, 3> fromFiles{};
    if (local && !contenders.compare(rounds, [&](int run) {
            return "file://" + localFolder.toStdString() + "/page.html?run=" + std::to_string(run);
        }, &fromFiles)) {
        std::fprintf(stderr, "a local load did not finish\n");
        return 1;
    }

    if (contenders.load(0, server.Url("/victim.html")) < 0)
        return 1;
    const std::vector<double> recovery = contenders.recoveries(std::max(5, rounds / 2));
    if (recovery.empty())
        return 1;

    reportRatio("over HTTP      ", overHttp, rounds);
    if (local)
        reportRatio("as local files ", fromFiles, rounds);
    else
        std::printf("100 images as local files: not measured, %s cannot be written\n", qPrintable(localFolder));
    std::printf("renderer SIGKILL -> reloaded: median %.0f ms, max %.0f ms (%zu kills, limit 1000 ms) %s\n",
                median(recovery), *std::max_element(recovery.begin(), recovery.end()), recovery.size(),
                median(recovery) < 1000 ? "ok" : "OVER");
    return 0;
}
