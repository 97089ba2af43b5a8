#pragma once

// Engine objects a client is handed in callbacks, recording what the client asks of them.

#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_jsdialog_handler.h"
#include "include/cef_request.h"
#include "include/wrapper/cef_message_router.h"

#include <QStringList>
#include <QVector>

class FakeBrowser;

class FakeFrame : public CefFrame {
public:
    explicit FakeFrame(bool main) : mMain(main) {}
    bool IsValid() override { return true; }
    void LoadURL(const CefString& url) override { loads << QString::fromStdString(url.ToString()); }
    void ExecuteJavaScript(const CefString& code, const CefString&, int) override
    {
        scripts << QString::fromStdString(code.ToString());
    }
    bool IsMain() override { return mMain; }
    bool IsFocused() override { return mMain; }
    CefString GetName() override { return CefString(); }
    int64 GetIdentifier() override { return mMain ? 1 : 2; }
    CefRefPtr<CefFrame> GetParent() override { return nullptr; }
    CefString GetURL() override { return url.toStdString(); }
    CefRefPtr<CefBrowser> GetBrowser() override { return nullptr; }

    QString url;
    QStringList loads;
    QStringList scripts;

private:
    bool mMain;
    IMPLEMENT_REFCOUNTING(FakeFrame);
};

class FakeHost : public CefBrowserHost {
public:
    struct Mouse {
        QString kind;
        int x, y, a, b;
        bool operator==(const Mouse& o) const { return kind == o.kind && x == o.x && y == o.y && a == o.a && b == o.b; }
    };

    CefRefPtr<CefBrowser> GetBrowser() override { return nullptr; }
    void CloseBrowser(bool force) override { closes << force; }
    bool TryCloseBrowser() override { return false; }
    void SetFocus(bool) override {}
    CefWindowHandle GetWindowHandle() override { return window; }
    CefWindowHandle GetOpenerWindowHandle() override { return 0; }
    CefRefPtr<CefClient> GetClient() override { return nullptr; }
    CefRefPtr<CefRequestContext> GetRequestContext() override { return nullptr; }
    void WasResized() override {}
    void SendKeyEvent(const CefKeyEvent& event) override { keys << event; }
    void SendMouseClickEvent(const CefMouseEvent& e, MouseButtonType type, bool up, int count) override
    {
        mouse << Mouse{up ? "up" : "down", e.x, e.y, int(type), count};
    }
    void SendMouseMoveEvent(const CefMouseEvent& e, bool leave) override { mouse << Mouse{"move", e.x, e.y, leave, 0}; }
    void SendMouseWheelEvent(const CefMouseEvent& e, int dx, int dy) override { mouse << Mouse{"wheel", e.x, e.y, dx, dy}; }
    void SendFocusEvent(bool focus) override { focuses << focus; }

    unsigned long window = 0;
    QVector<bool> closes;
    QVector<CefKeyEvent> keys;
    QVector<Mouse> mouse;
    QVector<bool> focuses;

private:
    IMPLEMENT_REFCOUNTING(FakeHost);
};

class FakeBrowser : public CefBrowser {
public:
    explicit FakeBrowser(int id, bool popup = false)
        : host(new FakeHost), mainFrame(new FakeFrame(true)), subFrame(new FakeFrame(false)), mId(id), mPopup(popup)
    {
    }
    CefRefPtr<CefBrowserHost> GetHost() override { return host.get(); }
    bool CanGoBack() override { return back; }
    void GoBack() override { ++goBacks; }
    bool CanGoForward() override { return false; }
    void GoForward() override {}
    bool IsLoading() override { return false; }
    void Reload() override {}
    void ReloadIgnoreCache() override {}
    void StopLoad() override {}
    int GetIdentifier() override { return mId; }
    bool IsSame(CefRefPtr<CefBrowser> that) override { return that.get() == this; }
    bool IsPopup() override { return mPopup; }
    bool HasDocument() override { return true; }
    CefRefPtr<CefFrame> GetMainFrame() override { return mainFrame.get(); }
    CefRefPtr<CefFrame> GetFocusedFrame() override { return mainFrame.get(); }
    CefRefPtr<CefFrame> GetFrame(int64) override { return nullptr; }
    CefRefPtr<CefFrame> GetFrame(const CefString&) override { return nullptr; }
    size_t GetFrameCount() override { return 2; }
    void GetFrameIdentifiers(std::vector<int64>& ids) override { ids = {1, 2}; }
    bool SendProcessMessage(CefProcessId, CefRefPtr<CefProcessMessage>) override { return false; }

    bool back = false;
    int goBacks = 0;
    CefRefPtr<FakeHost> host;
    CefRefPtr<FakeFrame> mainFrame;
    CefRefPtr<FakeFrame> subFrame;

private:
    int mId;
    bool mPopup;
    IMPLEMENT_REFCOUNTING(FakeBrowser);
};

class FakeRequest : public CefRequest {
public:
    FakeRequest(const QString& url, ResourceType type) : url(url), mType(type) {}
    bool IsReadOnly() override { return false; }
    CefString GetURL() override { return url.toStdString(); }
    void SetURL(const CefString& u) override { url = QString::fromStdString(u.ToString()); }
    CefString GetMethod() override { return "GET"; }
    void SetMethod(const CefString&) override {}
    CefString GetReferrerURL() override { return CefString(); }
    ResourceType GetResourceType() override { return mType; }
    TransitionType GetTransitionType() override { return TT_LINK; }
    uint64 GetIdentifier() override { return 1; }

    QString url;

private:
    ResourceType mType;
    IMPLEMENT_REFCOUNTING(FakeRequest);
};

class FakeDialogCallback : public CefJSDialogCallback {
public:
    void Continue(bool success, const CefString& input) override
    {
        answers << QStringLiteral("%1 %2").arg(success ? "ok" : "cancel", QString::fromStdString(input.ToString()));
    }
    QStringList answers;

private:
    IMPLEMENT_REFCOUNTING(FakeDialogCallback);
};

class FakeQueryCallback : public CefMessageRouterBrowserSide::Callback {
public:
    void Success(const CefString& response) override { answers << "success " + QString::fromStdString(response.ToString()); }
    void Failure(int code, const CefString& message) override
    {
        answers << QStringLiteral("failure %1 %2").arg(code).arg(QString::fromStdString(message.ToString()));
    }
    QStringList answers;

private:
    IMPLEMENT_REFCOUNTING(FakeQueryCallback);
};
