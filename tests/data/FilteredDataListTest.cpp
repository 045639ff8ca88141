// FilteredDataList: the exact sequence of calls that consumers, filters and the source see.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nybase/NYBase.h>

namespace {

using FDL = FilteredDataList;
using Calls = std::vector<std::string>;
Calls g_log;
Calls Take() { return std::exchange(g_log, {}); }
std::string Text(const void* p) { return p ? std::to_string(*static_cast<const int*>(p)) : "null"; }

struct Iter final : FDL::IDataIterator {
  explicit Iter(std::vector<const void*> v) : values(std::move(v)) {}
  std::vector<const void*> values;
  size_t at = 0;
  void Release() override { g_log.push_back("release"), delete this; }
  void Reset() override { at = 0; }
  const void* Next() override { return at < values.size() ? values[at++] : nullptr; }
};

// Items 10 and 20; item 10 has the columns 1 and 5, item 20 the single column cols[2].
struct Source : FDL::IDataSource {
  int items[2] = {10, 20};
  int cols[3] = {1, 5, 7};
  FDL::IDataIterator* GetRowIterator() override { return new Iter({&items[0], &items[1]}); }
  FDL::IDataIterator* GetColumnIterator(const void* item) override {
    if (item == &items[0]) return new Iter({&cols[0], &cols[1]});
    return new Iter({&cols[2]});
  }
};

// One recorder for every role: as a filter it accepts values below its limit.
struct Actor : FDL::IDataConsumer, FDL::IDataFilter, FDL::IDataFilterConsumer {
  std::string n;
  int limit = 0;
  explicit Actor(std::string name, int l = 0) : n(std::move(name)), limit(l) {}
  void Log(const std::string& s) { g_log.push_back(n + " " + s); }
  void ItemAddedOrChanged(const void* item) override { Log("add " + Text(item)); }
  void ItemRemoved(const void* item) override { Log("remove " + Text(item)); }
  void Clear() override { Log("clear"); }
  void OpenBrace() override { Log("open"); }
  void CloseBrace() override { Log("close"); }
  void SetOwner(FDL* owner) override { Log(owner ? "owner" : "owner null"); }
  bool Accept(const void* v) override {
    Log("accept " + Text(v));
    return v && *static_cast<const int*>(v) < limit;
  }
  void Destroy() override { Log("destroy"); }
  void FilterAdded(FDL::IDataFilter* f) override { Log("added " + static_cast<Actor*>(f)->n); }
  void FilterRemoved(FDL::IDataFilter* f) override { Log("removed " + static_cast<Actor*>(f)->n); }
};

}  // namespace

TEST(FilteredDataList, SourceFiltersAndConsumers) {
  g_log.clear();
  Source src;
  Actor a("A"), b("B"), f1("F1", 6), f2("F2", 6), w("W");
  FDL list;
  list.FilterChanged();  // no source: nothing
  list.AddDataConsumer(&a);
  list.SetSource(&src);
  EXPECT_EQ(Take(), (Calls{"A clear", "release", "A add 10", "release", "A add 20", "release"}));
  list.AddFilterConsumer(&w);
  list.AddFilter(&f1);
  EXPECT_EQ(Take(), (Calls{"F1 owner", "W added F1", "F1 accept 1", "release", "A add 10", "F1 accept 7", "release",
                           "A remove 20", "release"}));
  list.AddFilter(&f2);
  src.cols[2] = 2;  // item 20 passes F1; F2 gets null from the exhausted column iterator
  Take();
  list.ItemAddedOrChanged(&src.items[1]);
  EXPECT_EQ(Take(), (Calls{"F1 accept 2", "F2 accept null", "release", "A remove 20"}));
  list.AddDataConsumer(&b);  // catches up alone, on visible items only
  EXPECT_EQ(Take(), (Calls{"F1 accept 1", "F2 accept 5", "release", "B add 10", "F1 accept 2", "F2 accept null",
                           "release", "release"}));
  list.RemoveFilter(&f1);  // no FilterChanged
  list.RemoveFilter(&f1);
  EXPECT_EQ(Take(), (Calls{"F1 owner null", "W removed F1"}));
  list.ItemRemoved(&src.items[0]);
  list.SetSource(nullptr);
  list.ItemAddedOrChanged(&src.items[0]);  // no source: the filters see null
  EXPECT_EQ(Take(), (Calls{"A remove 10", "B remove 10", "A clear", "B clear", "F2 accept null", "A remove 10",
                           "B remove 10"}));
}

TEST(FilteredDataList, ConsumerEntriesBracesAndFilterLifetimes) {
  g_log.clear();
  Actor a("A"), b("B"), x("X"), f1("F1"), f2("F2"), f3("F3"), w1("W1"), w2("W2");
  FDL list;
  list.AddDataConsumer(&a);
  list.AddDataConsumer(&b);
  list.AddDataConsumer(&a);
  list.AddDataConsumer(nullptr);
  list.RemoveDataConsumer(&x);
  list.OpenBrace();
  list.OpenBrace();
  list.CloseBrace();
  list.RemoveDataConsumer(&a);  // the first entry only
  list.ClearAllItems();
  EXPECT_EQ(Take(), (Calls{"A open", "B open", "A open", "A open", "B open", "A open", "A close", "B close", "A close",
                           "B clear", "A clear"}));
  for (Actor* f : {&f1, &f2, &f3}) list.AddFilter(f);
  list.AddFilterConsumer(&w1);
  Take();
  list.AddFilterConsumer(&w2);
  list.AddFilterConsumer(nullptr);  // kept, never called
  auto it = list.FilterBegin() + 1;
  list.RemoveFilter(it);
  EXPECT_EQ(*it, &f3);
  list.RemoveFilterConsumer(&w1);
  EXPECT_EQ(Take(), (Calls{"W2 added F1", "W2 added F2", "W2 added F3", "F2 owner null", "W1 removed F2",
                           "W2 removed F2"}));
  {
    FDL copy(list);  // shallow: shares the wiring, tells nobody
    FDL& self = copy;
    copy = self;
    EXPECT_TRUE(Take().empty());
  }
  EXPECT_EQ(Take(), (Calls{"B clear", "A clear", "F1 owner null", "W2 removed F1", "F3 owner null", "W2 removed F3"}));
  list.DestroyAllFilters();
  EXPECT_EQ(Take(), (Calls{"F1 owner null", "W2 removed F1", "F1 destroy", "F3 owner null", "W2 removed F3",
                           "F3 destroy"}));
}
