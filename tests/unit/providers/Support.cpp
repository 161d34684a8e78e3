#include "tests/unit/providers/Support.h"

#include "st-core/lib/Time.h"

#include <algorithm>
#include <memory>
#include <regex>

namespace fakes
{
ProvidersTest::ProvidersTest()
{
    machine() = {};
    management() = {};
}

ProvidersTest::~ProvidersTest()
{
    machine() = {};
    management() = {};
}

Lines ProvidersTest::takeLog()
{
    static const std::regex address("property of (0x)?[0-9a-fA-F]+");
    Lines lines;
    for (const auto& [level, message] : log_.lines())
        lines.push_back((level == 1 ? "" : std::to_string(level) + " ") +
                        std::regex_replace(message, address, "property of OBJECT"));
    log_.clear();
    return lines;
}

void ProvidersTest::failCall(const std::string& operation, int nth)
{
    machine().fails = [operation, left = std::make_shared<int>(nth)](const char* name)
    { return name == operation && --*left == 0; };
}

Lines unreadable(std::initializer_list<const char*> properties)
{
    Lines lines;
    for (const std::string property : properties)
        lines.push_back("failed to get '" + property + "' property of OBJECT");
    return lines;
}

namespace
{
    std::wstring text(std::wstring value)
    {
        return value;
    }

    template <class Number>
        requires std::is_integral_v<Number>
    std::wstring text(Number value)
    {
        return std::to_wstring(value);
    }

    std::wstring text(DeviceStatus status)
    {
        return std::to_wstring(static_cast<std::uint32_t>(status));
    }

    template <class... Fields>
    Texts with(Texts texts, const Fields&... fields)
    {
        (texts.push_back(text(fields)), ...);
        return texts;
    }

    Texts deviceFieldsOf(const DeviceInfo& info)
    {
        return with({}, info.name, info.manufacturer, info.model, info.status, info.deviceID, info.pciAddress);
    }

    std::wstring dateOf(std::int64_t time)
    {
        return time == 0 ? L"" : ZelStdCore::timeToString(time, L"%Y-%m-%d %H:%M:%S");
    }
}

Texts fieldsOf(const CpuInfo& info)
{
    return with(deviceFieldsOf(info), info.maxClockSpeed, info.cores, info.socketDesignation, info.processorID);
}

Texts fieldsOf(const GpuInfo& info)
{
    return with(deviceFieldsOf(info), info.serialNumber);
}

Texts fieldsOf(const MotherBoardInfo& info)
{
    return with(deviceFieldsOf(info), info.serialNumber);
}

Texts fieldsOf(const DiskInfo& info)
{
    return with(deviceFieldsOf(info), info.interfaceType, info.mediaType, info.size, info.serialNumber);
}

Texts fieldsOf(const PartitionInfo& info)
{
    return with({}, info.name, info.size, info.availableSpace, info.status);
}

Texts fieldsOf(const NetworkAdapterInfo& info)
{
    Texts texts = with(deviceFieldsOf(info), info.type, info.macAddress);
    texts.insert(texts.end(), info.ipAddresses.begin(), info.ipAddresses.end());
    return texts;
}

Texts fieldsOf(const SystemInfo& info)
{
    const OsInfo& os = info.osInfo;
    return with({}, info.machineName, os.releaseId, os.name, os.version, os.buildType, os.family, os.manufacturer,
                info.productID, dateOf(info.installationDate), info.bootDevice, dateOf(info.bootTime), info.manufacturer,
                info.model, info.type, info.biosVersion, info.systemLocale, info.timezone, info.workgroup, info.serialNumber,
                info.windowsDirectory, info.systemDirectory, info.owner, info.organization, info.domain, info.logonServer);
}
}
