#include "tests/fakes/FakeManagementSource.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "tests/fakes/FakeMachine.h"

#include <algorithm>
#include <atomic>
#include <cwctype>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace fakes
{
using HardwareInventory::ErrorHandling::Exception;

bool IgnoringCase::operator()(const std::wstring& left, const std::wstring& right) const
{
    return std::ranges::lexicographical_compare(left, right, {}, std::towlower, std::towlower);
}

FakeManagement& management()
{
    static auto& instance = *new FakeManagement;
    return instance;
}

namespace
{
constexpr std::int32_t kTypeMismatch = static_cast<std::int32_t>(0x80020005);
constexpr std::int32_t kInvalidArgument = static_cast<std::int32_t>(0x80070057);
constexpr wchar_t kSourceFile[] = L"tests\\fakes\\FakeManagementSource.cpp";

std::atomic<int> connections = 0;

class FakeManagementObject : public ManagementObject
{
public:
    explicit FakeManagementObject(FakeObject properties) : properties_(std::move(properties)) {}

    const void* address() const override { return this; }

    PropertyValue get(const wchar_t* property) const override
    {
        return std::visit(
            [](const auto& value) -> PropertyValue
            {
                if constexpr (std::is_same_v<std::decay_t<decltype(value)>, Texts>)
                    return OtherType{};
                else
                    return value;
            },
            valueOf(property));
    }

    std::optional<bool> getBool(const wchar_t* property) const override
    {
        if (callFails("VariantClear"))
            throw ComError{kInvalidArgument};
        const FakeValue value = valueOf(property);
        if (std::holds_alternative<Unreadable>(value))
            return std::nullopt;
        if (const bool* boolean = std::get_if<bool>(&value))
            return *boolean;
        throw ComError{kTypeMismatch};
    }

    ZelStdCore::Result<Texts, ArrayFailure> getStringArray(const wchar_t* property) const override
    {
        const FakeValue value = valueOf(property);
        if (std::holds_alternative<Unreadable>(value))
            return ArrayFailure::unreadable;
        if (callFails("VariantClear"))
            return ArrayFailure::notAttached;
        if (std::holds_alternative<Null>(value))
            return Texts();
        if (const Texts* texts = std::get_if<Texts>(&value))
            return *texts;
        throw ComError{kInvalidArgument};
    }

private:
    FakeValue valueOf(const wchar_t* property) const
    {
        const auto found = properties_.find(property);
        return callFails("Get") || found == properties_.end() ? FakeValue(Unreadable{}) : found->second;
    }

    FakeObject properties_;
};

class FakeManagementSource : public ManagementSource
{
public:
    FakeManagementSource(std::wstring path, const FakeNamespace& space) : path_(std::move(path)), space_(space)
    {
        management().events.push_back(L"connected " + path_);
        ++connections;
    }

    ~FakeManagementSource() override
    {
        --connections;
        try
        {
            management().events.push_back(L"disconnected " + path_);
        }
        catch (const std::bad_alloc&)
        {
            // A destructor cannot throw: the event is lost.
        }
    }

    void query(const std::wstring& wql, const ObjectCallback& callback) override
    {
        if (std::this_thread::get_id() != thread_)
            throw std::logic_error("a connection was used outside its thread");
        management().queries.push_back(wql);
        if (callFails("ExecQuery"))
            throw Exception(ErrorCode::wmiQuery,
                            ZelStdCore::format(L"'%1%': %2% (GetLastError() = %3%)", wql, ZelStdCore::lastErrorText(),
                                               ZelStdCore::LastError::capture().code),
                            kSourceFile, L"fakes::FakeManagementSource::query", __LINE__);
        deliver(wql, callback);
    }

    void release() override {}
    void disconnect() override {}

private:
    FakeObjects objectsOf(const std::wstring& wql) const
    {
        const auto found = space_.answers.find(wql);
        return found == space_.answers.end() ? space_.otherwise(wql) : found->second;
    }

    // One call more than there are objects, as with an enumerator.
    void deliver(const std::wstring& wql, const ObjectCallback& callback) const
    {
        const FakeObjects objects = objectsOf(wql);
        for (std::size_t next = 0;; ++next)
        {
            if (callFails("Next"))
            {
                const auto error = ZelStdCore::LastError::capture();
                ZelStdCore::logWarning(L"failed to iterate %1%: %2% (GetLastError() = %3%)", wql, error.text(), error.code);
                return;
            }
            if (next == objects.size())
                return;
            callback(makeObject(objects[next]));
        }
    }

    std::wstring path_;
    const FakeNamespace& space_;
    std::thread::id thread_ = std::this_thread::get_id();
};

[[noreturn]] void failToConnect(ErrorCode code, const ZelStdCore::LastError& error)
{
    throw Exception(code, ZelStdCore::format(L"%1% (GetLastError() = %2%)", error.text(), error.code), kSourceFile,
                    L"fakes::FakeManagementSource::FakeManagementSource", __LINE__);
}

// The steps of a connection in their order. A failure to bind is returned, any other thrown.
std::optional<ZelStdCore::LastError> runConnectionSteps(const std::optional<ErrorCode>& failure)
{
    constexpr std::pair<const char*, ErrorCode> steps[] = {{"CoInitializeEx", ErrorCode::comInitialization},
                                                           {"CoCreateInstance", ErrorCode::wmiLocator},
                                                           {"ConnectServer", ErrorCode::wmiBind},
                                                           {"CoSetProxyBlanket", ErrorCode::wmiSecurityBlanket}};
    for (const auto& [operation, code] : steps)
    {
        if (callFails(operation) || failure == code)
        {
            const auto error = ZelStdCore::LastError::capture();
            if (code == ErrorCode::wmiBind)
                return error;
            failToConnect(code, error);
        }
    }
    return std::nullopt;
}
}

int liveConnections()
{
    return connections;
}

std::shared_ptr<const ManagementObject> makeObject(FakeObject properties)
{
    return std::make_shared<FakeManagementObject>(std::move(properties));
}

namespace
{
using Answers = std::map<std::wstring, FakeObjects>;

void setUpSystem(Answers& answers)
{
    answers[L"SELECT * FROM Win32_BIOS"] = {{{L"Manufacturer", L"ACME Inc."},
                                             {L"SMBIOSBIOSVersion", L"1.60"},
                                             {L"ReleaseDate", L"20210512000000.000000+000"},
                                             {L"SerialNumber", L"BIOS-1"}}};
    answers[L"SELECT * FROM Win32_ComputerSystem"] = {{{L"Name", L"HOST-1"},
                                                       {L"PrimaryOwnerName", L"Owner"},
                                                       {L"Manufacturer", L"ACME Inc."},
                                                       {L"Model", L"Roadrunner 9"},
                                                       {L"Domain", L"example.test"},
                                                       {L"PCSystemTypeEx", 2}}};
    answers[L"SELECT * FROM Win32_OperatingSystem"] = {
        {{L"Name", L"Microsoft Windows 11 Pro|C:\\Windows|\\Device\\Harddisk0\\Partition3"},
         {L"Version", L"10.0.22631"},
         {L"Manufacturer", L"Microsoft Corporation"},
         {L"BuildType", L"Multiprocessor Free"},
         {L"LastBootUpTime", L"20231105120000.000000+060"},
         {L"InstallDate", L"20220102030405.000000+060"},
         {L"WindowsDirectory", L"C:\\Windows"},
         {L"SystemDirectory", L"C:\\Windows\\system32"},
         {L"BootDevice", L"\\Device\\HarddiskVolume1"},
         {L"Organization", L"ACME"}}};
    answers[L"SELECT * FROM Win32_ComputerSystemProduct"] = {{{L"Name", L"RR9-0001"}}};
    answers[L"SELECT * FROM Win32_Timezone"] = {{{L"Caption", L"(UTC+01:00) Berlin"}}};
    answers[L"SELECT * FROM Win32_QuickFixEngineering"] = {{{L"HotFixID", L"KB5031455"}, {L"InstalledOn", L"11/5/2023"}}};
}

void setUpBoardDevices(Answers& answers)
{
    answers[L"SELECT * FROM Win32_Processor"] = {{{L"Name", L"ACME CPU 9000 @ 3.60GHz"},
                                                  {L"Manufacturer", L"GenuineACME"},
                                                  {L"Status", L"OK"},
                                                  {L"MaxClockSpeed", 3600},
                                                  {L"NumberOfCores", 8},
                                                  {L"SocketDesignation", L"LGA1700"},
                                                  {L"ProcessorId", L"BFEBFBFF000906EA"}}};
    answers[L"SELECT * FROM Win32_BaseBoard"] = {{{L"Name", L"Base Board"},
                                                  {L"Manufacturer", L"ACME Inc."},
                                                  {L"Model", Null{}},
                                                  {L"Product", L"X570"},
                                                  {L"SerialNumber", L"BOARD-1"},
                                                  {L"Status", L"OK"}}};
    const std::wstring video = L"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\4&2ECE9E9A&0&0008";
    answers[L"SELECT * FROM Win32_VideoController"] = {{{L"PNPDeviceID", video},
                                                        {L"Name", L"NVIDIA GeForce GTX 1050 Ti"},
                                                        {L"VideoProcessor", L"GeForce GTX 1050 Ti"},
                                                        {L"Status", L"OK"}}};
    machine().locations[video] = {1, 0};
}

void setUpDisk(Answers& answers)
{
    const std::wstring drive = L"\\\\.\\PHYSICALDRIVE0";
    const std::wstring partition = L"Disk #0, Partition #0";
    answers[L"SELECT * FROM Win32_LogicalDiskToPartition"] = {
        {{L"Antecedent", L"\\\\HOST-1\\root\\cimv2:Win32_DiskPartition.DeviceID=\"" + partition + L"\""},
         {L"Dependent", L"\\\\HOST-1\\root\\cimv2:Win32_LogicalDisk.DeviceID=\"C:\""}}};
    answers[L"SELECT * FROM Win32_DiskDrive"] = {{{L"DeviceID", drive},
                                                  {L"Model", L"Samsung SSD 970 EVO 500GB"},
                                                  {L"InterfaceType", L"SCSI"},
                                                  {L"Name", drive},
                                                  {L"Size", L"500105249280"},
                                                  {L"Status", L"OK"},
                                                  {L"SerialNumber", L"DISK-1"}}};
    answers[L"ASSOCIATORS OF {Win32_DiskDrive.DeviceID='" + drive + L"'} WHERE ResultClass=Win32_DiskPartition"] = {
        {{L"DeviceID", partition}, {L"Name", partition}, {L"Size", L"500000000000"}, {L"Status", L"OK"}}};
    answers[L"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = 'C:'"] = {
        {{L"DeviceID", L"C:"}, {L"Size", L"499999995904"}, {L"FreeSpace", L"199999995904"}}};
    machine().trim[drive] = true;
}

// The same adapter in both classes.
void setUpNetworkAdapter(FakeManagement& service)
{
    const std::wstring pnpDeviceId = L"PCI\\VEN_8086&DEV_15B8&SUBSYS_86721043&REV_00\\3&11583659&0&FE";
    const std::wstring setting = L"{01234567-89AB-CDEF-0123-456789ABCDEF}";
    service.standardCimv2.answers[L"SELECT * FROM MSFT_NetAdapter"] = {{{L"Name", L"Ethernet"},
                                                                        {L"Status", L"OK"},
                                                                        {L"Virtual", false},
                                                                        {L"PnPDeviceID", pnpDeviceId},
                                                                        {L"DeviceID", setting},
                                                                        {L"NdisMedium", 0},
                                                                        {L"PermanentAddress", L"00155D012A0B"}}};
    service.cimv2.answers[L"SELECT * FROM Win32_NetworkAdapter"] = {{{L"Name", L"Intel(R) Ethernet Connection"},
                                                                     {L"Status", L"OK"},
                                                                     {L"PhysicalAdapter", true},
                                                                     {L"PNPDeviceID", pnpDeviceId},
                                                                     {L"DeviceID", L"1"},
                                                                     {L"GUID", setting},
                                                                     {L"Manufacturer", L"Intel"},
                                                                     {L"ProductName", L"Intel(R) Ethernet Connection"},
                                                                     {L"AdapterType", L"Ethernet 802.3"},
                                                                     {L"MACAddress", L"00:15:5D:01:2A:0B"}}};
    service.cimv2.answers[L"SELECT * FROM Win32_NetworkAdapterConfiguration WHERE SettingID='" + setting + L"'"] = {
        {{L"SettingID", setting}, {L"IPAddress", Texts{L"192.168.1.10", L"fe80::1"}}}};
}
}

void setUpOneOfEverything()
{
    machine().registry[L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\DisplayVersion"] = L"23H2";
    machine().domain = {0, L"\\\\DC-1", 0};
    setUpSystem(management().cimv2.answers);
    setUpBoardDevices(management().cimv2.answers);
    setUpDisk(management().cimv2.answers);
    setUpNetworkAdapter(management());
}
}

namespace fakes
{
ZelStdCore::Result<std::unique_ptr<ManagementSource>, ZelStdCore::LastError> connectOptionalSource(
    const std::wstring& namespacePath)
{
    const bool standard = namespacePath == L"ROOT\\StandardCIMV2";
    if (!standard && namespacePath != L"ROOT\\CIMV2")
        throw std::logic_error("no namespace of this name is expected");
    const FakeNamespace& space = standard ? management().standardCimv2 : management().cimv2;
    if (const auto error = runConnectionSteps(space.failure))
        return *error;
    return std::unique_ptr<ManagementSource>(std::make_unique<FakeManagementSource>(namespacePath, space));
}

std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath)
{
    auto source = connectOptionalSource(namespacePath);
    if (!source)
        failToConnect(ErrorCode::wmiBind, source.error());
    return std::move(source).value();
}
}
