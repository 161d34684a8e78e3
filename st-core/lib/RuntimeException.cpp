#include "st-core/lib/RuntimeException.h"

#include "st-core/lib/LastError.h"

#include <algorithm>
#include <utility>

namespace ZelStdCore
{
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
        auto frames = currentStack();
        frames.erase(frames.begin(), frames.begin() + std::min<std::ptrdiff_t>(skipFrames, std::ssize(frames)));
        dropStartupFrames(frames);
        trace_ = renderFrames(frames);
        frames_ = std::move(frames);
    }
    catch (...)
    {
        // A trace is an extra; a failure to take it must not replace the failure being reported.
    }
    Platform::setLastErrorCode(error.code);
}
}
