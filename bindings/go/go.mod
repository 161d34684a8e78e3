module hwinventory

go 1.19
