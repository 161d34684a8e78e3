/* The smallest host, in C99 against the public header and the import library. */
#include <hw_inventory_interface.h>
#include <stdio.h>

int main(void)
{
    char* document = NULL;
    size_t size = 0;
    const ExportStatus status = hardware_inventory_find_cpus(&document, &size);
    puts(status == EXPORT_STATUS_SUCCESS ? document : hardware_inventory_get_exception()->message);
    release_buffer(document);
    return (int)status;
}
