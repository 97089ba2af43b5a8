// Popups paired with the client's decisions in order, whichever comes first.
#include "popup_broker.h"

#include <gtest/gtest.h>

using vexorcef::Json;
using vexorcef::PopupBroker;

namespace {

PopupBroker::Decision Refuse(bool cancel) { return PopupBroker::Decision{cancel, {}, nullptr}; }

TEST(PopupBrokerTest, PopupsAndDecisionsPairInOrderWhicheverComesFirst) {
  PopupBroker broker;
  EXPECT_FALSE(broker.Decided(Refuse(true)).has_value());
  EXPECT_FALSE(broker.Decided(Refuse(false)).has_value());
  std::optional<PopupBroker::Decision> d = broker.Attached({"s1", "T1"});
  ASSERT_TRUE(d.has_value());
  EXPECT_TRUE(d->cancel);

  d = broker.Attached({"s2", "T2"});
  ASSERT_TRUE(d.has_value());
  EXPECT_FALSE(d->cancel);

  // Attached before the page's offer reached the client: it waits for the decision.
  EXPECT_FALSE(broker.Attached({"s3", "T3"}).has_value());
  EXPECT_FALSE(broker.Attached({"s4", "T4"}).has_value());
  std::optional<PopupBroker::Popup> waiting = broker.Decided(Refuse(true));
  ASSERT_TRUE(waiting.has_value());
  EXPECT_EQ(waiting->target_id, "T3");
  ASSERT_TRUE(broker.Attached(*waiting).has_value());

  EXPECT_EQ(broker.Refused("T1"), std::optional<bool>(true));
  EXPECT_EQ(broker.Refused("T2"), std::optional<bool>(false));
  EXPECT_EQ(broker.Refused("T3"), std::optional<bool>(true));
  EXPECT_FALSE(broker.Refused("T4").has_value());
}

TEST(PopupBrokerTest, AHeldDocumentIsReleasedOnce) {
  PopupBroker broker;
  broker.Hold("F", {"s", std::make_shared<Json>(Json::object().set("requestId", "r1"))});
  std::optional<PopupBroker::HeldDocument> held = broker.Release("F");
  ASSERT_TRUE(held.has_value());
  EXPECT_EQ((*held->params)["requestId"].str(), "r1");
  EXPECT_FALSE(broker.Release("F").has_value());
}

}  // namespace
