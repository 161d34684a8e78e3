"""The hardware inventory of this machine, through hw_inventory_interface.dll."""
import ctypes
import json
import os

KINDS = ["cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes"]
SEARCH = 0x100 | 0x800  # LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR, LOAD_LIBRARY_SEARCH_SYSTEM32; ignored on Linux
Logger = ctypes.CFUNCTYPE(None, ctypes.c_uint32, ctypes.c_char_p)


class ExceptionRecord(ctypes.Structure):
    """As in hw_inventory_interface.h."""

    _fields_ = [(name, ctypes.c_char_p) for name in ("stack_trace", "file", "function")]
    _fields_ += [("line", ctypes.c_int64), ("message", ctypes.c_char_p), ("error_text", ctypes.c_char_p)]


class InventoryError(Exception):
    """A call failed: its status, and the library's record, or None where that is of an earlier failure."""

    def __init__(self, kind, status, record):
        text = f"{kind}: status {status}"
        if record:
            self.stack_trace = decoded(record.stack_trace)
            parts = [part for part in (decoded(record.error_text), decoded(record.message).strip()) if part]
            place = f"({decoded(record.function)} in {decoded(record.file)}, line {record.line})"
            text = f"{': '.join([text, *parts])} {place}"
        super().__init__(text)
        self.status = status


class Inventory:
    """One thread at a time may collect, the same one each time: it stays connected to WMI."""

    def __init__(self, path, log=None):
        """log(level, message) gets the library's log lines. It must not collect."""
        self.library = ctypes.CDLL(os.path.abspath(path), winmode=SEARCH)
        self.library.hardware_inventory_get_exception.restype = ctypes.POINTER(ExceptionRecord)
        self.library.release_buffer.argtypes = [ctypes.c_void_p]
        self.library.release_buffer.restype = None
        self.library.hardware_inventory_set_logger.argtypes = [Logger]
        self.library.hardware_inventory_set_logger.restype = None
        self.logger = Logger(lambda level, message: log(level, decoded(message))) if log else Logger()

    def collect(self, kind):
        """The document of a kind, decoded."""
        find = getattr(self.library, "hardware_inventory_find_" + kind.replace("-", "_"))
        find.restype = ctypes.c_uint32
        buffer, size = ctypes.c_void_p(), ctypes.c_size_t()
        self.library.hardware_inventory_set_logger(self.logger)
        try:
            status = find(ctypes.byref(buffer), ctypes.byref(size))
        finally:
            self.library.hardware_inventory_set_logger(Logger())
        if status:
            record = None if size.value else self.library.hardware_inventory_get_exception().contents
            raise InventoryError(kind, status, record)
        try:
            return json.loads(ctypes.string_at(buffer, size.value - 1))
        finally:
            self.library.release_buffer(buffer)


def decoded(text):
    return (text or b"").decode("utf-8", "replace")
