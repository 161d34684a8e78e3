#include "cli/report/Markup.h"

namespace HardwareInventory
{
Markup::Element Markup::element(std::string_view name, Attributes attributes)
{
    begin(name, attributes);
    return Element(*this, name);
}

void Markup::leaf(std::string_view name, std::string_view content, Attributes attributes)
{
    begin(name, attributes);
    text(content);
    end(name);
}

void Markup::voidElement(std::string_view name, Attributes attributes)
{
    begin(name, attributes);
}

void Markup::text(std::string_view text)
{
    for (const char letter : text)
    {
        switch (letter)
        {
        case '&':
            html_ += "&amp;";
            break;
        case '<':
            html_ += "&lt;";
            break;
        case '>':
            html_ += "&gt;";
            break;
        case '"':
            html_ += "&quot;";
            break;
        default:
            html_ += letter;
        }
    }
}

void Markup::begin(std::string_view name, Attributes attributes)
{
    html_.append("<").append(name);
    for (const Attribute& attribute : attributes)
    {
        html_.append(" ").append(attribute.name).append("=\"");
        text(attribute.value);
        html_ += '"';
    }
    html_ += '>';
}

void Markup::end(std::string_view name)
{
    html_.append("</").append(name).append(">");
}
}
