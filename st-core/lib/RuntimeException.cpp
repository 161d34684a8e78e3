#include "st-core/lib/RuntimeException.h"

#include "st-core/lib/OSError.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/WinTracer.h"

#include <algorithm>
#include <utility>

namespace ZelStdCore
{
namespace
{
auto firstStartupFrame(const std::vector<StackFrame>& frames)
{
    return std::ranges::find(frames, L"invoke_main", &StackFrame::completeName);
}
}

std::wstring renderFrames(const std::vector<StackFrame>& frames)
{
    std::wstring text;
    for (auto frame = frames.begin(), end = firstStartupFrame(frames); frame != end; ++frame)
        text += format(L"[%1%] %2%:%3%:%4%\n", frame->symbolDisplacement, frame->fileName, frame->completeName, frame->lineNumber);
    return text;
}

void dropStartupFrames(std::vector<StackFrame>& frames)
{
    frames.erase(firstStartupFrame(frames), frames.end());
}

RuntimeException::RuntimeException(std::wstring message, std::wstring file, std::wstring function, std::int32_t line, Trace trace,
                                   std::uint32_t skipFrames)
    : message_(std::move(message)), file_(std::move(file)), function_(std::move(function)), line_(line)
{
    if (trace == Trace::none)
        return;

    const LastError error = LastError::capture();
    try
    {
        // Called here and nowhere deeper: the frames to skip are counted from this function.
        auto frames = Tracer::traceCurrentThread();
        frames.erase(frames.begin(), frames.begin() + std::min<std::ptrdiff_t>(skipFrames, std::ssize(frames)));
        dropStartupFrames(frames);
        trace_ = renderFrames(frames);
        frames_ = std::move(frames);
    }
    catch (...)
    {
        // A trace is an extra; whatever keeps it from being taken must not replace the failure being told.
    }
    Platform::setLastErrorCode(error.code);
}
}
