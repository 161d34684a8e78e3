#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
// Substitutes for the values that identify a machine. Values are collected first; choose() then draws a substitute for each from
// the key, the kind and the value, regardless of case. It has the length of its value, digits for digits and letters for letters,
// and is no value that stands for none. An address alone may get another length.
class Pseudonyms
{
public:
    explicit Pseudonyms(std::string key) : key_(std::move(key)) {}

    // Values that stand for none, such as "Default string", are ignored.
    void addSerial(std::wstring_view value);
    void addName(std::wstring_view value);
    void addMac(std::wstring_view value);     // keeps its first three bytes, which name the manufacturer
    void addGuid(std::wstring_view value);    // 32 hexadecimal digits with or without separators
    void addPath(std::wstring_view path);     // of an object: "\\HOST\root\..."
    void addInstance(std::wstring_view id);   // of a device; the last part if the device has given it
    bool addAddress(std::wstring_view value); // false if it is no IP address

    // Adds what can be recognised in any text: MAC addresses, GUIDs, SIDs, product keys and identifiers, folders of users.
    void addRecognised(std::wstring_view text);

    // Serials and names that occur in this text are no secret: they are not replaced.
    void spare(std::wstring text) { spared_.push_back(std::move(text)); }

    void choose();

    // After choose(). Replaces the longest values first.
    std::wstring replacedIn(const std::wstring& text) const;
    bool occursIn(const std::wstring& text) const;

    // The substitute for a text that is replaced in one place alone, whatever it contains.
    std::wstring instead(const std::wstring& text) const;

private:
    enum class Kind
    {
        serial,
        name,
        mac,
        guid,
        address
    };

    struct Value
    {
        Kind kind;
        std::size_t kept; // from the beginning
    };

    // Where a value counts as found.
    enum class Extent
    {
        wholeText,
        wholeRun, // of letters or digits
        anywhere
    };

    struct Original
    {
        std::wstring text;
        std::wstring substitute;
        Extent extent;
    };

    void add(Kind kind, std::wstring_view value, std::size_t kept);
    std::wstring drawn(Kind kind, const std::wstring& value, std::size_t kept, int attempt) const;
    void addOriginals(const std::wstring& value, Kind kind, const std::wstring& substitute);
    static Extent extentOf(Kind kind, std::wstring_view value);
    static std::size_t find(const Original& original, std::wstring_view folded, std::size_t from);

    std::string key_;
    std::map<std::wstring, Value> values_;
    std::vector<std::wstring> spared_;
    std::vector<Original> originals_; // the longest first
};
}
