#pragma once

namespace HardwareInventory
{
// True if standard output is a terminal that shows colours and nobody has set NO_COLOR. Under Windows the console is made to
// understand escape sequences.
bool coloursWanted();

// The columns of the terminal that standard output is; 0 if it is none.
unsigned terminalWidth();
}
