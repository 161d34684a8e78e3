#include "bench/wine/BareClient.h"

#include "vm_detect.h"

#include <lm.h>
#include <setupapi.h>
#include <winioctl.h>

#include <initializer_list>
#include <map>
#include <stdexcept>
#include <vector>

namespace
{
void require(bool held, const char* what)
{
    if (!held)
        throw std::runtime_error(what);
}

// A property's value, which lives as long as this.
class Value
{
public:
    Value(IWbemClassObject* object, const wchar_t* property)
    {
        VariantInit(&value_);
        object->Get(property, 0, &value_, nullptr, nullptr);
    }
    Value(const Value&) = delete;
    ~Value() { VariantClear(&value_); }

    std::wstring text() const { return value_.vt == VT_BSTR ? std::wstring(value_.bstrVal, SysStringLen(value_.bstrVal)) : L""; }
    bool isNot(VARIANT_BOOL expected) const { return value_.vt == VT_BOOL && value_.boolVal != expected; }

private:
    VARIANT value_;
};

void readAll(IWbemClassObject* object, std::initializer_list<const wchar_t*> properties)
{
    for (const wchar_t* const property : properties)
        const Value value(object, property);
}

IWbemServices* connect(const wchar_t* path)
{
    require(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "CoInitializeEx");
    IWbemLocator* locator = nullptr;
    require(SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                       reinterpret_cast<void**>(&locator))),
            "CoCreateInstance");
    IWbemServices* services = nullptr;
    const BSTR copy = SysAllocString(path);
    const HRESULT result = locator->ConnectServer(copy, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &services);
    SysFreeString(copy);
    locator->Release();
    if (FAILED(result))
        return nullptr;
    require(SUCCEEDED(CoSetProxyBlanket(services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                                        RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE)),
            "CoSetProxyBlanket");
    return services;
}

// Returns the number of objects.
template <class OnObject>
std::size_t query(IWbemServices* services, const std::wstring& wql, OnObject onObject)
{
    const BSTR language = SysAllocString(L"WQL");
    const BSTR text = SysAllocString(wql.c_str());
    IEnumWbemClassObject* objects = nullptr;
    const HRESULT result =
        services->ExecQuery(language, text, WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &objects);
    SysFreeString(text);
    SysFreeString(language);
    require(SUCCEEDED(result), "ExecQuery");

    std::size_t count = 0;
    IWbemClassObject* object = nullptr;
    ULONG returned = 0;
    while (SUCCEEDED(objects->Next(WBEM_INFINITE, 1, &object, &returned)) && returned != 0)
    {
        onObject(object);
        object->Release();
        ++count;
    }
    objects->Release();
    return count;
}

std::size_t query(IWbemServices* services, const std::wstring& wql, std::initializer_list<const wchar_t*> properties)
{
    return query(services, wql, [&](IWbemClassObject* object) { readAll(object, properties); });
}

// The names of a PCI device come from the PCI ID list.
bool isPciDevice(const std::wstring& pnpDeviceId)
{
    return pnpDeviceId.starts_with(L"PCI\\");
}

void findOnBus(const std::wstring& instanceId)
{
    const HDEVINFO set = SetupDiGetClassDevsW(nullptr, instanceId.c_str(), nullptr, DIGCF_ALLCLASSES | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE)
        return;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    if (SetupDiEnumDeviceInfo(set, 0, &device))
    {
        DWORD number = 0;
        for (const DWORD property : {SPDRP_BUSNUMBER, SPDRP_ADDRESS})
        {
            if (!SetupDiGetDeviceRegistryPropertyW(set, &device, property, nullptr, reinterpret_cast<BYTE*>(&number), sizeof number,
                                                   nullptr))
                break;
        }
    }
    SetupDiDestroyDeviceInfoList(set);
}

