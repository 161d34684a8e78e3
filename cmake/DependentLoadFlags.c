/* Where Windows searches for the libraries that this one imports, vm_detect.dll above all: beside it first, then where
 * LoadLibraryEx searches by default (the program's folder, those of AddDllDirectory, the system folder), never in the current
 * folder or on PATH. Without it a plain LoadLibrary searches the program's folder first and those two last.
 *
 * lld 16 has no switch for these flags, but takes the load configuration that an image brings under this name. Windows 10 1607 and
 * later obey them, by Microsoft's documentation: it was not tried there. Wine and earlier systems pass over them.
 */
#include <stddef.h>
#include <stdint.h>

enum
{
    kSearchDllLoadDir = 0x100,
    kSearchDefaultDirs = 0x1000
};

/* The layout of IMAGE_LOAD_CONFIG_DIRECTORY64. Zeros mean that the image has none of the rest. */
struct LoadConfiguration
{
    uint32_t size;
    uint8_t before[0x4A];
    uint16_t dependentLoadFlags;
    uint8_t after[0xF0];
};
_Static_assert(offsetof(struct LoadConfiguration, dependentLoadFlags) == 0x4E, "the place that the loader reads");
_Static_assert(sizeof(struct LoadConfiguration) == 0x140, "the size that the loader expects");

const struct LoadConfiguration _load_config_used __attribute__((aligned(8))) = {
    .size = sizeof(struct LoadConfiguration),
    .dependentLoadFlags = kSearchDllLoadDir | kSearchDefaultDirs,
};
