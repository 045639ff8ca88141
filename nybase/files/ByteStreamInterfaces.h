// NY::IReadBytes, NY::IWriteBytes, NY::IWriteBuffer: the byte sinks and sources that serialising
// code runs against, whether the bytes go to a file, a block of memory or a hash.
#pragma once

namespace NY {

// A source of bytes. No virtual destructor: the interface is never deleted through.
class IReadBytes {
 public:
  // Reads up to `size` bytes into `buffer`; `done` receives the count read. True when all came.
  virtual bool ReadBytes(void* buffer, int size, int& done) = 0;

 protected:
  ~IReadBytes() = default;
};

// A sink of bytes. No virtual destructor, as for IReadBytes.
class IWriteBytes {
 public:
  // Writes `size` bytes of `data`; `done` receives the count written. True when all went out.
  virtual bool WriteBytes(const void* data, int size, int& done) = 0;

 protected:
  ~IWriteBytes() = default;
};

// A sink that is a growable block of memory. The slots follow WriteBytes in this order.
class IWriteBuffer : public IWriteBytes {
 public:
  // Number of bytes written so far.
  virtual int Count() const = 0;
  // The block (null before the first growth).
  virtual unsigned char* Bytes() const = 0;
  // Sets the count as it stands, unchecked.
  virtual void SetCount(int count) = 0;
  // Makes room for `required` bytes in all.
  virtual bool Reserve(int required) = 0;
  // Count to 0, keeping the block.
  virtual void Clear() = 0;
  // Hands the block to the caller (who frees it with free) and leaves the buffer empty.
  virtual unsigned char* Detach() = 0;

 protected:
  ~IWriteBuffer() = default;
};

}  // namespace NY
