#include "cli/report/Rendering.h"

#include "cli/report/HtmlReport.h"
#include "cli/report/Table.h"
#include "cli/report/Terminal.h"

namespace HardwareInventory
{
std::string rendered(std::span<const Envelope> envelopes, const std::string& format, bool onStandardOutput)
{
    if (format == "html")
        return htmlReport(envelopes);
    return table(envelopes, {.colours = onStandardOutput && coloursWanted(), .width = onStandardOutput ? terminalWidth() : 0});
}
}
