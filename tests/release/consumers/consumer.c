// Prints the headers' version and the processors' document: in C or C++, with a C library's headers or without any.
#include <hw_inventory_interface.h>

#ifdef __cplusplus
extern "C"
#endif
    int
    puts(const char* text);

int main(void)
{
    char* document;
    size_t size;
    if (hardware_inventory_find_cpus(&document, &size) != EXPORT_STATUS_SUCCESS)
        return 1;
    puts(HW_INVENTORY_VERSION_STRING);
    puts(document);
    release_buffer(document);
    return 0;
}
