#include "hw-inventory-interface/ErrorHandling/ExceptionRecord.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/StackTrace.h"
#include "st-core/lib/Utf8.h"

#include <cstring>
#include <string_view>

namespace HardwareInventory::ErrorHandling
{
namespace
{
ExceptionRecord record; // never destroyed: the host may read it until the process ends

void clear(const char*& field)
{
    delete[] field;
    field = nullptr;
}

void clearRecord()
{
    clear(record.stackTrace);
    clear(record.file);
    clear(record.function);
    record.line = 0;
    clear(record.message);
    clear(record.errorText);
}

void set(const char*& field, std::wstring_view text)
{
    const std::string utf8 = ZelStdCore::toUtf8(text);
    char* copy = new char[utf8.size() + 1];
    std::memcpy(copy, utf8.c_str(), utf8.size() + 1);
    field = copy;
}

void setCommonFields(const ZelStdCore::RuntimeException& exception)
{
    clearRecord();
    set(record.stackTrace, exception.trace());
    set(record.file, exception.file());
    set(record.function, exception.function());
    record.line = exception.line();
    set(record.message, exception.message());
}

// The stack of the catcher: std::exception carries no stack of the throw site.
ST_CORE_OWN_FRAME
std::wstring traceHere()
{
    try
    {
        return ZelStdCore::renderFrames(ZelStdCore::currentStack());
    }
    catch (...)
    {
        return {};
    }
}

ExportStatus statusOf(ErrorCode code)
{
    if (code <= ErrorCode::wmiSecurityBlanket)
        return EXPORT_STATUS_WMI_CONNECTION;
    if (code <= ErrorCode::wmiQuery)
        return EXPORT_STATUS_WMI_QUERY;
    if (code <= ErrorCode::openFile)
        return EXPORT_STATUS_FILE;
    if (code <= ErrorCode::noSmbiosParser)
        return EXPORT_STATUS_SMBIOS;
    if (code <= ErrorCode::udevDevice)
        return EXPORT_STATUS_UDEV;
    return EXPORT_STATUS_OTHER;
}

// Sets the status before the texts, which may run out of memory.
void fillRecord(const std::exception_ptr& exception, ExportStatus& status)
{
    try
    {
        std::rethrow_exception(exception);
    }
    catch (const Exception& caught)
    {
        status = statusOf(caught.code());
        setCommonFields(caught);
        set(record.errorText, errorText(caught.code()));
    }
    catch (const ZelStdCore::RuntimeException& caught)
    {
        setCommonFields(caught);
    }
    catch (const std::exception& caught)
    {
        clearRecord();
        set(record.message, ZelStdCore::widen(caught.what()));
        set(record.stackTrace, traceHere());
    }
    catch (...)
    {
        clearRecord();
        set(record.message, L"unknown exception");
    }
}

void logRecord() noexcept
{
    try
    {
        ZelStdCore::logError(L"%1%", exceptionText(record));
    }
    catch (...)
    {
        // The host still has the status and the record.
    }
}

bool present(const char* text)
{
    return text && *text;
}
}

const ExceptionRecord& lastException()
{
    return record;
}

ExportStatus recordFailure(const std::exception_ptr& exception) noexcept
{
    if (!exception)
        return EXPORT_STATUS_SUCCESS;
    ExportStatus status = EXPORT_STATUS_OTHER;
    try
    {
        fillRecord(exception, status);
    }
    catch (...)
    {
        clearRecord();
    }
    logRecord();
    return status;
}

std::string exceptionText(const ExceptionRecord& failure)
{
    std::string text;
    if (present(failure.file) && present(failure.function) && failure.line != 0)
        text.append(failure.file).append(":").append(failure.function).append(":" + std::to_string(failure.line) + ":");
    text.append(present(failure.message) ? failure.message : "(no meta)");
    if (present(failure.errorText))
        text.append(":").append(failure.errorText);
    if (present(failure.stackTrace))
        text.append(":").append(failure.stackTrace);
    return text;
}
}
