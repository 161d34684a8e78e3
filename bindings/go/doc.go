// Package hwinventory reads the hardware inventory of a Windows machine through hw_inventory_interface.dll, without cgo.
//
// # Documents
//
// There is a type for each kind of document. A key that is left out is unknown, and its field has the zero value. The types need
// no library, so that a server on any system can decode what its agents have sent.
//
// # Time
//
// The library cannot be interrupted. A call whose context ends returns; the library's call goes on in the background, and later
// calls of the Client return ErrBusy until it is back.
//
// # Failures
//
// A failure of the library is an *Error, with the library's record of it. After StatusWMIConnection and StatusWMIQuery collect
// with a new Client: a thread that was connected to a WMI service that was restarted stays cut off from it.
package hwinventory

import (
	"errors"
	"fmt"
	"strings"
)

// Document is one of the eight documents: a pointer to a CPUsDocument, a GPUsDocument and so on.
type Document interface {
	Kind() string
}

// Status is the area that failed.
type Status uint32

// The statuses that the library returns. Others are possible.
const (
	StatusWMIConnection Status = 1 // WMI could not be reached
	StatusWMIQuery      Status = 2 // WMI refused a query
	StatusOther         Status = 8
)

// Level is the level of a log line. A sound machine causes warnings too.
type Level uint32

// The levels of the log.
const (
	LevelInformation Level = iota
	LevelWarning           // a value or a source could not be read
	LevelError             // a call fails
	LevelTrace
)

// ErrBusy is returned while a call whose context has ended has not come back.
var ErrBusy = errors.New("hwinventory: an earlier call has not come back")

// ErrClosed is returned by the calls of a Client that is closed.
var ErrClosed = errors.New("hwinventory: client is closed")

// Error is a failure that the library has reported, with its record of it. The record is empty where memory ran out.
type Error struct {
	Kind       string
	Status     Status
	Message    string // may contain line breaks
	ErrorText  string // what failed, in fixed words
	File       string // the source file of the library
	Function   string
	Line       int64
	StackTrace string
}

func (e *Error) Error() string {
	text := fmt.Sprintf("%s: status %d", e.Kind, e.Status)
	for _, part := range []string{e.ErrorText, strings.TrimSpace(e.Message)} {
		if part != "" {
			text += ": " + part
		}
	}
	return text
}
