// The user's display conventions on Linux: those of the C/POSIX locale.
#include <nybase/platform/internal/UserLocale.h>

namespace lu::platform::detail {

// The library never calls setlocale and display must not change with LANG between runs of the
// same job, so the user's conventions are the fixed C/POSIX ones (the C locale's %x is MM/dd/yy
// and %X is HH:mm:ss).
const UserLocale& GetUserLocale() noexcept {
  static const UserLocale k_c = {
      L".", L"", 0, 2, 1, 1,
      L"MM/dd/yy", L"dddd, MMMM d, yyyy", L"HH:mm:ss",
      L"AM", L"PM", L"A.D.",
      {L"Sunday", L"Monday", L"Tuesday", L"Wednesday", L"Thursday", L"Friday", L"Saturday"},
      {L"Sun", L"Mon", L"Tue", L"Wed", L"Thu", L"Fri", L"Sat"},
      {L"January", L"February", L"March", L"April", L"May", L"June", L"July", L"August", L"September",
       L"October", L"November", L"December"},
      {L"Jan", L"Feb", L"Mar", L"Apr", L"May", L"Jun", L"Jul", L"Aug", L"Sep", L"Oct", L"Nov", L"Dec"},
  };
  return k_c;
}

}  // namespace lu::platform::detail
