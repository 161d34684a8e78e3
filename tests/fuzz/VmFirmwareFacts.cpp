// Any bytes as a firmware table, whole and cut somewhere, and as a registry value: the facts hold texts of the bytes alone.
#include "tests/fuzz/Target.h"
#include "vm-detect/HostFacts.h"
#include "vm-detect/Rules.h"

#include <algorithm>
#include <numeric>

namespace
{
using namespace VmDetect;
using Texts = std::vector<std::string>;

Texts textsOf(const FirmwareFacts& facts)
{
    Texts texts{facts.biosVendor, facts.biosVersion,       facts.manufacturer, facts.product,
                facts.version,    facts.boardManufacturer, facts.boardProduct};
    for (const Texts& more : {facts.assetTags, facts.oemStrings})
        texts.insert(texts.end(), more.begin(), more.end());
    return texts;
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const HostFacts facts{{}, firmwareFacts({data, size}), multiStringTexts(bytes)};
    const Texts texts = textsOf(facts.firmware);
    const auto isPadding = [](unsigned char letter) { return letter <= ' '; };
    for (const Texts& each : {texts, facts.registryBiosVersions})
        for (const std::string& text : each)
            require(bytes.find(text) != bytes.npos && (text.empty() || (!isPadding(text.front()) && !isPadding(text.back()))),
                    "a fact is a text of the bytes, trimmed");
    hypervisorType(facts);

    const std::vector<std::uint8_t> exact(data, data + std::accumulate(data, data + size, std::size_t{0}) % (size + 1));
    const FirmwareFacts cut = firmwareFacts(exact);
    require(facts.firmware.virtualMachine || !cut.virtualMachine, "a cut table has no mark that the whole one lacks");
    for (const std::string& text : textsOf(cut))
        require(text.empty() || std::ranges::count(texts, text) != 0, "a cut table has no text that the whole one lacks");
    return 0;
}
