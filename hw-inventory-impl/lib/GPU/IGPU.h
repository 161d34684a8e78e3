#pragma once

#include <optional>
#include <string>

namespace HardwareInventory
{
// One video adapter as its vendor's management library reports it. Owned as the concrete type: the destructor is protected, not
// virtual.
class IGPU
{
public:
    // Refreshes the live values; one that cannot be read is left unchanged. 0, or the library's code where it ended early.
    virtual int update() = 0;
    virtual std::optional<float> temperature() const = 0; // degrees Celsius
    virtual std::string pciAddress() const = 0;           // in the library's own format; the key of the adapter
    virtual std::string serial() const = 0;               // empty if unknown

protected:
    ~IGPU() = default;
};
}
