/* The built-in PCI ID list as it stands, for ELF and COFF alike. */
#if defined(__ELF__)
    .section .rodata
#else
    .section .rdata, "dr"
#endif

    .globl hw_inventory_pci_ids_begin
    .globl hw_inventory_pci_ids_end
hw_inventory_pci_ids_begin:
    .incbin "pci.ids.crlf"
hw_inventory_pci_ids_end:
    .byte 0

#if defined(__ELF__)
    .section .note.GNU-stack, "", %progbits
#endif
