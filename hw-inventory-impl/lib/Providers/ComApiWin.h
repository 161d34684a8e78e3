#pragma once

#include <windows.h>

#include <objbase.h>

// The calls into COM that are no methods of an interface, with the arguments and results of their namesakes. The product links
// the real ones, the tests of the connection link their own.
namespace HardwareInventory::Providers::ComApi
{
HRESULT initializeEx(DWORD apartment);
void uninitialize();

// Fails on a thread that is in no apartment. Without the qualifier.
HRESULT getApartmentType(APTTYPE& type);
HRESULT createInstance(REFCLSID classId, DWORD context, REFIID interfaceId, void** object);

// Without principal name and identity.
HRESULT setProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, DWORD authenticationLevel,
                        DWORD impersonationLevel, DWORD capabilities);
}
