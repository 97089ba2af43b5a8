#include "popup_broker.h"

namespace vexorcef {

std::optional<PopupBroker::Popup> PopupBroker::Decided(Decision decision) {
  decisions_.push_back(std::move(decision));
  if (waiting_.empty()) return std::nullopt;
  Popup popup = waiting_.front();
  waiting_.pop_front();
  return popup;
}

std::optional<PopupBroker::Decision> PopupBroker::Attached(const Popup& popup) {
  if (decisions_.empty()) {
    waiting_.push_back(popup);
    return std::nullopt;
  }
  Decision decision = decisions_.front();
  decisions_.pop_front();
  refused_[popup.target_id] = decision.cancel;
  return decision;
}

std::optional<bool> PopupBroker::Refused(const std::string& target_id) const {
  auto it = refused_.find(target_id);
  if (it == refused_.end()) return std::nullopt;
  return it->second;
}

void PopupBroker::Hold(const std::string& frame_id, HeldDocument document) {
  held_[frame_id] = std::move(document);
}

std::optional<PopupBroker::HeldDocument> PopupBroker::Release(const std::string& frame_id) {
  auto it = held_.find(frame_id);
  if (it == held_.end()) return std::nullopt;
  HeldDocument document = std::move(it->second);
  held_.erase(it);
  return document;
}

}  // namespace vexorcef
