// FilteredDataList: wires one data source through column filters to any number of views.
#pragma once

#include <vector>

// The list stores no items: an item is an opaque pointer that only the source and the filters
// understand, and visibility is asked of the filters again whenever it matters. Filters match
// columns by position: the first filter sees an item's first column, the second its second.
// Nothing is reported; calls and callbacks run on the caller's thread, and a consumer must not
// add or remove consumers from inside a notification.
class FilteredDataList {
 public:
  // The interfaces are called through their virtual slots in the order declared here; they are
  // never deleted through these pointers.
  class IDataIterator {
   public:
    // Gives the iterator back to its source.
    virtual void Release() = 0;
    // Starts the walk again at the first element. Not called by the list.
    virtual void Reset() = 0;
    // The next element, null at the end.
    virtual const void* Next() = 0;

   protected:
    ~IDataIterator() = default;
  };

  class IDataSource {
   public:
    // An iterator over the items; the caller releases it.
    virtual IDataIterator* GetRowIterator() = 0;
    // An iterator over one item's values in column order; the caller releases it.
    virtual IDataIterator* GetColumnIterator(const void* item) = 0;

   protected:
    ~IDataSource() = default;
  };

  class IDataFilter {
   public:
    // The list the filter now belongs to; null when it is taken out.
    virtual void SetOwner(FilteredDataList* owner) = 0;
    // Whether an item whose value in this filter's column is value may show.
    virtual bool Accept(const void* value) = 0;
    // Called by DestroyAllFilters after the filter has left the list.
    virtual void Destroy() = 0;

   protected:
    ~IDataFilter() = default;
  };

  class IDataConsumer {
   public:
    virtual void ItemAddedOrChanged(const void* item) = 0;
    virtual void ItemRemoved(const void* item) = 0;
    virtual void Clear() = 0;
    virtual void OpenBrace() = 0;
    virtual void CloseBrace() = 0;

   protected:
    ~IDataConsumer() = default;
  };

  class IDataFilterConsumer {
   public:
    virtual void FilterAdded(IDataFilter* filter) = 0;
    virtual void FilterRemoved(IDataFilter* filter) = 0;

   protected:
    ~IDataFilterConsumer() = default;
  };

  using iterator = std::vector<IDataFilter*>::iterator;

  // No source, no filters, no consumers.
  FilteredDataList() = default;
  // Shallow copies, on purpose: the copy shares source, filters and consumers, nobody is told,
  // and the filters' owner stays the original list.
  FilteredDataList(const FilteredDataList&) = default;
  FilteredDataList& operator=(const FilteredDataList&) = default;
  // Clears every consumer, then takes out every filter as ClearAllFilters does (none destroyed).
  ~FilteredDataList();

  // ---- Wiring ----
  // Stores the source (null allowed), clears every consumer, then FilterChanged.
  void SetSource(IDataSource* source);
  // Appends the consumer (null ignored) and replays to it alone the items the filters accept.
  void AddDataConsumer(IDataConsumer* consumer);
  // Takes out the first entry equal to consumer, keeping the order; it is not told.
  void RemoveDataConsumer(IDataConsumer* consumer);
  // Appends the consumer (null is not tested: a null entry is kept but never called) and tells it
  // alone of every filter, in order.
  void AddFilterConsumer(IDataFilterConsumer* consumer);
  // Takes out the first entry equal to consumer; it is not told.
  void RemoveFilterConsumer(IDataFilterConsumer* consumer);
  // Appends the filter (null ignored), owns it by SetOwner, tells the filter consumers, then
  // FilterChanged.
  void AddFilter(IDataFilter* filter);
  // Takes the filter out (nothing when absent): SetOwner(null), FilterRemoved, out of the array.
  // No FilterChanged: the views keep what they show until the caller calls it.
  void RemoveFilter(IDataFilter* filter);
  // The same for the filter at it; it is left at the next filter.
  void RemoveFilter(iterator& it);
  iterator FilterBegin() { return m_filters.begin(); }
  iterator FilterEnd() { return m_filters.end(); }
  // Takes every filter out from the first on, as RemoveFilter does. No FilterChanged.
  void ClearAllFilters();
  // As ClearAllFilters, calling each filter's Destroy after it has left. No FilterChanged.
  void DestroyAllFilters();

  // ---- Events from the source's owner (a source must be set; without one every filter is asked
  // with a null value) ----
  // Filters the item: ItemAddedOrChanged on every consumer when accepted, else ItemRemoved.
  void ItemAddedOrChanged(const void* item);
  // ItemRemoved on every consumer, no filter asked.
  void ItemRemoved(const void* item);
  // Clear on every consumer.
  void ClearAllItems();
  // Passed to every consumer in order; the list keeps no depth and delays nothing.
  void OpenBrace();
  void CloseBrace();

  // Re-filters every item of the source and tells every consumer of each; nothing without a
  // source.
  void FilterChanged();

  // The source's iterators, or null when there is no source.
  IDataIterator* GetRowIterator();
  IDataIterator* GetColumnIterator(const void* item);

 protected:
  // Whether every filter accepts the item's value in its column (true with no filters); stops at
  // the first refusal. Without a source, or when the source gives no column iterator, each filter
  // is asked with null.
  bool ApplyFilters(const void* item);

 private:
  void Notify(const void* item, bool visible);
  void TakeOutFirstFilter(bool destroy);

  IDataSource* m_source = nullptr;
  std::vector<IDataFilter*> m_filters;
  std::vector<IDataConsumer*> m_consumers;
  std::vector<IDataFilterConsumer*> m_filterConsumers;
};
