// Any bytes as a recorded machine: refused with a reason, or eight calls with documented statuses and whole documents.
#include "machine/Recording.h"

#include "machine/Kinds.h"
#include "machine/MachineInUse.h"
#include "machine/RecordedMachine.h"
#include "tests/fuzz/Target.h"

#include <thread>

using namespace HardwareInventory;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Recording recording; // for the life of the process, as the vendors' functions call it
    static Platform::RecordedMachine machine(recording);
    Platform::useMachine(machine);
    try
    {
        recording = Recording::parse({reinterpret_cast<const char*>(data), size});
    }
    catch (const std::runtime_error&)
    {
        return 0;
    }
    require(Recording::parse(recording.text()).document() == recording.document(), "what is written is read again");
    std::thread( // connections end with their thread
        []
        {
            for (const Kind& kind : kKinds)
            {
                char* buffer = nullptr;
                std::size_t length = 0;
                const ExportStatus status = kind.find(&buffer, &length);
                require(status == 0 || status == 1 || status == 2 || status == 8, "the status is documented");
                require((status == 0) == Json::accept(buffer ? buffer : ""), "a success has a document");
                release_buffer(buffer);
            }
        })
        .join();
    return 0;
}
