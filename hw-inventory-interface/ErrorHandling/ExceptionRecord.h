#pragma once

#include "hw-inventory-interface/include/hw_inventory_interface.h"

#include <exception>
#include <string>

namespace HardwareInventory::ErrorHandling
{
// The process-wide record of the last failure: all null before the first one, unchanged by a success, not synchronised.
const ExceptionRecord& lastException();

// Fills the record from the exception, logs its text to the host and returns its status. A null exception is a success and
// changes nothing. If memory runs out, the record is left empty.
ExportStatus recordFailure(const std::exception_ptr& exception) noexcept;

// The one-line text of a record, without the parts that it does not have.
std::string exceptionText(const ExceptionRecord& failure);
}
