#include "hw-inventory-impl/lib/Providers/ComApiWin.h"

namespace HardwareInventory::Providers::ComApi
{
HRESULT initializeEx(DWORD apartment)
{
    return CoInitializeEx(nullptr, apartment);
}

void uninitialize()
{
    CoUninitialize();
}

HRESULT getApartmentType(APTTYPE& type)
{
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return CoGetApartmentType(&type, &qualifier);
}

HRESULT createInstance(REFCLSID classId, DWORD context, REFIID interfaceId, void** object)
{
    return CoCreateInstance(classId, nullptr, context, interfaceId, object);
}

HRESULT setProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, DWORD authenticationLevel,
                        DWORD impersonationLevel, DWORD capabilities)
{
    return CoSetProxyBlanket(proxy, authentication, authorization, nullptr, authenticationLevel, impersonationLevel, nullptr,
                             capabilities);
}
}
