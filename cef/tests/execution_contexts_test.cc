// Script contexts as Chromium numbers them: per session, with a unique id across sessions.
#include "execution_contexts.h"

#include <gtest/gtest.h>

using vexorcef::ExecutionContexts;
using vexorcef::Json;

namespace {

Json Context(long long id, const std::string& unique, const std::string& frame, bool is_default) {
  Json aux = Json::object();
  aux.set("frameId", frame);
  aux.set("isDefault", is_default);
  Json c = Json::object();
  c.set("id", id);
  c.set("uniqueId", unique);
  c.set("auxData", std::move(aux));
  return c;
}

std::vector<std::string> UniqueIds(const ExecutionContexts& contexts) {
  std::vector<std::string> ids;
  for (const auto& d : contexts.Documents()) ids.push_back(d.session + ":" + d.unique_id);
  return ids;
}

TEST(ExecutionContextsTest, ContextsAreNumberedPerSessionAndOnlyDefaultWorldsAreDocuments) {
  ExecutionContexts contexts;
  contexts.Created("page", Context(1, "u1", "MAIN", true));
  contexts.Created("page", Context(2, "u0", "MAIN", false));  // an isolated world
  contexts.Created("oopif", Context(1, "u3", "F", true));     // same number, other session
  EXPECT_EQ(contexts.FrameOf("page", 2), "MAIN");
  EXPECT_EQ(contexts.FrameOf("oopif", 1), "F");
  EXPECT_EQ(contexts.FrameOf("oopif", 2), "");
  ASSERT_TRUE(contexts.DocumentOf("MAIN").has_value());
  EXPECT_EQ(contexts.DocumentOf("MAIN")->unique_id, "u1");
  ASSERT_TRUE(contexts.DocumentOf("F").has_value());
  EXPECT_EQ(contexts.DocumentOf("F")->session, "oopif");
  EXPECT_EQ(UniqueIds(contexts), (std::vector<std::string>{"page:u1", "oopif:u3"}));

  contexts.Destroyed("oopif", 1);
  EXPECT_EQ(contexts.FrameOf("page", 1), "MAIN");
  EXPECT_FALSE(contexts.DocumentOf("F").has_value());

  contexts.Created("oopif", Context(4, "u4", "F", true));
  contexts.Cleared("page");
  EXPECT_EQ(contexts.FrameOf("page", 1), "");
  EXPECT_FALSE(contexts.DocumentOf("MAIN").has_value());
  EXPECT_EQ(UniqueIds(contexts), (std::vector<std::string>{"oopif:u4"}));
}

}  // namespace
