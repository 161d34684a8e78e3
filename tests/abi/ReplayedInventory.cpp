#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <cstdlib>

// The library's machine: a case of tests/machines, by the variable CASE: "FILE/NAME".
namespace
{
const std::string place = std::getenv("CASE");
const std::size_t slash = place.find('/');
const bool set = (setMachine(cases::find(place.substr(0, slash), place.substr(slash + 1)).recording), true);
}
