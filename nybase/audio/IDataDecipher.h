// IDataDecipher: the caller's hook that deciphers a WAV file's sample payload.
#pragma once

// The library holds no key and no cipher; it only calls these operations. The reader holds a
// pointer to const, so implementations keep any state they set up in mutable members.
class IDataDecipher {
 public:
  // Given the 16 bytes at the start of the data: true if the stream is enciphered and this decipher
  // is now ready to decipher it.
  virtual bool SetupFromHeader(const void* header) const = 0;
  // The cipher's block size in bytes, a power of two.
  virtual unsigned int GetBlockSize() const = 0;
  // Deciphers one block from source into destination (never the same buffer).
  virtual void DecryptBlock(const void* source, void* destination) const = 0;
  virtual ~IDataDecipher() = default;
};
