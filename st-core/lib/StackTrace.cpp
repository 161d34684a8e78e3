#include "st-core/lib/StackTrace.h"

#include "st-core/lib/Format.h"

#include <algorithm>

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
}
