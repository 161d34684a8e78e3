#include "machine/VmFacts.h"

#include "machine/Answers.h"
#include "machine/Questions.h"
#include "st-core/lib/Utf8.h"
#include "vm-detect/HostQueries.h"

namespace HardwareInventory
{
void recordVmFacts(Recording& recording, Platform::Machine& machine)
{
    VmDetect::hypervisorFacts(
        [&recording](std::uint32_t leaf)
        {
            const VmDetect::CpuidRegisters registers = VmDetect::Platform::cpuid(leaf);
            recording.add(Questions::cpuid(leaf), {registers.eax, registers.ebx, registers.ecx, registers.edx});
            return registers;
        });
    machine.firmwareTable(Questions::kSmbiosProvider, 0);
    std::vector<std::wstring> texts;
    for (const std::string& text : VmDetect::multiStringTexts(VmDetect::Platform::systemBiosVersion().value_or("")))
        texts.push_back(ZelStdCore::widen(text));
    recording.add(Questions::kBiosVersions, Answers::write(texts));
}
}
