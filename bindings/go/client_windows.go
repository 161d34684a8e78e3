package hwinventory

import (
	"context"
	"encoding/json"
	"fmt"
	"runtime"
	"sync"
)

// Client collects documents. Its calls run one after another on one thread of its own, which stays connected to WMI; the calls of
// several Clients wait for each other. A Client may be used by several goroutines.
type Client struct {
	library *library
	log     func(Level, string)
	calls   chan call
	turn    chan struct{} // full while a call runs
	busy    chan struct{} // can be read while a call runs that nobody waits for
	closed  chan struct{}
	once    sync.Once
}

type call struct {
	kind   string
	result chan result
}

type result struct {
	document []byte
	err      error
}

// Open loads the library, which stays loaded until the process ends. Where a file is missing, the library or the vm_detect.dll
// beside it, the error names it and wraps fs.ErrNotExist.
//
// log gets the library's log lines, which may contain line breaks, on the Client's thread, and must not use the Client. nil is no
// log.
func Open(path string, log func(Level, string)) (*Client, error) {
	library, err := load(path)
	if err != nil {
		return nil, err
	}
	c := &Client{
		library: library,
		log:     log,
		calls:   make(chan call),
		turn:    make(chan struct{}, 1),
		busy:    make(chan struct{}),
		closed:  make(chan struct{}),
	}
	go c.run()
	return c, nil
}

// Close ends the Client and its thread. It does not wait for a call that runs: the thread ends after it.
func (c *Client) Close() error {
	c.once.Do(func() { close(c.closed) })
	return nil
}

// Collect reads the machine into a document.
func (c *Client) Collect(ctx context.Context, document Document) error {
	text, err := c.CollectJSON(ctx, document.Kind())
	if err != nil {
		return err
	}
	return json.Unmarshal(text, document)
}

// CollectJSON reads the machine and returns the document of a kind as the library wrote it. The error is an *Error, ErrBusy,
// ErrClosed, or wraps that of the context.
func (c *Client) CollectJSON(ctx context.Context, kind string) ([]byte, error) {
	if c.library.find[kind] == nil {
		return nil, fmt.Errorf("hwinventory: no kind %q", kind)
	}
	if ctx.Err() != nil {
		return nil, fmt.Errorf("hwinventory: %s: %w", kind, ctx.Err())
	}
	select {
	case c.turn <- struct{}{}:
	case <-c.busy:
		return nil, ErrBusy
	case <-c.closed:
		return nil, ErrClosed
	case <-ctx.Done():
		return nil, fmt.Errorf("hwinventory: %s: %w", kind, ctx.Err())
	}
	made := call{kind, make(chan result, 1)}
	select {
	case c.calls <- made:
	case <-c.closed:
		<-c.turn
		return nil, ErrClosed
	}
	select {
	case got := <-made.result:
		<-c.turn
		return got.document, got.err
	case <-c.closed:
		return nil, ErrClosed
	case <-ctx.Done():
		go c.leave(made)
		return nil, fmt.Errorf("hwinventory: %s: %w", kind, ctx.Err())
	}
}

// leave turns callers away until a call is back that nobody waits for.
func (c *Client) leave(made call) {
	for {
		select {
		case c.busy <- struct{}{}:
		case <-made.result:
			<-c.turn
			return
		}
	}
}

func (c *Client) run() {
	runtime.LockOSThread() // and never unlocked: the thread ends with this goroutine, and with it the connections to WMI
	for {
		select {
		case made := <-c.calls:
			document, err := c.library.collect(made.kind, c.log)
			made.result <- result{document, err}
		case <-c.closed:
			return
		}
	}
}
