#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <cstdlib>

// The program's machine: a case of tests/machines/whole.json, by the variable CASE.
namespace
{
const bool set = (setMachine(cases::find("whole", std::getenv("CASE")).recording), true);
}
