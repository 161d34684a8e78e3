#include "cli/collect/Collector.h"

namespace HardwareInventory
{
namespace
{
using std::chrono::milliseconds, std::chrono::steady_clock, std::chrono::system_clock;

class Here : public Collector
{
public:
    Here(const hw_inventory::Library& library, hw_inventory::Log log) : client_(library, std::move(log)) {}

    Collected collect(const DocumentKind& kind) override
    {
        Collected collected;
        collected.began = system_clock::now();
        const auto start = steady_clock::now();
        collected.result = client_.collect(enumerator(kind), milliseconds::max());
        collected.took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
        return collected;
    }

private:
    hw_inventory::Client client_;
};
}

hw_inventory::Kind enumerator(const DocumentKind& kind)
{
    return static_cast<hw_inventory::Kind>(&kind - kDocumentKinds.data());
}

const char* statusName(hw_inventory::Status status)
{
    constexpr auto kLibrarys = std::to_array<const char*>({"success", "WMI connection", "WMI query", "file", "firmware table",
                                                           "device enumeration", "buffer too small", "no size", "other"});
    constexpr auto kOwn = std::to_array<const char*>({"timed out", "busy", "worker ended", "no document"});
    static_assert(kLibrarys.size() == EXPORT_STATUS_OTHER + 1);
    const auto number = static_cast<std::uint32_t>(status);
    constexpr auto kFirstOwn = static_cast<std::uint32_t>(hw_inventory::Status::timed_out);
    if (number >= kFirstOwn && number - kFirstOwn < kOwn.size())
        return kOwn[number - kFirstOwn];
    return number < kLibrarys.size() ? kLibrarys[number] : "unknown";
}

std::unique_ptr<Collector> collectHere(const std::filesystem::path& library, hw_inventory::Log log)
{
    try
    {
        return std::make_unique<Here>(hw_inventory::Library::load(library), std::move(log));
    }
    catch (const std::runtime_error& error)
    {
        throw UnavailableError(error.what());
    }
}
}
