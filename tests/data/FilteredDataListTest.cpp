// FilteredDataList: the exact sequence of calls that consumers, filters and the source see.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nybase/NYBase.h>

namespace {

using FDL = FilteredDataList;
std::vector<std::string> g_log;
void Log(const std::string& s) { g_log.push_back(s); }

// Items are ints; an item's columns are the pointers in its row of m_columns.
struct Source : FDL::IDataSource {
  struct Iter final : FDL::IDataIterator {
    std::vector<const void*> values;
    size_t at = 0;
    std::string name;
    void Release() override {
      Log("release " + name);
      delete this;
    }
    void Reset() override { at = 0; }
    const void* Next() override { return at < values.size() ? values[at++] : nullptr; }
  };
  std::vector<int> items;
  std::vector<std::vector<const void*>> columns;  // per item
  FDL::IDataIterator* GetRowIterator() override {
    auto* it = new Iter;
    it->name = "rows";
    for (int& i : items) it->values.push_back(&i);
    return it;
  }
  FDL::IDataIterator* GetColumnIterator(const void* item) override {
    auto* it = new Iter;
    it->name = "cols";
    it->values = columns[static_cast<size_t>(static_cast<const int*>(item) - items.data())];
    return it;
  }
};

struct Consumer : FDL::IDataConsumer {
  std::string name;
  explicit Consumer(std::string n) : name(std::move(n)) {}
  static std::string Item(const void* p) { return std::to_string(*static_cast<const int*>(p)); }
  void ItemAddedOrChanged(const void* item) override { Log(name + " add " + Item(item)); }
  void ItemRemoved(const void* item) override { Log(name + " remove " + Item(item)); }
  void Clear() override { Log(name + " clear"); }
  void OpenBrace() override { Log(name + " open"); }
  void CloseBrace() override { Log(name + " close"); }
};

// Accepts values (ints) below a limit; a null value is logged and refused.
struct Filter : FDL::IDataFilter {
  std::string name;
  int limit;
  Filter(std::string n, int l) : name(std::move(n)), limit(l) {}
  void SetOwner(FDL* owner) override { Log(name + (owner ? " owner" : " owner null")); }
  bool Accept(const void* v) override {
    Log(name + " accept " + (v ? std::to_string(*static_cast<const int*>(v)) : "null"));
    return v != nullptr && *static_cast<const int*>(v) < limit;
  }
  void Destroy() override { Log(name + " destroy"); }
};

struct FilterWatcher : FDL::IDataFilterConsumer {
  void FilterAdded(FDL::IDataFilter* f) override { Log("added " + static_cast<Filter*>(f)->name); }
  void FilterRemoved(FDL::IDataFilter* f) override { Log("removed " + static_cast<Filter*>(f)->name); }
};

using Calls = std::vector<std::string>;

Calls Take() {
  Calls c;
  c.swap(g_log);
  return c;
}

class FilteredDataListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    g_log.clear();
    src.items = {10, 20};
    col = {1, 5, 7};
    src.columns = {{&col[0], &col[1]}, {&col[2]}};  // item 20 has one column only
  }
  Source src;
  std::vector<int> col;
  Consumer a{"A"};
  Consumer b{"B"};
};

}  // namespace

TEST_F(FilteredDataListTest, SourceWithoutFiltersShowsEveryItem) {
  FDL list;
  list.FilterChanged();  // no source: nothing at all
  list.AddDataConsumer(&a);
  list.SetSource(&src);
  EXPECT_EQ(Take(), (Calls{"A clear", "release cols", "A add 10", "release cols", "A add 20", "release rows"}));
  list.SetSource(nullptr);
  list.FilterChanged();
  EXPECT_EQ(Take(), (Calls{"A clear"}));
}

TEST_F(FilteredDataListTest, FiltersMatchColumnsByPositionAndStopAtTheFirstRefusal) {
  FilterWatcher watcher;
  Filter f1("F1", 6);
  Filter f2("F2", 6);
  FDL list;
  list.SetSource(&src);
  list.AddDataConsumer(&a);
  list.AddFilterConsumer(&watcher);
  Take();
  list.AddFilter(&f1);
  EXPECT_EQ(Take(), (Calls{"F1 owner", "added F1", "F1 accept 1", "release cols", "A add 10", "F1 accept 7",
                           "release cols", "A remove 20", "release rows"}));
  list.AddFilter(&f2);
  EXPECT_EQ(Take(), (Calls{"F2 owner", "added F2", "F1 accept 1", "F2 accept 5", "release cols", "A add 10",
                           "F1 accept 7", "release cols", "A remove 20", "release rows"}));
  col[2] = 2;  // item 20 now passes F1, and F2 gets null: its column iterator is exhausted
  list.ItemAddedOrChanged(&src.items[1]);
  EXPECT_EQ(Take(), (Calls{"F1 accept 2", "F2 accept null", "release cols", "A remove 20"}));
  list.ItemRemoved(&src.items[0]);
  list.ClearAllItems();
  EXPECT_EQ(Take(), (Calls{"A remove 10", "A clear"}));
}

