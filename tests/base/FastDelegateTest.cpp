// fastdelegate::FastDelegate: binding, calling, comparing and emptiness.
#include <gtest/gtest.h>

#include <nybase/base/FastDelegate.h>

namespace {

int Twice(int x) { return 2 * x; }
int Thrice(int x) { return 3 * x; }

struct Base {
  virtual ~Base() = default;
  int base = 100;
};
struct Counter {
  int total = 0;
  int Add(int x) { return total += x; }
  int Peek(int x) const { return total + x; }
};
// Counter is the second base, so binding through Derived* must adjust the object pointer.
struct Derived : Base, Counter {};

TEST(FastDelegate, BindsFunctionsAndMembersAndComparesByTarget) {
  using D = fastdelegate::FastDelegate<int(int)>;
  D empty;
  EXPECT_TRUE(!empty);
  EXPECT_EQ(empty, D());

  D f(&Twice);
  EXPECT_FALSE(f.empty());
  EXPECT_EQ(f(21), 42);
  EXPECT_EQ(f, D(&Twice));
  EXPECT_NE(f, D(&Thrice));

  Derived d;
  D add(&d, &Counter::Add);
  EXPECT_EQ(add(5), 5);
  EXPECT_EQ(add(2), 7);
  const D peek = fastdelegate::MakeDelegate(static_cast<const Derived*>(&d), &Counter::Peek);
  EXPECT_EQ(peek(1), 8);
  EXPECT_EQ(add, fastdelegate::MakeDelegate(&d, &Counter::Add));
  EXPECT_NE(add, peek);
  Derived other;
  EXPECT_NE(add, D(&other, &Counter::Add)) << "same member, another object";

  add.bind(static_cast<int (*)(int)>(nullptr));
  EXPECT_TRUE(add.empty());
}

}  // namespace
