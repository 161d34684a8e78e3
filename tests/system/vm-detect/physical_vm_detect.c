#include "vm-detect/vm_detect.h"

/* Stands in for vm_detect.dll where a test needs a physical machine: the tests themselves may well run on a virtual one. */

int32_t VmProbe_GetHostVMType(void)
{
    return 0;
}

int32_t VmProbe_IsHostVirtual(int32_t type)
{
    (void)type;
    return 0;
}
