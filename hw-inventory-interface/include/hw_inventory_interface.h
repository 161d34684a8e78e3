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
 * Rules for the host; docs/hosting.md has the reasons and the rest.
 * - Load the library by its absolute path, and search its own folder and the system's for what it imports:
 *   LoadLibraryExW(path, NULL, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32). A plain LoadLibrary can take a
 *   vm_detect.dll that somebody else put into the program's folder, the current folder or a folder of PATH, and fails with
 *   error 126 where there is none, even with the right one beside the library.
 * - The module stays loaded until the process ends; FreeLibrary has no effect.
 * - Serialise the calls. The library takes no lock; the record of the last failure, the logging callback and what is kept between
 *   calls belong to the whole process. Read a failure directly after the failing call: no other call may come between. Two
 *   components of one process cannot serialise against each other: one of them owns the library.
 * - Prefer one long-lived thread for all collections, initialised for COM's multithreaded apartment or not at all. A thread's
 *   first collection connects it to WMI, and the connections live until the thread ends. A thread of a single-threaded apartment
 *   works too, but blocks without pumping window messages.
 * - After status 1 or 2 collect on a new thread. When the WMI service is restarted, the threads that were connected to it stay cut
 *   off.
 * - Do not call from DllMain, on a fiber or from the logging callback.
 * - A call takes as long as WMI takes: usually well under a second, but a WMI service that hangs makes the call hang. There is no
 *   time limit and no way to cancel.
 * - Do not use dbghelp in another thread during a call: a failing call takes its stack trace with dbghelp, which serves one thread
 *   at a time.
 * - Reading some facts takes administrative rights (a disk's "mediaType"). Without them the keys are left out.
 *
 * All text is UTF-8, all strings end with NUL. The calling convention is C's default one on 64-bit Windows.
 */
#ifndef HW_INVENTORY_INTERFACE_H
#define HW_INVENTORY_INTERFACE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C"
{
#endif

/* The outcome of a call: the area that failed. The cause is in the exception record. */
typedef uint32_t ExportStatus;

enum
{
    EXPORT_STATUS_SUCCESS = 0,          /* also with a short list: a query that breaks off on its way is a warning only */
    EXPORT_STATUS_WMI_CONNECTION = 1,   /* WMI could not be reached: COM, locator, namespace or proxy */
    EXPORT_STATUS_WMI_QUERY = 2,        /* WMI refused a query */
    EXPORT_STATUS_FILE = 3,             /* a file could not be opened: reserved, not returned */
    EXPORT_STATUS_SMBIOS = 4,           /* the firmware's table is unsound: reserved, not returned ("rams" is empty instead) */
    EXPORT_STATUS_UDEV = 5,             /* Linux device enumeration: reserved, not returned */
    EXPORT_STATUS_BUFFER_TOO_SMALL = 6, /* the caller's buffer is absent or too small; no exception record */
    EXPORT_STATUS_NO_SIZE = 7,          /* the size argument is null; no exception record */
    EXPORT_STATUS_OTHER = 8             /* any other failure, out of memory among them */
};

/* The last failure of a collecting function. It describes the call that returned 1 to 5 or 8, unless that call wrote *buffer_size:
 * then memory for the document was lacking, and the record is still that of an earlier failure, or empty. A success leaves the
 * record as it is. Where memory runs out for the record itself, it is empty.
 *
 * The strings belong to the library and are valid until the next failure; one that was never set is null, one without content may
 * be null or empty. They contain line breaks: the system's own error texts end with one. */
typedef struct ExceptionRecord
{
    const char* stackTrace; /* one line a frame: "[displacement] file:function:line" */
    const char* file;       /* the source file of the library that raised it */
    const char* function;
    int64_t line; /* 0 if unknown */
    const char* message;
    const char* errorText; /* what failed, in fixed words; only failures that the library itself classifies have one */
} ExceptionRecord;

/* Called on the thread of the call that logs. The message is valid only during the call, and may contain line breaks.
 * Levels: 0 information, 1 warning (a value or a source could not be read), 2 error (a call fails), 3 trace. A sound machine causes
 * warnings too; docs/hosting.md lists them.
 * Do not collect from it, though such a call works. Do not throw, and do not leave by longjmp: an exception that leaves the
 * callback ends the call, as a rule with status 8. */
typedef void (*HardwareInventoryLogger)(uint32_t level, const char* message);

/* The collecting functions. Each reads the machine afresh and returns one document in compact JSON:
 *
 *   *buffer       receives the document, which the host frees with release_buffer; buffer itself must not be null
 *   *buffer_size  receives its size in bytes, the terminating NUL included; a null buffer_size returns EXPORT_STATUS_NO_SIZE, but
 *                 only after the machine was read: a failure before that returns its own status
 *
 * A failure leaves both unchanged, unless memory for the buffer was lacking: then *buffer is null, and *buffer_size is the size
 * that was needed.
 *
 * Keys are sorted; a key whose value is unknown is left out, as is an empty "partitions" or "ipAddresses"; a document without
 * entries has an empty array; a record of which nothing is known is null; a key called reserved is never written. docs/fields.md
 * has every key, and schemas/ their JSON Schemas. Numbers are unsigned, of up to 64 bits, but for "temperature"; sizes are in
 * bytes. "status" is "ok" (which WMI's "Degraded" and "Pred Fail" are, too), "has issues" or "disabled by user". "deviceID" of a
 * PCI device is "VVVV:DDDD" (vendor and device, hexadecimal). */

/* {"cpus": [{name, manufacturer, model, status, maxClockSpeed (MHz), cores, socketDesignation, processorID}]}
 * Source: WMI, Win32_Processor. */
ExportStatus hardware_inventory_find_cpus(char** buffer, size_t* buffer_size);

/* {"gpus": [{name, manufacturer, model, status, deviceID, pciAddress ("domain:bus:device.function", hexadecimal), serialNumber,
 *            temperature (degrees Celsius, a float written as a double)}]}
 * Source: WMI, Win32_VideoController, without the remote desktop's adapter; names from the built-in PCI ID list; the address from
 * SetupAPI; temperature and serial number from the vendors' libraries (nvml.dll, atiadlxx.dll, atiadlxy.dll) where they are
 * installed. A virtual machine without an adapter gets the one that its hypervisor emulates.
 * - The vendors' libraries are loaded from the system folder, unless the process has loaded them already, and stay loaded.
 * - They list their adapters at the first call only: one that comes later has no readings.
 * - "temperature" stays as last read when a card stops answering.
 * - NVML writes addresses in capital letters: an NVIDIA adapter whose address contains a letter never gets its readings. */
ExportStatus hardware_inventory_find_gpus(char** buffer, size_t* buffer_size);

/* {"rams": [{name, manufacturer, model, serialNumber, capacity (bytes), deviceLocator; reserved: status, deviceID}],
 *  "usableMemory": bytes of physical memory that the system uses, 0 when unknown}
 * Source: the firmware's SMBIOS table, read once per process; on a virtual machine one module of the whole memory.
 * - WMI is connected to first: where it cannot be reached, this call fails like the others.
 * - A table that cannot be read gives an empty list, not a failure; so does a single manufacturer "0x..." of more than 32 bits.
 * - "model" is a name of the PCI ID list, and ends with a carriage return. */
ExportStatus hardware_inventory_find_ram(char** buffer, size_t* buffer_size);

/* {"disks": [{name, manufacturer, model, status, serialNumber, interfaceType, mediaType ("SSD" or "HDD"), size (bytes),
 *             availableSpace (bytes that no volume uses), partitions: [{name, size, availableSpace, status}]}]}
 * Source: WMI, Win32_DiskDrive with its partitions and logical disks; the media type from the storage driver.
 * - "manufacturer" is a guess: the closest vendor of the PCI ID list that agrees with the model text in its first word. It ends
 *   with a carriage return, and "model" loses that word. Without such a vendor there is no manufacturer, and the model is whole.
 * - "mediaType" is "SSD" where the driver reports TRIM as enabled, else "HDD". The drive is opened for reading and writing.
 * - Volumes without a drive letter count as free. A partition's "availableSpace" above its size, up to 2^64 - 1, means that its
 *   volumes report more used space than it has. */
ExportStatus hardware_inventory_find_disks(char** buffer, size_t* buffer_size);

/* {"networkAdapters": [{name, manufacturer, model, status, deviceID, type, macAddress ("00:15:5D:01:2A:0B"),
 *                       ipAddresses: [text]}]}
 * Source: WMI, MSFT_NetAdapter, or Win32_NetworkAdapter on a system without it; Win32_NetworkAdapterConfiguration for the
 * addresses. Physical adapters only.
 * - "type" is "802.3" also where MSFT_NetAdapter does not give the medium.
 * - An adapter whose "Virtual" (in Win32_NetworkAdapter "PhysicalAdapter") does not convert to a boolean, or whose "IPAddress" is
 *   no array of texts, fails the call with EXPORT_STATUS_OTHER. */
ExportStatus hardware_inventory_find_network_adapters(char** buffer, size_t* buffer_size);

/* {"motherBoards": [{name, manufacturer, model, status, serialNumber}]}
 * Source: WMI, Win32_BaseBoard. A virtual machine without a board gets the one that its hypervisor emulates. */
ExportStatus hardware_inventory_find_base_boards(char** buffer, size_t* buffer_size);

/* {"system": {machineName, productID, installationDate, bootDevice, bootTime, manufacturer, model, type, biosVersion,
 *             systemLocale, timezone, serialNumber, windowsDirectory, systemDirectory, owner, organization, domain, logonServer,
 *             osInfo: {name, version, buildType, manufacturer, releaseId; reserved: family}; reserved: workgroup}}
 * Dates are "month/day/year hour:minute:second" in local time. A virtual machine has no productID, type and serialNumber.
 * Source: WMI, Win32_BIOS, Win32_ComputerSystem, Win32_OperatingSystem, Win32_ComputerSystemProduct, Win32_Timezone; the
 * registry (releaseId), the domain controller lookup (logonServer), the system's locale.
 * - "logonServer" is "-" and "domain" left out where no domain controller answers: outside a domain, and also on a member that
 *   cannot reach one. That lookup can take many seconds.
 * - "biosVersion" ends with the firmware's date; where that is unknown, with 01/01/1970 or the day before.
 * - "type" is "Unspecified" also where it is unknown. */
ExportStatus hardware_inventory_find_system(char** buffer, size_t* buffer_size);

/* {"hotfixes": [{name, installationDate (the text that WMI returns)}]}
 * Source: WMI, Win32_QuickFixEngineering. */
ExportStatus hardware_inventory_find_hotfixes(char** buffer, size_t* buffer_size);

/* Frees a document. Null is ignored. The library has its own heap: do not use free(). */
void release_buffer(void* buffer);

/* The process-wide record of the last failure; never null. */
const ExceptionRecord* hardware_inventory_get_exception(void);

/* Writes the record as one text, "file:function:line:message:errorText:stackTrace" without the parts that it does not have and
 * "(no meta)" for a missing message, into a buffer of the caller's. *buffer_size is its size in bytes; all of them are written,
 * zeros behind the text. A buffer that is null or too small for the text and its NUL is not written to: the function returns
 * EXPORT_STATUS_BUFFER_TOO_SMALL, but not the size needed; try a larger one. A null size returns EXPORT_STATUS_NO_SIZE, lack of
 * memory EXPORT_STATUS_OTHER. The record stays as it was. */
ExportStatus hardware_inventory_exception_string(char* buffer, size_t* buffer_size);

/* Installs the process-wide logging callback; null switches logging off. Install it before the collection whose messages you want.
 * Switch it off before its code is unloaded. */
void hardware_inventory_set_logger(HardwareInventoryLogger logger);

#ifdef __cplusplus
}
#endif

#endif