TEST_F(FilteredDataListTest, RemovingAFilterWaitsForFilterChanged) {
  Filter none("N", -100);
  FDL list;
  list.SetSource(&src);
  list.AddDataConsumer(&a);
  list.AddDataConsumer(&b);
  list.AddFilter(&none);
  Take();
  list.RemoveFilter(&none);
  list.RemoveFilter(&none);  // absent now: nothing
  EXPECT_EQ(Take(), (Calls{"N owner null"}));
  list.FilterChanged();
  EXPECT_EQ(Take(), (Calls{"release cols", "A add 10", "B add 10", "release cols", "A add 20", "B add 20",
                           "release rows"}));
}

TEST_F(FilteredDataListTest, ALateConsumerCatchesUpAloneOnVisibleItems) {
  Filter f("F", 6);
  FDL list;
  list.SetSource(&src);
  list.AddFilter(&f);
  list.AddDataConsumer(&a);
  Take();
  list.AddDataConsumer(&b);
  EXPECT_EQ(Take(), (Calls{"F accept 1", "release cols", "B add 10", "F accept 7", "release cols", "release rows"}));
  list.AddDataConsumer(nullptr);
  list.RemoveDataConsumer(&b);
  list.ClearAllFilters();
  EXPECT_EQ(Take(), (Calls{"F owner null"}));
}

TEST_F(FilteredDataListTest, ConsumersAreCalledPerEntryAndBracesPassThrough) {
  Consumer absent("X");
  FDL list;
  list.AddDataConsumer(&a);
  list.AddDataConsumer(&b);
  list.AddDataConsumer(&a);
  list.RemoveDataConsumer(&absent);
  list.OpenBrace();
  list.OpenBrace();
  list.CloseBrace();
  EXPECT_EQ(Take(), (Calls{"A open", "B open", "A open", "A open", "B open", "A open", "A close", "B close",
                           "A close"}));
  list.RemoveDataConsumer(&a);  // the first entry only
  list.ClearAllItems();
  EXPECT_EQ(Take(), (Calls{"B clear", "A clear"}));
}

TEST_F(FilteredDataListTest, FilterConsumersAndDestroyOrder) {
  Filter f1("F1", 100);
  Filter f2("F2", 100);
  Filter f3("F3", 100);
  FilterWatcher w1;
  FilterWatcher w2;
  FDL list;
  list.AddFilter(&f1);
  list.AddFilter(&f2);
  list.AddFilter(&f3);
  list.AddFilterConsumer(&w1);
  Take();
  list.AddFilterConsumer(&w2);
  EXPECT_EQ(Take(), (Calls{"added F1", "added F2", "added F3"}));
  auto it = list.FilterBegin() + 1;
  list.RemoveFilter(it);
  EXPECT_EQ(*it, &f3);
  EXPECT_EQ(list.FilterEnd() - list.FilterBegin(), 2);
  list.RemoveFilterConsumer(&w1);
  EXPECT_EQ(Take(), (Calls{"F2 owner null", "removed F2", "removed F2"}));
  list.DestroyAllFilters();
  EXPECT_EQ(Take(), (Calls{"F1 owner null", "removed F1", "F1 destroy", "F3 owner null", "removed F3",
                           "F3 destroy"}));
}

TEST_F(FilteredDataListTest, CopiesShareWiringAndClearItOnDestruction) {
  Filter f("F", 100);
  auto* list = new FDL;
  list->AddDataConsumer(&a);
  list->AddFilter(&f);
  Take();
  {
    FDL copy(*list);
    FDL& self = copy;
    copy = self;
    EXPECT_TRUE(Take().empty());
  }
  EXPECT_EQ(Take(), (Calls{"A clear", "F owner null"}));
  delete list;  // the original still holds both
  EXPECT_EQ(Take(), (Calls{"A clear", "F owner null"}));
}
