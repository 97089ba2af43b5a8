// The script contexts of a page's documents.
#ifndef VEXOR_CEF_SRC_EXECUTION_CONTEXTS_H_
#define VEXOR_CEF_SRC_EXECUTION_CONTEXTS_H_

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "json.h"

namespace vexorcef {

// Chromium's execution contexts, known by their unique id and by their number within the
// session that reported them. UI thread.
class ExecutionContexts {
 public:
  // A document's default world, where the page's own scripts run.
  struct Document {
    std::string unique_id;
    std::string session;
  };

  void Created(const std::string& session, const Json& context);
  void Destroyed(const std::string& session, long long id);
  void Cleared(const std::string& session);
  void Clear();

  // The frame of a context, empty when unknown.
  std::string FrameOf(const std::string& session, long long id) const;
  std::optional<Document> DocumentOf(const std::string& frame) const;
  std::vector<Document> Documents() const;

 private:
  struct Context {
    std::string session;
    std::string frame;
    bool is_default;
  };
  std::map<std::string, Context> contexts_;  // by unique id
  std::map<std::pair<std::string, long long>, std::string> unique_ids_;
};

}  // namespace vexorcef

#endif
