// IProgress: the caller's progress sink for long operations.
#pragma once

#include <cstdint>

// The library calls only the fourth to the sixth slot (SetRange, SetPosition, IsCancelled); the
// slot order is part of the binary interface, so keep the declarations in this order. The first
// three slots belong to the application's user interface and have empty defaults here.
class IProgress {
 public:
  virtual void SetTitle(const wchar_t* /*title*/) {}
  virtual void SetText(const wchar_t* /*text*/) {}
  virtual void Finish() {}
  // Opens a range of positions [min, max].
  virtual void SetRange(int64_t min, int64_t max) = 0;
  // Reports the current position inside the last range.
  virtual void SetPosition(int64_t value) = 0;
  // True when the user asked to stop; the operation then returns its failure result.
  virtual bool IsCancelled() = 0;
  virtual ~IProgress() = default;
};
