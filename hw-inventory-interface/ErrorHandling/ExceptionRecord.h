#pragma once

#include "hw-inventory-interface/include/hw_inventory_interface.h"

#include <exception>
#include <string>

namespace HardwareInventory::ErrorHandling
{
// The process-wide record of the last failure: all null before the first one, kept by a success, unsynchronised.
const ExceptionRecord& lastException();

// Refills the record from the exception, sends its text to the host's log and tells the status that stands for it. An absent
// exception is no failure and changes nothing. Where memory runs out on the way, the record stays empty.
ExportStatus recordFailure(const std::exception_ptr& exception) noexcept;

// The one-line text of a record, without the parts that it does not have.
std::string exceptionText(const ExceptionRecord& failure);
}
