#pragma once

#include <cstdio>
#include <string>

namespace HardwareInventory
{
// One line at the end of the terminal that standard error is.
class Progress
{
public:
    explicit Progress(bool shown) : shown_(shown) {}
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(const std::string& line)
    {
        clear();
        if (!shown_)
            return;
        std::fputs(line.c_str(), stderr);
        width_ = line.size();
    }

    // Before anything else is printed. Spaces, because not every console of Windows has sequences that erase.
    void clear()
    {
        if (width_ != 0)
            std::fprintf(stderr, "\r%*s\r", static_cast<int>(width_), "");
        width_ = 0;
    }

private:
    bool shown_;
    std::size_t width_ = 0;
};
}
