// Windows error numbers to the portable error conditions callers compare against.
#include <nybase/files/internal/SystemErrorCondition.h>

#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/LastError.h>

namespace lu::detail {

namespace pf = lu::platform;

std::error_condition ConditionFromError(uint32_t error) {
  switch (error) {
    case pf::k_errorSuccess: return {};
    case pf::k_errorFileNotFound:
    case pf::k_errorPathNotFound: return std::make_error_condition(std::errc::no_such_file_or_directory);
    case pf::k_errorAccessDenied: return std::make_error_condition(std::errc::permission_denied);
    case pf::k_errorSharingViolation: return std::make_error_condition(std::errc::device_or_resource_busy);
    case pf::k_errorFileExists:
    case pf::k_errorAlreadyExists: return std::make_error_condition(std::errc::file_exists);
    case pf::k_errorInvalidParameter:
    case pf::k_errorInvalidName: return std::make_error_condition(std::errc::invalid_argument);
    case pf::k_errorDiskFull: return std::make_error_condition(std::errc::no_space_on_device);
    case pf::k_errorDirNotEmpty: return std::make_error_condition(std::errc::directory_not_empty);
    case pf::k_errorFilenameTooLong: return std::make_error_condition(std::errc::filename_too_long);
    case pf::k_errorNotEnoughMemory:
    case pf::k_errorNoSystemResources: return std::make_error_condition(std::errc::not_enough_memory);
    case pf::k_errorNotSupported: return std::make_error_condition(std::errc::not_supported);
    case pf::k_errorRequestAborted: return std::make_error_condition(std::errc::operation_canceled);
    default: return std::error_condition(static_cast<int>(error), std::system_category());
  }
}

void ReportGeneric(std::error_condition* condition, int code) {
  if (condition) *condition = std::error_condition(code, std::generic_category());
}

void ReportSystem(std::error_condition* condition, uint32_t error) {
  if (condition) *condition = ConditionFromError(error);
}

}  // namespace lu::detail
