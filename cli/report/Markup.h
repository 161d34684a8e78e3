#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace HardwareInventory
{
// Writes HTML. Texts and the values of attributes are escaped here and nowhere else, so that a text stays a text.
class Markup
{
public:
    struct Attribute
    {
        std::string_view name;
        std::string_view value;
    };
    using Attributes = std::initializer_list<Attribute>;

    // Ends its element when it is destroyed.
    class [[nodiscard]] Element
    {
    public:
        Element(Markup& markup, std::string_view name) : markup_(markup), name_(name) {}
        Element(const Element&) = delete;
        ~Element() { markup_.end(name_); }

    private:
        Markup& markup_;
        std::string_view name_;
    };

    // The names of elements and attributes are the program's own.
    Element element(std::string_view name, Attributes attributes = {});
    void leaf(std::string_view name, std::string_view content, Attributes attributes = {});
    void voidElement(std::string_view name, Attributes attributes);

    void text(std::string_view text);
    void line() { html_ += '\n'; }

    // The program's own style and script, which a browser takes as they are.
    void verbatim(std::string_view ours) { html_ += ours; }

    std::string take() { return std::move(html_); }

private:
    void begin(std::string_view name, Attributes attributes);
    void end(std::string_view name);

    std::string html_;
};
}