void askForTrim(const std::wstring& drivePath)
{
    const HANDLE drive = CreateFileW(drivePath.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    if (drive == INVALID_HANDLE_VALUE)
        return;
    STORAGE_PROPERTY_QUERY question{StorageDeviceTrimProperty, PropertyStandardQuery, {}};
    DEVICE_TRIM_DESCRIPTOR trim{};
    DWORD returned = 0;
    DeviceIoControl(drive, IOCTL_STORAGE_QUERY_PROPERTY, &question, sizeof question, &trim, sizeof trim, &returned, nullptr);
    CloseHandle(drive);
}

// False if the value is empty or missing.
bool readVersion(const wchar_t* valueName)
{
    HKEY key = nullptr;
    if (RegOpenKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", &key) != ERROR_SUCCESS)
        return false;
    wchar_t text[64] = {};
    DWORD size = sizeof text;
    const LSTATUS status = RegQueryValueExW(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS && text[0];
}

void askForDomainController()
{
    BYTE* name = nullptr;
    if (NetGetDCName(nullptr, nullptr, &name) == NERR_Success)
        NetApiBufferFree(name);
}

void askForTotalMemory()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    require(GlobalMemoryStatusEx(&status), "GlobalMemoryStatusEx");
}

std::wstring quoted(const std::wstring& objectPath)
{
    const std::size_t first = objectPath.find(L'"');
    const std::size_t last = objectPath.rfind(L'"');
    return first < last ? objectPath.substr(first + 1, last - first - 1) : std::wstring();
}
}

BareClient::BareClient()
    : cimv2_(connect(L"ROOT\\CIMV2")), standardCimv2_(connect(L"ROOT\\StandardCIMV2")),
      virtualHost_(VmProbe_IsHostVirtual(VmProbe_GetHostVMType()) != 0)
{
    require(cimv2_, "ConnectServer");
}

BareClient::~BareClient()
{
    if (standardCimv2_)
        standardCimv2_->Release();
    cimv2_->Release();
    CoUninitialize();
    CoUninitialize();
}

std::size_t BareClient::cpus()
{
    return query(cimv2_, L"SELECT * FROM Win32_Processor",
                 {L"Name", L"Manufacturer", L"Status", L"MaxClockSpeed", L"NumberOfCores", L"SocketDesignation", L"ProcessorId"});
}

std::size_t BareClient::gpus()
{
    return query(cimv2_, L"SELECT * FROM Win32_VideoController",
                 [](IWbemClassObject* controller)
                 {
                     const std::wstring pnpDeviceId = Value(controller, L"PNPDeviceID").text();
                     findOnBus(pnpDeviceId);
                     readAll(controller, {L"Name"});
                     if (!isPciDevice(pnpDeviceId))
                         readAll(controller, {L"Manufacturer", L"VideoProcessor"});
                     readAll(controller, {L"Status"});
                 });
}

// The SMBIOS table is decoded once a process: only the sizes are read again.
std::size_t BareClient::ram()
{
    if (virtualHost_)
        askForTotalMemory();
    askForTotalMemory();
    return virtualHost_ ? 1 : 0;
}

void BareClient::usedSpace(const std::wstring& volume)
{
    query(cimv2_, L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = '" + volume + L"'", {L"Size", L"FreeSpace"});
}

std::size_t BareClient::disks()
{
    std::multimap<std::wstring, std::wstring> volumes;
    query(cimv2_, L"SELECT * FROM Win32_LogicalDiskToPartition",
          [&](IWbemClassObject* link)
          { volumes.emplace(quoted(Value(link, L"Antecedent").text()), quoted(Value(link, L"Dependent").text())); });

    const auto readPartition = [&](IWbemClassObject* partition)
    {
        const auto [first, last] = volumes.equal_range(Value(partition, L"DeviceID").text());
        readAll(partition, {L"Name", L"Size", L"Status"});
        for (auto volume = first; volume != last; ++volume)
            usedSpace(volume->second);
    };
    return query(cimv2_, L"SELECT * FROM Win32_DiskDrive",
                 [&](IWbemClassObject* drive)
                 {
                     const std::wstring path = Value(drive, L"DeviceID").text();
                     readAll(drive, {L"Model", L"InterfaceType"});
                     askForTrim(path);
                     readAll(drive, {L"Name", L"Size", L"Status", L"SerialNumber"});
                     query(cimv2_,
                           L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='" + path + L"'} WHERE ResultClass=Win32_DiskPartition",
                           readPartition);
                 });
}

std::size_t BareClient::networkAdapters()
{
    std::size_t physical = 0;
    const auto readAdapter = [&](IWbemClassObject* adapter)
    {
        readAll(adapter, {L"Name", L"Status"});
        const bool isVirtual = standardCimv2_ ? Value(adapter, L"Virtual").isNot(VARIANT_FALSE)
                                              : Value(adapter, L"PhysicalAdapter").isNot(VARIANT_TRUE);
        if (isVirtual)
            return;
        ++physical;
        const std::wstring pnpDeviceId = Value(adapter, L"PNPDeviceID").text();
        const std::wstring settingId = Value(adapter, standardCimv2_ ? L"DeviceID" : L"GUID").text();
        query(cimv2_, L"SELECT * FROM Win32_NetworkAdapterConfiguration WHERE SettingID='" + settingId + L"'", {L"IPAddress"});
        if (standardCimv2_)
            return readAll(adapter, {L"NdisMedium", L"PermanentAddress"});
        if (!isPciDevice(pnpDeviceId))
            readAll(adapter, {L"Manufacturer", L"ProductName"});
        readAll(adapter, {L"AdapterType", L"MACAddress"});
    };
    if (standardCimv2_)
        query(standardCimv2_, L"SELECT * FROM MSFT_NetAdapter", readAdapter);
    else
        query(cimv2_, L"SELECT * FROM Win32_NetworkAdapter", readAdapter);
    return physical;
}

std::size_t BareClient::baseBoards()
{
    return query(cimv2_, L"SELECT * FROM Win32_BaseBoard",
                 [](IWbemClassObject* board)
                 {
                     readAll(board, {L"Name", L"Manufacturer"});
                     if (Value(board, L"Model").text().empty())
                         readAll(board, {L"Product"});
                     readAll(board, {L"SerialNumber", L"Status"});
                 });
}

std::size_t BareClient::system()
{
    query(cimv2_, L"SELECT * FROM Win32_BIOS",
          [&](IWbemClassObject* bios)
          {
              readAll(bios, {L"Manufacturer", L"SMBIOSBIOSVersion", L"ReleaseDate"});
              if (!virtualHost_)
                  readAll(bios, {L"SerialNumber"});
          });
    query(cimv2_, L"SELECT * FROM Win32_ComputerSystem",
          {L"Name", L"PrimaryOwnerName", L"Manufacturer", L"Model", L"Domain", L"PCSystemTypeEx"});
    const std::size_t systems = query(cimv2_, L"SELECT * FROM Win32_OperatingSystem",
                                      {L"Name", L"Version", L"Manufacturer", L"BuildType", L"LastBootUpTime", L"InstallDate",
                                       L"WindowsDirectory", L"SystemDirectory", L"BootDevice", L"Organization"});
    if (!virtualHost_)
        query(cimv2_, L"SELECT * FROM Win32_ComputerSystemProduct", {L"Name"});
    query(cimv2_, L"SELECT * FROM Win32_Timezone", {L"Caption"});

    if (!readVersion(L"DisplayVersion"))
        readVersion(L"ReleaseId");
    askForDomainController();
    wchar_t name[9];
    for (const LCTYPE part : {LOCALE_SISO639LANGNAME, LOCALE_SISO3166CTRYNAME})
        GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, part, name, 9);
    return systems;
}

std::size_t BareClient::hotfixes()
{
    return query(cimv2_, L"SELECT * FROM Win32_QuickFixEngineering", {L"HotFixID", L"InstalledOn"});
}
