#pragma once

#include <windows.h>

#include <objbase.h>

// The functions of COM, with the arguments and results of their namesakes. The tests of the connection link their own.
namespace HardwareInventory::Providers::ComApi
{
HRESULT initializeEx(DWORD apartment);
void uninitialize();

// Fails on a thread that is in no apartment. The qualifier is dropped.
HRESULT getApartmentType(APTTYPE& type);
HRESULT createInstance(REFCLSID classId, DWORD context, REFIID interfaceId, void** object);

// Passes no principal name and no identity.
HRESULT setProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, DWORD authenticationLevel,
                        DWORD impersonationLevel, DWORD capabilities);
}
