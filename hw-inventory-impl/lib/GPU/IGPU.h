#pragma once

#include <optional>
#include <string>

namespace HardwareInventory
{
// One video adapter as its vendor's management library knows it. Owned as the concrete type, so deleting through this interface
// is ruled out instead of being made virtual.
class IGPU
{
public:
    // Reads the live values afresh; one that cannot be read keeps its last state. 0, or the library's code where it ended early.
    virtual int update() = 0;
    virtual std::optional<float> temperature() const = 0; // degrees Celsius
    virtual std::string pciAddress() const = 0;           // as the library words it; the key of the adapter
    virtual std::string serial() const = 0;               // empty when the library knows none

protected:
    ~IGPU() = default;
};
}
