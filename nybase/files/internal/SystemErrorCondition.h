// The error conditions the disk operations report, from the platform's Windows error numbers.
#pragma once

#include <cstdint>
#include <system_error>

namespace lu::detail {

// Stores `code` of the generic category in `condition` unless it is null.
void ReportGeneric(std::error_condition* condition, int code);
// Stores what the system category's default_error_condition gives for the Windows error `error`
// (its generic equivalent where one exists, so 5 reads as permission denied) unless null.
void ReportSystem(std::error_condition* condition, uint32_t error);
// The condition ReportSystem stores.
std::error_condition ConditionFromError(uint32_t error);

}  // namespace lu::detail
