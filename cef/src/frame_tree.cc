#include "frame_tree.h"

namespace vexorcef {

CefRefPtr<FrameImpl> FrameTree::Get(const std::string& cdp_id, bool is_main) {
  std::lock_guard<std::mutex> l(mutex_);
  auto it = frames_.find(cdp_id);
  if (it != frames_.end()) return it->second;
  CefRefPtr<FrameImpl> f = new FrameImpl(browser_, cdp_id, is_main);
  if (closed_) f->Invalidate();
  else frames_[cdp_id] = f;
  return f;
}

CefRefPtr<FrameImpl> FrameTree::FindByIdentifier(int64 identifier) {
  std::lock_guard<std::mutex> l(mutex_);
  for (auto& f : frames_)
    if (f.second->GetIdentifier() == identifier) return f.second;
  return nullptr;
}

CefRefPtr<FrameImpl> FrameTree::FindByName(const CefString& name) {
  std::lock_guard<std::mutex> l(mutex_);
  for (auto& f : frames_)
    if (f.second->GetName() == name) return f.second;
  return nullptr;
}

size_t FrameTree::size() {
  std::lock_guard<std::mutex> l(mutex_);
  return frames_.size();
}

std::vector<int64> FrameTree::Identifiers() {
  std::lock_guard<std::mutex> l(mutex_);
  std::vector<int64> ids;
  for (auto& f : frames_) ids.push_back(f.second->GetIdentifier());
  return ids;
}

void FrameTree::MarkSubframe(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(mutex_);
  subframes_.insert(cdp_id);
}

bool FrameTree::IsSubframe(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(mutex_);
  return subframes_.count(cdp_id) > 0;
}

void FrameTree::SetFocused(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(mutex_);
  focused_ = cdp_id;
}

std::string FrameTree::focused() {
  std::lock_guard<std::mutex> l(mutex_);
  return focused_;
}

void FrameTree::Remove(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(mutex_);
  auto it = frames_.find(cdp_id);
  if (it == frames_.end()) return;
  it->second->Invalidate();
  frames_.erase(it);
}

void FrameTree::RemoveAllBut(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(mutex_);
  for (auto it = frames_.begin(); it != frames_.end();) {
    if (it->first != cdp_id) {
      it->second->Invalidate();
      it = frames_.erase(it);
    } else {
      ++it;
    }
  }
}

void FrameTree::Clear() {
  std::lock_guard<std::mutex> l(mutex_);
  ClearLocked();
}

void FrameTree::Close() {
  std::lock_guard<std::mutex> l(mutex_);
  closed_ = true;
  ClearLocked();
}

void FrameTree::ClearLocked() {
  for (auto& f : frames_) f.second->Invalidate();
  frames_.clear();
}

}  // namespace vexorcef
