/* hw_inventory_interface: the hardware inventory of this machine, one kind at a time, as JSON.
 *
 *     char* document;
 *     size_t size;
 *     if (hardware_inventory_find_cpus(&document, &size) == EXPORT_STATUS_SUCCESS)
 *     {
 *         use(document);
 *         release_buffer(document);
 *     }
 *
 * What a host must know
 * - Serialise the calls. The library takes no lock; the record of the last failure, the logging callback and what is kept
 *   between calls belong to the whole process. Reading a failure belongs to the failing call: nothing may come between.
 * - Prefer one long-lived thread for all collections, initialised for COM's multithreaded apartment or not at all. A thread's
 *   first collection connects it to WMI, and the connections live until the thread ends. A thread of a single-threaded
 *   apartment works too, but waits in its calls without serving its windows, and must not leave its apartment before it ends.
 * - A call takes as long as WMI takes: usually well under a second, but a management service that hangs makes the call hang.
 *   There is no time limit and no way to cancel.
 * - Do not use dbghelp in another thread during a call: a failure's stack trace is taken with it, and it serves one thread at a
 *   time.
 * - Do not throw from the logging callback, and do not leave it by longjmp.
 * - Once loaded the module stays until the process ends; freeing it has no effect.
 * - Reading some facts takes administrative rights (a disk's "mediaType"). Without them the keys are left out.
 *
 * All text is UTF-8, all strings end with NUL. The calling convention is C's default one on 64-bit Windows.
 */
#ifndef HW_INVENTORY_INTERFACE_H
#define HW_INVENTORY_INTERFACE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a call says of its outcome: the failing area. The cause is in the exception record. */
typedef uint32_t ExportStatus;

enum
{
    EXPORT_STATUS_SUCCESS = 0,
    EXPORT_STATUS_WMI_CONNECTION = 1,   /* WMI could not be reached: COM, locator, namespace or proxy */
    EXPORT_STATUS_WMI_QUERY = 2,        /* WMI refused a query */
    EXPORT_STATUS_FILE = 3,             /* a file could not be opened */
    EXPORT_STATUS_SMBIOS = 4,           /* the firmware's table is unsound or missing */
    EXPORT_STATUS_UDEV = 5,             /* Linux device enumeration: a number kept free, not returned on Windows */
    EXPORT_STATUS_BUFFER_TOO_SMALL = 6, /* the caller's buffer is absent or too small; no exception record */
    EXPORT_STATUS_NO_SIZE = 7,          /* the size argument is null; no exception record */
    EXPORT_STATUS_OTHER = 8             /* any other failure. Out of memory: the document's buffer is null and the exception
                                           record is that of an earlier failure, or the record is empty */
};

/* The last failure of a collecting function. The strings belong to the library and are valid until the next failure; one that
 * was never set is null, one without content may be null or empty. Where memory runs out for the record itself, it is empty and
 * the status alone tells the failure. A success leaves the record as it is. */
typedef struct ExceptionRecord
{
    const char* stackTrace; /* one line a frame: "[displacement] file:function:line" */
    const char* file;       /* the source file of the library that raised it */
    const char* function;
    int64_t line;           /* 0 when not known */
    const char* message;
    const char* errorText;  /* what failed, in fixed words; only failures that the library itself classifies have one */
} ExceptionRecord;

/* Called on the thread of the call that logs. The message is valid only during the call.
 * Levels: 0 information, 1 warning (a value or a source could not be read), 2 error (a call fails), 3 trace. */
typedef void (*HardwareInventoryLogger)(uint32_t level, const char* message);

/* The collecting functions. Each reads the machine afresh and answers with one document in compact JSON:
 *
 *   *buffer       receives the document, to be given back through release_buffer; the pointer to it must not be null
 *   *buffer_size  receives its size in bytes, the terminating NUL included; null gives EXPORT_STATUS_NO_SIZE
 *
 * After a failure both are as they were, except when memory for the buffer could not be had: then *buffer is null and
 * *buffer_size the size that was needed.
 *
 * Keys are sorted; a key whose value is not known is left out; a list without entries is an empty array; a record of which
 * nothing is known is null. Sizes are in bytes. "status" is "ok", "has issues" or "disabled by user". "deviceID" of a PCI device
 * is "VVVV:DDDD" (vendor and device, hexadecimal). */

/* {"cpus": [{name, manufacturer, model, status, maxClockSpeed (MHz), cores, socketDesignation, processorID}]}
 * Source: WMI, Win32_Processor. */
