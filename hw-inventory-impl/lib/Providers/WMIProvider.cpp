#include "hw-inventory-impl/lib/Providers/WMIProvider.h"

#include "hw-inventory-impl/lib/Platform/WindowsMachine.h"
#include "hw-inventory-impl/lib/Providers/ComApiWin.h"
#include "hw-inventory-impl/lib/Providers/WMIObjectWin.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"

#include <comdef.h>

#include <memory>
#include <utility>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
using ErrorHandling::ErrorCode;
using ErrorHandling::Exception;
using ZelStdCore::format;
using ZelStdCore::LastError;

constexpr wchar_t kSourceFile[] = L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp";
const wchar_t* const kConnect = L"HardwareInventory::Providers::WMIProvider::WMIConnection::WMIConnection";
const wchar_t* const kFailure = L"%1% (GetLastError() = %2%)";

// Static objects are initialised by the thread that loads the library.
const DWORD loaderThreadId = GetCurrentThreadId();

// The messages of the failures contain only the last OS error, which COM often leaves at 0.
void logResult(const std::wstring& call, HRESULT result)
{
    ZelStdCore::logTrace(L"%s failed: 0x%08X", call, static_cast<std::uint32_t>(result));
}

struct FreeBstr
{
    void operator()(BSTR text) const { SysFreeString(text); }
};
using Bstr = std::unique_ptr<OLECHAR, FreeBstr>;

Bstr makeBstr(const std::wstring& text)
{
    Bstr copy(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!copy)
        throw _com_error(E_OUTOFMEMORY);
    return copy;
}

std::optional<APTTYPE> currentApartment()
{
    APTTYPE type = APTTYPE_CURRENT;
    return SUCCEEDED(ComApi::getApartmentType(type)) ? std::optional(type) : std::nullopt;
}
}

ApartmentMembership::~ApartmentMembership()
{
    if (joined_ || leavesAlways_)
        ComApi::uninitialize();
}

HRESULT ApartmentMembership::join()
{
    const HRESULT result = ComApi::initializeEx(COINIT_MULTITHREADED);
    joined_ = SUCCEEDED(result);
    return result;
}

void ApartmentMembership::stay()
{
    leavesAlways_ = true;
    type_ = currentApartment();
}

void ApartmentMembership::leave()
{
    leavesAlways_ = false;
    if (std::exchange(joined_, false))
        ComApi::uninitialize();
}

bool ApartmentMembership::isGone() const
{
    return type_ && currentApartment() != type_;
}

WMIConnection::WMIConnection()
{
    HRESULT result = apartment_.join();
    if (FAILED(result) && result != RPC_E_CHANGED_MODE)
    {
        const LastError error = LastError::capture();
        logResult(L"CoInitializeEx", result);
        throw Exception(ErrorCode::comInitialization, format(kFailure, error.text(), error.code), kSourceFile, kConnect, __LINE__);
    }

    result =
        ComApi::createInstance(CLSID_WbemLocator, CLSCTX_INPROC_SERVER, IID_IWbemLocator, reinterpret_cast<void**>(locator_.put()));
    if (FAILED(result))
    {
        const LastError error = LastError::capture();
        logResult(L"CoCreateInstance", result);
        throw Exception(ErrorCode::wmiLocator, format(kFailure, error.text(), error.code), kSourceFile, kConnect, __LINE__);
    }
}

WMIConnection::WMIConnection(const std::wstring& namespacePath) : WMIConnection()
{
    if (const auto error = bind(namespacePath))
        throw Exception(ErrorCode::wmiBind, format(kFailure, error->text(), error->code), kSourceFile, kConnect, __LINE__);
}

std::optional<LastError> WMIConnection::bind(const std::wstring& namespacePath)
{
    const Bstr path = makeBstr(namespacePath);
    HRESULT result = locator_->ConnectServer(path.get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, services_.put());
    if (FAILED(result))
    {
        const LastError error = LastError::capture();
        logResult(L"IWbemLocator::ConnectServer '" + namespacePath + L"'", result);
        return error;
    }

    result = ComApi::setProxyBlanket(services_.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, RPC_C_AUTHN_LEVEL_CALL,
                                     RPC_C_IMP_LEVEL_IMPERSONATE, EOAC_NONE);
    if (FAILED(result))
    {
        const LastError error = LastError::capture();
        logResult(L"CoSetProxyBlanket", result);
        services_.reset(); // the destructor would keep it on the loading thread
        throw Exception(ErrorCode::wmiSecurityBlanket, format(kFailure, error.text(), error.code), kSourceFile, kConnect, __LINE__);
    }

    // An established connection always leaves COM once; a failed one must not close the host's apartment.
    apartment_.stay();
    return std::nullopt;
}

WMIConnection::~WMIConnection()
{
    release();
}

void WMIConnection::release()
{
    // The loading thread can end while the process shuts COM down; a call into the proxy could then wait for ever.
    if (GetCurrentThreadId() == loaderThreadId)
        services_.detach();
    releaseInterfaces();
}

void WMIConnection::disconnect()
{
    releaseInterfaces();
    apartment_.leave();
}

void WMIConnection::releaseInterfaces()
{
    // CoUninitialize has closed the thread's RPC connections, freed what the proxies use, and may have unloaded their code. Only
    // memory of this process leaks.
    if (apartment_.isGone())
    {
        services_.detach();
        locator_.detach();
    }
    services_.reset();
    locator_.reset();
}

void WMIConnection::query(const std::wstring& wql, const ObjectCallback& callback)
{
    const Bstr language = makeBstr(L"WQL");
    const Bstr text = makeBstr(wql);
    ComPointer<IEnumWbemClassObject> objects;
    HRESULT result = services_->ExecQuery(language.get(), text.get(), WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY,
                                          nullptr, objects.put());
    if (FAILED(result))
    {
        const LastError error = LastError::capture();
        logResult(L"IWbemServices::ExecQuery '" + wql + L"'", result);
        throw Exception(ErrorCode::wmiQuery, format(L"'%1%': %2% (GetLastError() = %3%)", wql, error.text(), error.code),
                        kSourceFile, L"HardwareInventory::Providers::WMIProvider::WMIConnection::query", __LINE__);
    }

    for (;;)
    {
        ComPointer<IWbemClassObject> object;
        ULONG returned = 0;
        result = objects->Next(WBEM_INFINITE, 1, object.put(), &returned);
        if (FAILED(result))
        {
            const LastError error = LastError::capture();
            ZelStdCore::logWarning(L"failed to iterate %1%: %2% (GetLastError() = %3%)", wql, error.text(), error.code);
            return;
        }
        // No object means the end; Next() may still return a success code.
        if (returned == 0)
            return;
        callback(std::make_shared<WMIObject>(std::move(object)));
    }
}

}

namespace HardwareInventory::Platform
{
using Providers::WMIProvider::WMIConnection;

std::unique_ptr<ManagementSource> WindowsMachine::connectManagementSource(const std::wstring& namespacePath)
{
    return std::make_unique<WMIConnection>(namespacePath);
}

Result<std::unique_ptr<ManagementSource>, LastError> WindowsMachine::connectOptionalSource(const std::wstring& namespacePath)
{
    auto connection = std::make_unique<WMIConnection>();
    if (const auto error = connection->bind(namespacePath))
        return *error;
    return std::unique_ptr<ManagementSource>(std::move(connection));
}
}
