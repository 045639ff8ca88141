// FilteredDataList: notification order between source, filters and consumers.
#include <nybase/data/FilteredDataList.h>

#include <algorithm>

FilteredDataList::~FilteredDataList() {
  for (IDataConsumer* c : m_consumers) c->Clear();
  ClearAllFilters();
}

bool FilteredDataList::ApplyFilters(const void* item) {
  // Without a source (a misuse) or without a column iterator, every filter sees a null value, as
  // past the end of a short iterator: the result stays defined instead of dereferencing null.
  IDataIterator* columns = m_source ? m_source->GetColumnIterator(item) : nullptr;
  bool accepted = true;
  for (IDataFilter* filter : m_filters) {
    if (!filter->Accept(columns ? columns->Next() : nullptr)) {
      accepted = false;
      break;
    }
  }
  if (columns) columns->Release();
  return accepted;
}

void FilteredDataList::Notify(const void* item, bool visible) {
  for (IDataConsumer* c : m_consumers) {
    if (visible) {
      c->ItemAddedOrChanged(item);
    } else {
      c->ItemRemoved(item);
    }
  }
}

void FilteredDataList::SetSource(IDataSource* source) {
  m_source = source;
  for (IDataConsumer* c : m_consumers) c->Clear();
  FilterChanged();
}

void FilteredDataList::AddDataConsumer(IDataConsumer* consumer) {
  if (consumer == nullptr) return;
  m_consumers.push_back(consumer);
  if (m_source == nullptr) return;
  IDataIterator* rows = m_source->GetRowIterator();
  if (rows == nullptr) return;
  while (const void* item = rows->Next()) {
    // The late consumer only catches up on what shows; it never hears of a removal here.
    if (ApplyFilters(item)) consumer->ItemAddedOrChanged(item);
  }
  rows->Release();
}

void FilteredDataList::RemoveDataConsumer(IDataConsumer* consumer) {
  if (consumer == nullptr) return;
  const auto it = std::find(m_consumers.begin(), m_consumers.end(), consumer);
  if (it != m_consumers.end()) m_consumers.erase(it);
}

void FilteredDataList::AddFilterConsumer(IDataFilterConsumer* consumer) {
  // Not tested for null, on purpose: the list takes what it is given. A null entry is kept (it
  // can be removed again) but never called.
  m_filterConsumers.push_back(consumer);
  if (consumer == nullptr) return;
  for (IDataFilter* f : m_filters) consumer->FilterAdded(f);
}

void FilteredDataList::RemoveFilterConsumer(IDataFilterConsumer* consumer) {
  const auto it = std::find(m_filterConsumers.begin(), m_filterConsumers.end(), consumer);
  if (it != m_filterConsumers.end()) m_filterConsumers.erase(it);
}

void FilteredDataList::AddFilter(IDataFilter* filter) {
  if (filter == nullptr) return;
  m_filters.push_back(filter);
  filter->SetOwner(this);
  for (IDataFilterConsumer* c : m_filterConsumers) {
    if (c) c->FilterAdded(filter);
  }
  FilterChanged();
}

void FilteredDataList::RemoveFilter(IDataFilter* filter) {
  auto it = std::find(m_filters.begin(), m_filters.end(), filter);
  if (it != m_filters.end()) RemoveFilter(it);
}

void FilteredDataList::RemoveFilter(iterator& it) {
  IDataFilter* filter = *it;
  filter->SetOwner(nullptr);
  for (IDataFilterConsumer* c : m_filterConsumers) {
    if (c) c->FilterRemoved(filter);
  }
  // Looked up again: a filter consumer may have changed the array meanwhile.
  const auto at = std::find(m_filters.begin(), m_filters.end(), filter);
  it = at != m_filters.end() ? m_filters.erase(at) : at;
  // No FilterChanged, on purpose: the views keep what they show until the caller asks.
}

void FilteredDataList::TakeOutFirstFilter(bool destroy) {
  IDataFilter* filter = m_filters.front();
  filter->SetOwner(nullptr);
  for (IDataFilterConsumer* c : m_filterConsumers) {
    if (c) c->FilterRemoved(filter);
  }
  const auto at = std::find(m_filters.begin(), m_filters.end(), filter);
  if (at != m_filters.end()) m_filters.erase(at);
  if (destroy) filter->Destroy();
}

void FilteredDataList::ClearAllFilters() {
  while (!m_filters.empty()) TakeOutFirstFilter(false);
}

void FilteredDataList::DestroyAllFilters() {
  while (!m_filters.empty()) TakeOutFirstFilter(true);
}

void FilteredDataList::ItemAddedOrChanged(const void* item) { Notify(item, ApplyFilters(item)); }

void FilteredDataList::ItemRemoved(const void* item) {
  for (IDataConsumer* c : m_consumers) c->ItemRemoved(item);
}

void FilteredDataList::ClearAllItems() {
  for (IDataConsumer* c : m_consumers) c->Clear();
}

void FilteredDataList::OpenBrace() {
  for (IDataConsumer* c : m_consumers) c->OpenBrace();
}

void FilteredDataList::CloseBrace() {
  for (IDataConsumer* c : m_consumers) c->CloseBrace();
}

void FilteredDataList::FilterChanged() {
  if (m_source == nullptr) return;
  IDataIterator* rows = m_source->GetRowIterator();
  if (rows == nullptr) return;
  while (const void* item = rows->Next()) Notify(item, ApplyFilters(item));
  rows->Release();
}

FilteredDataList::IDataIterator* FilteredDataList::GetRowIterator() {
  return m_source ? m_source->GetRowIterator() : nullptr;
}

FilteredDataList::IDataIterator* FilteredDataList::GetColumnIterator(const void* item) {
  return m_source ? m_source->GetColumnIterator(item) : nullptr;
}
