// ILMDBService: the application's database service, known to the library only as a slot.
#pragma once

// Declared here so that the exported instance slot has its type; the library defines no
// operations on it and never reads the slot. The application stores its instance there.
class ILMDBService {
 public:
  virtual ~ILMDBService() = default;

  // Null until the application fills it; never read or written by the library.
  static ILMDBService* m_pInstance;
};
