package hwinventory

import (
	"errors"
	"fmt"
	"os"
	"path/filepath"
	"strings"
	"sync"
	"syscall"
	"unsafe"
)

const (
	loadLibrarySearchDLLLoadDir = 0x100
	loadLibrarySearchSystem32   = 0x800
	errorModNotFound            = syscall.Errno(126)
)

var loadLibraryEx = syscall.NewLazyDLL("kernel32.dll").NewProc("LoadLibraryExW")

// library has the functions of the loaded library, which stays loaded until the process ends.
type library struct {
	find                             map[string]*syscall.Proc // by kind
	release, getException, setLogger *syscall.Proc
}

func load(path string) (*library, error) {
	path, err := filepath.Abs(path)
	if err != nil {
		return nil, err
	}
	name, err := syscall.UTF16PtrFromString(path)
	if err != nil {
		return nil, err
	}
	handle, _, err := loadLibraryEx.Call(uintptr(unsafe.Pointer(name)), 0, loadLibrarySearchDLLLoadDir|loadLibrarySearchSystem32)
	if handle == 0 {
		return nil, fmt.Errorf("hwinventory: cannot load %s: %w", path, missing(path, err))
	}

	dll := &syscall.DLL{Name: path, Handle: syscall.Handle(handle)}
	err = nil
	proc := func(name string) *syscall.Proc {
		found, missing := dll.FindProc(name)
		if missing != nil {
			err = missing
		}
		return found
	}
	lib := &library{
		find:         make(map[string]*syscall.Proc),
		release:      proc("release_buffer"),
		getException: proc("hardware_inventory_get_exception"),
		setLogger:    proc("hardware_inventory_set_logger"),
	}
	for _, kind := range Kinds {
		lib.find[kind] = proc("hardware_inventory_find_" + strings.ReplaceAll(kind, "-", "_"))
	}
	return lib, err
}

// missing returns the error of the file that is really missing: Windows reports the library also where one of its imports is.
func missing(path string, err error) error {
	if errors.Is(err, errorModNotFound) {
		for _, file := range []string{path, filepath.Join(filepath.Dir(path), "vm_detect.dll")} {
			if _, absent := os.Stat(file); absent != nil {
				return absent
			}
		}
	}
	return err
}

// The library serves one call at a time in a process, and passes nothing of the host's to its callback.
var (
	oneCall  sync.Mutex
	logger   func(Level, string)            // that of the running call
	callback = syscall.NewCallback(forward) // once: a process has few callbacks, and they are never freed
)

func forward(level uint32, message *byte) uintptr {
	logger(Level(level), text(message))
	return 0
}

// exceptionRecord is the ExceptionRecord of hw_inventory_interface.h.
type exceptionRecord struct {
	stackTrace, file, function *byte
	line                       int64
	message, errorText         *byte
}

// collect returns a copy of the document. Its thread stays connected to WMI.
func (l *library) collect(kind string, log func(Level, string)) ([]byte, error) {
	oneCall.Lock()
	defer oneCall.Unlock()
	if logger = log; log != nil {
		l.setLogger.Call(callback)
		defer l.setLogger.Call(0)
	}

	var document struct {
		buffer *byte
		size   uintptr
	}
	status, _, _ := l.find[kind].Call(uintptr(unsafe.Pointer(&document.buffer)), uintptr(unsafe.Pointer(&document.size)))
	if uint32(status) == 0 {
		defer l.release.Call(uintptr(unsafe.Pointer(document.buffer)))
		return append([]byte(nil), unsafe.Slice(document.buffer, document.size-1)...), nil
	}
	failure := &Error{Kind: kind, Status: Status(status)}
	if document.size != 0 { // memory for the document was lacking, and the record is that of an earlier failure
		return nil, failure
	}
	address, _, _ := l.getException.Call()
	record := *(**exceptionRecord)(unsafe.Pointer(&address))
	failure.Message, failure.ErrorText, failure.StackTrace = text(record.message), text(record.errorText), text(record.stackTrace)
	failure.File, failure.Function, failure.Line = text(record.file), text(record.function), record.line
	return nil, failure
}

// text copies a string of C.
func text(c *byte) string {
	if c == nil {
		return ""
	}
	length := 0
	for *(*byte)(unsafe.Add(unsafe.Pointer(c), length)) != 0 {
		length++
	}
	return string(unsafe.Slice(c, length))
}
