// The module resource table: lookup by module, name and type, and the four call contracts.
#include <gtest/gtest.h>

#include <nybase/platform/LastError.h>
#include <nybase/platform/Resources.h>

using namespace lu::platform;

TEST(Resources, LookupFoldsAsciiCaseAndKeepsModulesApart) {
  static const unsigned char k_bytes[] = {1, 2, 3, 4};
  auto* a = reinterpret_cast<HMODULE>(0x1000);
  auto* b = reinterpret_cast<HMODULE>(0x2000);
  ASSERT_TRUE(RegisterResource(a, L"Icon\u00E9", L"DATA", k_bytes, 4));
  EXPECT_FALSE(RegisterResource(a, L"ICON\u00E9", L"data", k_bytes, 2));  // same key: refused
  ASSERT_TRUE(RegisterResource(b, L"ICON\u00E9", L"DATA", k_bytes, 2));
  ASSERT_TRUE(RegisterResource(a, MakeIntResource(101), MakeIntResource(10), k_bytes + 1, 3));

  const HRSRC ra = FindResourceW(a, L"icon\u00E9", L"Data");
  ASSERT_NE(ra, nullptr);
  EXPECT_EQ(SizeofResource(a, ra), 4u);
  EXPECT_EQ(LockResource(LoadResource(a, ra)), k_bytes);
  EXPECT_EQ(SizeofResource(b, FindResourceW(b, L"ICON\u00E9", L"DATA")), 2u);
  const HRSRC rn = FindResourceW(a, MakeIntResource(101), MakeIntResource(10));
  ASSERT_NE(rn, nullptr);
  EXPECT_EQ(LockResource(LoadResource(a, rn)), k_bytes + 1);

  // Only ASCII folds; a number and a text never match each other; other modules see nothing.
  SetLastError(0);
  EXPECT_EQ(FindResourceW(a, L"ICON\u00C9", L"DATA"), nullptr);
  EXPECT_EQ(GetLastError(), k_errorResourceNameNotFound);
  EXPECT_EQ(FindResourceW(a, L"#101", MakeIntResource(10)), nullptr);
  EXPECT_EQ(FindResourceW(a, MakeIntResource(102), MakeIntResource(10)), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"ICON\u00E9", L"DATA"), nullptr);
  EXPECT_EQ(FindResourceW(a, L"ICON", L"DATA"), nullptr);

  // The chain over a missing resource yields null and 0 without failing on the way.
  EXPECT_EQ(LoadResource(a, nullptr), nullptr);
  EXPECT_EQ(SizeofResource(a, nullptr), 0u);
  EXPECT_EQ(LockResource(nullptr), nullptr);

  EXPECT_TRUE(UnregisterResource(a, L"ICON\u00E9", L"DATA"));
  EXPECT_FALSE(UnregisterResource(a, L"ICON\u00E9", L"DATA"));
  EXPECT_EQ(FindResourceW(a, L"ICON\u00E9", L"DATA"), nullptr);
  EXPECT_NE(FindResourceW(b, L"ICON\u00E9", L"DATA"), nullptr);
  EXPECT_TRUE(UnregisterResource(b, L"ICON\u00E9", L"DATA"));
  EXPECT_TRUE(UnregisterResource(a, MakeIntResource(101), MakeIntResource(10)));
  EXPECT_FALSE(RegisterResource(a, nullptr, L"DATA", k_bytes, 1));
}
