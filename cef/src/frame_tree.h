// The frames of one browser's page.
#ifndef VEXOR_CEF_SRC_FRAME_TREE_H_
#define VEXOR_CEF_SRC_FRAME_TREE_H_

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "frame_impl.h"

namespace vexorcef {

// The page's frames by Chromium's frame id, which of them are iframes, and which has the
// focus. Any thread: everything is under the tree's own lock.
class FrameTree {
 public:
  explicit FrameTree(BrowserImpl* browser) : browser_(browser) {}
  FrameTree(const FrameTree&) = delete;
  FrameTree& operator=(const FrameTree&) = delete;

  // The frame of an id, made if new; once the tree is closed a new one is born invalid.
  CefRefPtr<FrameImpl> Get(const std::string& cdp_id, bool is_main);
  CefRefPtr<FrameImpl> FindByIdentifier(int64 identifier);
  CefRefPtr<FrameImpl> FindByName(const CefString& name);
  size_t size();
  std::vector<int64> Identifiers();

  void MarkSubframe(const std::string& cdp_id);
  bool IsSubframe(const std::string& cdp_id);
  void SetFocused(const std::string& cdp_id);
  std::string focused();

  // Frames leave invalid: a detached one, all but the main one (the renderer went), all
  // (a new page), or all for good (the browser closed).
  void Remove(const std::string& cdp_id);
  void RemoveAllBut(const std::string& cdp_id);
  void Clear();
  void Close();

 private:
  void ClearLocked();

  BrowserImpl* const browser_;
  std::mutex mutex_;
  std::map<std::string, CefRefPtr<FrameImpl>> frames_;
  std::set<std::string> subframes_;  // iframes seen attached
  std::string focused_;
  bool closed_ = false;
};

}  // namespace vexorcef

#endif
