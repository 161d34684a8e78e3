#pragma once

#include <windows.h>

// The least that a trace of a failure in the module asks of the system's symbol engine: a session of its own, and the names and
// lines of the calling thread's frames.
void traceWithBareEngine(HMODULE module);
