#!/usr/bin/env bash
# Compares what hw-machine records of Nvidia's devices, with the real driver, with nvidia-smi. Needs jq. Ends with 77 without a driver.
#   nvml.sh [HW-MACHINE]
set -euo pipefail
program=${1:-$(dirname "${BASH_SOURCE[0]}")/../build/native/bin/hw-machine}
command -v nvidia-smi > /dev/null || { echo "nothing was compared: no nvidia-smi" >&2; exit 77; }
recording=$(mktemp)
trap 'rm -f "$recording"' EXIT
"$program" capture "$recording"

# Bus and MiB of memory, neither of which changes between the two. nvidia-smi writes a domain of eight digits.
ours=$(jq -r 'def last: if type == "object" then .inTurn[-1] else . end;
    .answers as $answers | range(1; ($answers["call nvmlDeviceGetCount"] | last)[1] + 1) as $device
    | "\($answers["call nvmlDeviceGetPciInfo_v3 \($device)"] | last | .[1].busId), \(
      $answers["call nvmlDeviceGetMemoryInfo \($device)"] | last | .[1].total / 1048576 | floor)"' "$recording")
theirs=$(nvidia-smi --format=csv,noheader,nounits --query-gpu=pci.bus_id,memory.total | sed 's/^0000//')
diff <(echo "$ours") <(echo "$theirs") && echo "$ours"
