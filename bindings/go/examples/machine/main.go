//go:build windows

// Machine prints the hardware inventory of this machine, one document a line.
//
//	machine [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]
package main

import (
	"context"
	"encoding/json"
	"errors"
	"flag"
	"fmt"
	"os"
	"time"

	"hwinventory"
)

func main() {
	raw := flag.Bool("json", false, "print the documents as the library wrote them")
	log := flag.Bool("log", false, "print the library's log")
	limit := flag.Int("limit", 60000, "the longest that a collection may take, in milliseconds")
	retry := flag.Int("retry", 0, "how long to try again while an earlier collection is not back, in milliseconds")
	times := flag.Int("times", 1, "how often to collect")
	flag.Parse()
	if flag.NArg() == 0 {
		flag.Usage()
		os.Exit(64)
	}
	kinds := hwinventory.Kinds
	if flag.NArg() > 1 {
		kinds = flag.Args()[1:]
	}
	var printLog func(hwinventory.Level, string)
	if *log {
		printLog = func(level hwinventory.Level, message string) { fmt.Printf("log %d: %s\n", level, message) }
	}

	client, err := hwinventory.Open(flag.Arg(0), printLog)
	if err != nil {
		fmt.Println(err)
		os.Exit(1)
	}
	defer client.Close()
	for i := 0; i < *times; i++ {
		for _, kind := range kinds {
			document, err := collect(client, kind, *limit, *raw)
			if errors.Is(err, hwinventory.ErrBusy) {
				fmt.Printf("%s: busy\n", kind)
			}
			end := time.Now().Add(time.Duration(*retry) * time.Millisecond)
			for errors.Is(err, hwinventory.ErrBusy) && time.Now().Before(end) {
				time.Sleep(50 * time.Millisecond)
				document, err = collect(client, kind, *limit, *raw)
			}
			var failure *hwinventory.Error
			switch {
			case err == nil:
				fmt.Printf("%s\n", document)
			case errors.As(err, &failure):
				fmt.Printf("%v (%s in %s, line %d)\n", failure, failure.Function, failure.File, failure.Line)
			case errors.Is(err, context.DeadlineExceeded):
				fmt.Printf("%s: timed out\n", kind)
			case !errors.Is(err, hwinventory.ErrBusy):
				fmt.Println(err)
			}
		}
	}
}

// collect returns a document as the library wrote it, or as its type does.
func collect(client *hwinventory.Client, kind string, limit int, raw bool) ([]byte, error) {
	ctx, cancel := context.WithTimeout(context.Background(), time.Duration(limit)*time.Millisecond)
	defer cancel()
	if raw {
		return client.CollectJSON(ctx, kind)
	}
	document := hwinventory.NewDocument(kind)
	if document == nil {
		return nil, fmt.Errorf("no kind %q", kind)
	}
	if err := client.Collect(ctx, document); err != nil {
		return nil, err
	}
	return json.Marshal(document)
}
