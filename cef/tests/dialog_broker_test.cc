// One dialog at a time between the page and the client's dialog handler.
#include "dialog_broker.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_browser.h"

using testing_support::FakeBrowser;
using vexorcef::DialogBroker;
using vexorcef::JSDialogCallbackImpl;

namespace {

// Keeps the dialogs it is offered for the test to answer, and notes what it hears.
class HoldingHandler : public CefJSDialogHandler {
 public:
  bool OnJSDialog(CefRefPtr<CefBrowser>, const CefString&, JSDialogType, const CefString& message,
                  const CefString&, CefRefPtr<CefJSDialogCallback> cb, bool&) override {
    notes.push_back("dialog " + message.ToString());
    pending.push_back(cb);
    return true;
  }
  void OnResetDialogState(CefRefPtr<CefBrowser>) override { notes.push_back("reset"); }
  void OnDialogClosed(CefRefPtr<CefBrowser>) override { notes.push_back("closed"); }

  std::vector<std::string> notes;
  std::vector<CefRefPtr<CefJSDialogCallback>> pending;

 private:
  IMPLEMENT_REFCOUNTING(HoldingHandler);
};

class DialogBrokerTest : public testing::Test {
 protected:
  // A page script's question: refused when abandoned. Its answers are noted.
  CefRefPtr<JSDialogCallbackImpl> Question(const std::string& name) {
    return new JSDialogCallbackImpl(
        [this, name](JSDialogCallbackImpl*, bool accept, const std::string& text) {
          answers.push_back(name + (accept ? " ok " : " no ") + text);
        },
        true);
  }

  CefRefPtr<FakeBrowser> browser = new FakeBrowser(1);
  CefRefPtr<HoldingHandler> handler = new HoldingHandler;
  CefRefPtr<CefJSDialogHandler> current = handler;
  DialogBroker broker{browser.get(), [this] { return current; }};
  std::vector<std::string> answers;
};

TEST_F(DialogBrokerTest, ANewerDialogAbandonsTheOpenOneAndTheHandlerResets) {
  CefRefPtr<JSDialogCallbackImpl> first = Question("first"), second = Question("second");
  broker.Offer("confirm", "https://a.test/", "one?", "", first);
  broker.Offer("prompt", "https://a.test/", "two?", "x", second);
  EXPECT_EQ(answers, (std::vector<std::string>{"first no "}));
  EXPECT_FALSE(broker.IsOpen(first.get()));
  EXPECT_TRUE(broker.IsOpen(second.get()));
  // The abandoned one's late answer goes nowhere; the open one's goes to the page.
  handler->pending[0]->Continue(true, "late");
  handler->pending[1]->Continue(true, "typed");
  broker.Closed();
  EXPECT_EQ(answers, (std::vector<std::string>{"first no ", "second ok typed"}));
  EXPECT_EQ(handler->notes, (std::vector<std::string>{"dialog one?", "reset", "dialog two?", "closed"}));
}

TEST_F(DialogBrokerTest, ADialogGoneUnansweredIsRefusedAndResetOnce) {
  CefRefPtr<JSDialogCallbackImpl> cb = Question("q");
  broker.Offer("alert", "https://a.test/", "hi", "", cb);
  broker.Closed();
  broker.Closed();
  broker.Reset();
  EXPECT_EQ(answers, (std::vector<std::string>{"q no "}));
  EXPECT_EQ(handler->notes, (std::vector<std::string>{"dialog hi", "reset", "closed"}));

  // An answered one is not reset when the page moves on.
  broker.Offer("alert", "https://a.test/", "again", "", cb = Question("r"));
  handler->pending.back()->Continue(true, "");
  broker.Reset();
  EXPECT_FALSE(broker.IsOpen(cb.get()));
  EXPECT_EQ(handler->notes.back(), "dialog again");
}

TEST_F(DialogBrokerTest, WithoutAHandlerAlertsAndLeavingArePassedAndTheRestRefused) {
  current = nullptr;
  broker.Offer("alert", "", "a", "", Question("alert"));
  broker.Offer("confirm", "", "c", "", Question("confirm"));
  broker.Offer("prompt", "", "p", "d", Question("prompt"));
  broker.Offer("beforeunload", "", "b", "", Question("leave"));
  EXPECT_EQ(answers, (std::vector<std::string>{"alert ok ", "confirm no ", "prompt no ",
                                               "leave ok "}));
}

}  // namespace
