#pragma once

#include <windows.h>

// The least that a trace of a failure in the module needs of dbghelp: its own session, and the names and lines of the calling
// thread's frames.
void traceWithBareSession(HMODULE module);
