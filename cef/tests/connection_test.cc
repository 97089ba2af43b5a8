// The DevTools pipe against stand-in programs that misbehave as a dying or stuck Chromium
// would: the UI thread that sends must neither block nor be killed by the pipe.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>

#include "connection.h"

using vexorcef::Connection;
using vexorcef::Json;

namespace {

// What the connection reported, waited for without any time margin that matters: the
// limits are there only so a broken build fails instead of hanging.
struct Reports {
  std::mutex mutex;
  std::condition_variable changed;
  std::atomic<bool> died{false};  // the test reads it between waits too
  int failed_callbacks = 0;
  std::vector<std::string> events;

  bool WaitFor(const std::function<bool()>& done) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(60), done);
  }
};

std::unique_ptr<Connection> LaunchShell(const std::string& script, Reports* reports) {
  auto c = std::make_unique<Connection>();
  std::string error;
  if (!c->Launch("/bin/sh", {"-c", script}, {}, &error)) {
    ADD_FAILURE() << error;
    return nullptr;
  }
  c->Start(
      [reports](const std::string& method, Json, const std::string&) {
        std::lock_guard<std::mutex> lock(reports->mutex);
        reports->events.push_back(method);
        reports->changed.notify_all();
      },
           [reports](int) {
             std::lock_guard<std::mutex> lock(reports->mutex);
             reports->died = true;
             reports->changed.notify_all();
           });
  return c;
}

Connection::Callback CountFailure(Reports* reports) {
  return [reports](const Json&, const Json& error) {
    std::lock_guard<std::mutex> lock(reports->mutex);
    if (!error.isNull()) ++reports->failed_callbacks;
    reports->changed.notify_all();
  };
}

}  // namespace

TEST(ConnectionTest, APipeNobodyReadsIsChromiumGoneNotTheEndOfTheHost) {
  Reports reports;
  // Closes its command pipe but lives on, holding the event pipe open.
  auto c = LaunchShell("exec 3<&-; printf '{\"method\":\"closed\"}\\0' >&4; sleep 60", &reports);
  ASSERT_TRUE(c);
  ASSERT_TRUE(reports.WaitFor([&] { return !reports.events.empty(); }));
  for (int i = 0; i < 3; ++i) c->Send("Browser.getVersion", Json::object(), "", CountFailure(&reports));
  ASSERT_TRUE(reports.WaitFor([&] { return reports.died && reports.failed_callbacks == 3; }))
      << reports.died.load() << " " << reports.failed_callbacks;
  EXPECT_FALSE(c->alive());
  // A send after the death fails at once, too.
  c->Send("Browser.getVersion", Json::object(), "", CountFailure(&reports));
  ASSERT_TRUE(reports.WaitFor([&] { return reports.failed_callbacks == 4; }));
}

TEST(ConnectionTest, SendsNeverBlockOnAChromiumThatStopsReadingWhichIsGivenUpInTheEnd) {
  Reports reports;
  auto c = LaunchShell("sleep 60", &reports);
  ASSERT_TRUE(c);
  // Far more than any pipe holds; a blocking write would never come back.
  Json big = Json::object().set("expression", std::string(1 << 20, 'x'));
  auto sent = std::async(std::launch::async, [&] {
    for (int i = 0; i < 16; ++i) c->Send("Runtime.evaluate", big);
  });
  ASSERT_EQ(sent.wait_for(std::chrono::seconds(60)), std::future_status::ready);
  EXPECT_TRUE(c->alive());
  EXPECT_FALSE(reports.died);
  // Commands piling up past any sane backlog mean Chromium hangs: it is ended, and the
  // host hears of it as of any death.
  for (int i = 16; i < 80 && !reports.died; ++i) c->Send("Runtime.evaluate", big);
  ASSERT_TRUE(reports.WaitFor([&] { return reports.died.load(); }));
  EXPECT_FALSE(c->alive());
}

TEST(ConnectionTest, ShutdownEndsAChromiumThatIgnoresItsCommands) {
  Reports reports;
  auto c = LaunchShell("sleep 60", &reports);
  ASSERT_TRUE(c);
  c->Send("Runtime.evaluate", Json::object().set("expression", std::string(1 << 20, 'x')));
  c->Shutdown(50);
  EXPECT_FALSE(c->alive());
  // Shutdown is not a death the host must hear of.
  EXPECT_FALSE(reports.died);
}
