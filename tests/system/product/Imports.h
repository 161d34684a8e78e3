#pragma once

#include <windows.h>

// Redirects a module's calls of an imported function, until the process ends. Throws if the module does not import it.
void replaceImport(HMODULE module, const char* function, void* replacement);

// Lets the module's symbol handler fail at once. Wine's takes a tenth of a second for each trace.
void takeDbgHelpFrom(HMODULE module);
