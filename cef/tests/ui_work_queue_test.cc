// The UI thread's work queue: what runs when, and when the pump is asked to come.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ui_work_queue.h"

using vexorcef::UiWorkQueue;
using namespace std::chrono_literals;

namespace {

class UiWorkQueueTest : public ::testing::Test {
 protected:
  UiWorkQueueTest() : queue([this] { return now; }) {
    queue.SetPumpRequest([this](int64_t delay_ms) { asked.push_back(delay_ms); });
  }
  std::function<void()> Note(const std::string& what) {
    return [this, what] { ran.push_back(what); };
  }
  void Pump() {
    for (auto& t : queue.TakeDue()) t();
  }

  UiWorkQueue::Clock::time_point now{};
  UiWorkQueue queue;
  std::vector<int64_t> asked;
  std::vector<std::string> ran;
};

}  // namespace

TEST_F(UiWorkQueueTest, AnIdleQueueAsksForNothingAndGivesNothing) {
  Pump();
  now += 1h;
  Pump();
  EXPECT_TRUE(asked.empty());
  EXPECT_TRUE(ran.empty());
}

TEST_F(UiWorkQueueTest, TasksAskForOnePumpAtOnceUntilThatPumpCame) {
  queue.Post(Note("a"));
  queue.Post(Note("b"));
  EXPECT_EQ(asked, (std::vector<int64_t>{0}));
  Pump();
  EXPECT_EQ(ran, (std::vector<std::string>{"a", "b"}));
  queue.Post(Note("c"));
  EXPECT_EQ(asked, (std::vector<int64_t>{0, 0}));
  Pump();
  EXPECT_EQ(ran.back(), "c");
}

TEST_F(UiWorkQueueTest, ATimerAsksForItsDueTimeAndRunsOnlyOnceDue) {
  queue.PostDelayed(3000, Note("late"));
  EXPECT_EQ(asked, (std::vector<int64_t>{3000}));
  now += 2999ms;
  Pump();  // a pump that comes early, from a host that also pumps on its own
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(asked.size(), 1u) << "the pump asked for is still to come";
  now += 1ms;
  Pump();
  EXPECT_EQ(ran, (std::vector<std::string>{"late"}));
  now += 1h;
  Pump();
  EXPECT_EQ(asked.size(), 1u);
}

TEST_F(UiWorkQueueTest, AnEarlierTimerAsksAgainALaterOneDoesNot) {
  queue.PostDelayed(10000, Note("10s"));
  queue.PostDelayed(20000, Note("20s"));
  queue.PostDelayed(3000, Note("3s"));
  EXPECT_EQ(asked, (std::vector<int64_t>{10000, 3000}));
  now += 3s;
  Pump();
  EXPECT_EQ(ran, (std::vector<std::string>{"3s"}));
  // The next timer left is asked for from here.
  EXPECT_EQ(asked.back(), 7000);
  now += 7s;
  Pump();
  EXPECT_EQ(asked.back(), 10000);
  now += 10s;
  Pump();
  EXPECT_EQ(ran, (std::vector<std::string>{"3s", "10s", "20s"}));
}

TEST_F(UiWorkQueueTest, ATaskWhileATimerWaitsIsAskedForAtOnceAndTheTimerAgainAfter) {
  queue.PostDelayed(500, Note("timer"));
  queue.Post(Note("task"));
  EXPECT_EQ(asked, (std::vector<int64_t>{500, 0}));
  now += 100ms;
  Pump();
  EXPECT_EQ(ran, (std::vector<std::string>{"task"}));
  EXPECT_EQ(asked.back(), 400);
}

TEST_F(UiWorkQueueTest, DueTimersRunAfterTheTasksInTheOrderTheyWerePosted) {
  queue.PostDelayed(20, Note("t1"));
  queue.PostDelayed(10, Note("t2"));
  queue.PostDelayed(50, Note("t3"));
  now += 30ms;
  queue.Post(Note("task"));
  Pump();
  EXPECT_EQ(ran, (std::vector<std::string>{"task", "t1", "t2"}));
}

TEST_F(UiWorkQueueTest, APartMillisecondLeftIsAskedForAsAWholeOne) {
  queue.PostDelayed(1000, Note("timer"));
  now += 250us;
  queue.Post(Note("task"));
  Pump();
  // Asked for 999 ms, the pump would come too early and find nothing.
  EXPECT_EQ(asked, (std::vector<int64_t>{1000, 0, 1000}));
}
