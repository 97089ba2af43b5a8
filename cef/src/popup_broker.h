// The windows a page opens, between Chromium attaching them and the client deciding.
#ifndef VEXOR_CEF_SRC_POPUP_BROKER_H_
#define VEXOR_CEF_SRC_POPUP_BROKER_H_

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "include/cef_client.h"
#include "json.h"

namespace vexorcef {

// Pairs each window the page opens with the client's decision on it, in order, whichever
// of the two comes first. A document of a frame the browser does not know yet may be a
// popup's first load, which Chromium can pause on the opener's session before the popup
// is offered or attached: it is held here until the frame turns out to be an iframe or a
// popup (or for a while). UI thread.
class PopupBroker {
 public:
  struct Decision {
    bool cancel;
    CefWindowInfo info;
    CefRefPtr<CefClient> client;
  };
  struct Popup {
    std::string session;
    std::string target_id;
  };
  struct HeldDocument {
    std::string session;
    std::shared_ptr<Json> params;  // of the paused request
  };

  // The client decided on the next window; returns the popup that was waiting for it.
  std::optional<Popup> Decided(Decision decision);
  // A popup attached; returns the decision on it, or nothing while it waits for one.
  std::optional<Decision> Attached(const Popup& popup);
  // Whether a popup was refused; nothing if no popup of that target was decided on.
  std::optional<bool> Refused(const std::string& target_id) const;

  void Hold(const std::string& frame_id, HeldDocument document);
  std::optional<HeldDocument> Release(const std::string& frame_id);

  void DropDecisions() { decisions_.clear(); }

 private:
  std::deque<Decision> decisions_;
  std::deque<Popup> waiting_;
  std::map<std::string, bool> refused_;  // by target
  std::map<std::string, HeldDocument> held_;  // by frame
};

}  // namespace vexorcef

#endif
