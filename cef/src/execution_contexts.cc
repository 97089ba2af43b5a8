#include "execution_contexts.h"

namespace vexorcef {

void ExecutionContexts::Created(const std::string& session, const Json& context) {
  const Json& aux = context["auxData"];
  const std::string unique = context["uniqueId"].str();
  contexts_[unique] = Context{session, aux["frameId"].str(), aux["isDefault"].boolean()};
  unique_ids_[{session, context["id"].integer()}] = unique;
}

void ExecutionContexts::Destroyed(const std::string& session, long long id) {
  auto it = unique_ids_.find({session, id});
  if (it == unique_ids_.end()) return;
  contexts_.erase(it->second);
  unique_ids_.erase(it);
}

void ExecutionContexts::Cleared(const std::string& session) {
  for (auto it = unique_ids_.begin(); it != unique_ids_.end();) {
    if (it->first.first == session) {
      contexts_.erase(it->second);
      it = unique_ids_.erase(it);
    } else {
      ++it;
    }
  }
}

void ExecutionContexts::Clear() {
  contexts_.clear();
  unique_ids_.clear();
}

std::string ExecutionContexts::FrameOf(const std::string& session, long long id) const {
  auto it = unique_ids_.find({session, id});
  if (it == unique_ids_.end()) return std::string();
  auto context = contexts_.find(it->second);
  return context != contexts_.end() ? context->second.frame : std::string();
}

std::optional<ExecutionContexts::Document> ExecutionContexts::DocumentOf(
    const std::string& frame) const {
  for (auto& c : contexts_)
    if (c.second.is_default && c.second.frame == frame) return Document{c.first, c.second.session};
  return std::nullopt;
}

std::vector<ExecutionContexts::Document> ExecutionContexts::Documents() const {
  std::vector<Document> documents;
  for (auto& c : contexts_)
    if (c.second.is_default) documents.push_back(Document{c.first, c.second.session});
  return documents;
}

}  // namespace vexorcef