ExportStatus hardware_inventory_find_cpus(char** buffer, size_t* buffer_size);

/* {"gpus": [{name, manufacturer, model, status, deviceID, pciAddress ("domain:bus:device.function", hexadecimal), serialNumber,
 *            temperature (degrees Celsius, a float written as a double)}]}
 * Source: WMI, Win32_VideoController, without the remote desktop's adapter; names from the built-in PCI ID list; the address from
 * the device setup interface; temperature and serial number from the vendors' libraries (nvml.dll, atiadlxx.dll) where they are
 * installed. A virtual machine without an adapter gets the one that its hypervisor emulates. */
ExportStatus hardware_inventory_find_gpus(char** buffer, size_t* buffer_size);

/* {"rams": [{name, manufacturer, model, status, deviceID, serialNumber, capacity (bytes), deviceLocator}],
 *  "usableMemory": bytes of physical memory that the system uses, 0 when it does not tell}
 * Source: the firmware's SMBIOS table, read once per process; on a virtual machine one module of the whole memory. A firmware
 * table that cannot be read gives an empty list, not a failure. */
ExportStatus hardware_inventory_find_ram(char** buffer, size_t* buffer_size);

/* {"disks": [{name, manufacturer, model, status, serialNumber, interfaceType, mediaType ("SSD" or "HDD"), size (bytes),
 *             availableSpace (bytes that no volume uses), partitions: [{name, size, availableSpace, status}]}]}
 * Source: WMI, Win32_DiskDrive with its partitions and logical disks; the media type from the storage driver; the maker is the
 * known vendor name that comes closest to the model text. */
ExportStatus hardware_inventory_find_disks(char** buffer, size_t* buffer_size);

/* {"networkAdapters": [{name, manufacturer, model, status, deviceID, type, macAddress ("00:15:5D:01:2A:0B"),
 *                       ipAddresses: [text]}]}
 * Source: WMI, MSFT_NetAdapter, or Win32_NetworkAdapter on a system without it; Win32_NetworkAdapterConfiguration for the
 * addresses. Physical adapters only. */
ExportStatus hardware_inventory_find_network_adapters(char** buffer, size_t* buffer_size);

/* {"motherBoards": [{name, manufacturer, model, status, serialNumber}]}
 * Source: WMI, Win32_BaseBoard. A virtual machine without a board gets the one that its hypervisor emulates. */
ExportStatus hardware_inventory_find_base_boards(char** buffer, size_t* buffer_size);

/* {"system": {machineName, productID, installationDate, bootDevice, bootTime, manufacturer, model, type, biosVersion,
 *             systemLocale, timezone, workgroup, serialNumber, windowsDirectory, systemDirectory, owner, organization, domain,
 *             logonServer, osInfo: {name, version, buildType, family, manufacturer, releaseId}}}
 * Dates are "month/day/year hour:minute:second" in local time. A virtual machine has no productID, type and serialNumber.
 * Source: WMI, Win32_BIOS, Win32_ComputerSystem, Win32_OperatingSystem, Win32_ComputerSystemProduct, Win32_Timezone; the
 * registry (releaseId), the domain controller lookup (logonServer, "-" without a domain), the system's locale. */
ExportStatus hardware_inventory_find_system(char** buffer, size_t* buffer_size);

/* {"hotfixes": [{name, installationDate (the source's own text)}]}
 * Source: WMI, Win32_QuickFixEngineering. */
ExportStatus hardware_inventory_find_hotfixes(char** buffer, size_t* buffer_size);

/* Gives back a document's buffer. Null is ignored. The library has a heap of its own: free() is no substitute. */
void release_buffer(void* buffer);

/* The process-wide record of the last failure; never null. */
const ExceptionRecord* hardware_inventory_get_exception(void);

/* Writes the record as one text, "file:function:line:message:errorText:stackTrace" without the parts that it does not have and
 * "(no meta)" for a missing message, into a buffer of the caller's, of *buffer_size bytes. A buffer that is null or too small
 * for the text and its NUL is not written to and gives EXPORT_STATUS_BUFFER_TOO_SMALL; the size needed is not told: try a larger
 * one. A null size gives EXPORT_STATUS_NO_SIZE. */
ExportStatus hardware_inventory_exception_string(char* buffer, size_t* buffer_size);

/* Installs the process-wide logging callback; null switches logging off. To see a collection's warnings, install it before. */
void hardware_inventory_set_logger(HardwareInventoryLogger logger);

#ifdef __cplusplus
}
#endif

#endif
