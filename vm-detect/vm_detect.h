/* vm_detect: reports whether this host is a virtual machine, and of which hypervisor.
 *
 * hw_inventory_interface.dll is linked against these two functions; a host may put a library of its own with the same two names
 * in place of vm_detect.dll. Both may be called from any thread and at any state of memory. This library detects the type once and
 * keeps it until the process ends; if a source of the system cannot be read, the next call detects it again.
 */
#ifndef VM_DETECT_H
#define VM_DETECT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C"
{
#endif

/* The host's hypervisor:
 *    0 none (a physical machine)
 *    1 VMware Workstation        2 VMware GSX               3 VMware ESX               4 VMware Virtual Server
 *    5 VMware                    6 Microsoft Virtual Server 7 Microsoft Virtual PC     8 Microsoft Hyper-V
 *    9 Parallels Workstation    10 unknown hypervisor      11 VMware Express          12 Microsoft Virtual PC or Server
 *   13 Xen                      14 VMware VI               15 VirtualBox              16 Parallels Virtuozzo
 *   17 KVM                      18 RHEV                    19 Oracle Virtual Machine  20 Parallels Cloud Server
 *   21 Amazon Cloud             22 Microsoft Azure         23 HCI                     24 KVM Server
 *   25 Scale HC3
 * vm_detect.dll itself returns 0, 5 to 10, 13 and 15 to 25. The others are for a library in its place.
 */
int32_t VmProbe_GetHostVMType(void);

/* Non-zero when the given type is that of a virtual machine: 1 to 25. */
int32_t VmProbe_IsHostVirtual(int32_t type);

#ifdef __cplusplus
}
#endif

#endif
