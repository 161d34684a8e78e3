package hwinventory_test

import (
	"context"
	"errors"
	"fmt"
	"time"

	"hwinventory"
)

func ExampleClient_Collect() {
	client, err := hwinventory.Open(`C:\Program Files\Agent\hw_inventory_interface.dll`, nil)
	if err != nil {
		fmt.Println(err)
		return
	}
	defer client.Close()

	ctx, cancel := context.WithTimeout(context.Background(), 30*time.Second)
	defer cancel()
	var document hwinventory.DisksDocument
	err = client.Collect(ctx, &document)
	var failure *hwinventory.Error
	switch {
	case errors.As(err, &failure):
		fmt.Println(failure, failure.StackTrace)
	case errors.Is(err, context.DeadlineExceeded), errors.Is(err, hwinventory.ErrBusy):
		fmt.Println("later:", err)
	case err != nil:
		fmt.Println(err)
	}
	for _, disk := range document.Disks {
		fmt.Println(disk.Model, disk.Size)
	}
}
