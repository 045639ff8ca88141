// lu::CopyFileRange over the platform's in-kernel stream copy.
#include <nybase/files/FileRangeCopy.h>
#include <nybase/platform/FileApi.h>

#include <cstdint>

namespace lu {

FileRangeCopy CopyFileRange(const File& source, unsigned long long offset, const File& target, unsigned int size,
                            unsigned int& copied) {
  copied = 0;
  auto* from = static_cast<FILE*>(source.GetFileHandle());
  auto* to = static_cast<FILE*>(target.GetFileHandle());
  if (from == nullptr || to == nullptr || offset > static_cast<unsigned long long>(INT64_MAX)) {
    return FileRangeCopy::Unsupported;
  }
  size_t done = 0;
  const auto result = platform::CopyStreamRange(from, static_cast<int64_t>(offset), to, size, done);
  copied = static_cast<unsigned int>(done);
  switch (result) {
    case platform::RangeCopy::Copied: return FileRangeCopy::Copied;
    case platform::RangeCopy::Unsupported: return FileRangeCopy::Unsupported;
    case platform::RangeCopy::Failed: break;
  }
  return FileRangeCopy::Failed;
}

}  // namespace lu
