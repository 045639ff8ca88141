// lu::Expected holds one alternative and says which; NyGuid keeps the GUID layout; the exported
// instance slots start empty.
#include <gtest/gtest.h>

#include <string>

#include <nybase/NYBase.h>

TEST(Expected, HoldsValueOrError) {
  lu::Expected<int, std::string> v = 5;
  lu::Expected<int, std::string> e = lu::Unexpected(std::string("bad"));
  ASSERT_TRUE(v.HasValue());
  EXPECT_EQ(*v, 5);
  ASSERT_FALSE(e.HasValue());
  EXPECT_FALSE(static_cast<bool>(e));
  EXPECT_EQ(e.Error(), "bad");
}

TEST(NyGuid, NullAndOrdering) {
  NyGuid a{};
  NyGuid b{1, 0, 0, {0}};
  EXPECT_TRUE(a.IsNull());
  EXPECT_FALSE(b.IsNull());
  EXPECT_NE(a, b);
  EXPECT_EQ(offsetof(NyGuid, Data4), 8u);
}

TEST(InstanceSlots, AreExportedAndStartNull) {
  EXPECT_EQ(INotifyMgr::m_pInstance, nullptr);
  EXPECT_EQ(ILMDBService::m_pInstance, nullptr);
}
