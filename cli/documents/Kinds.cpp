#include "cli/documents/Kinds.h"

#include <algorithm>

namespace HardwareInventory
{
namespace
{
char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool same(std::string_view left, std::string_view right)
{
    return std::ranges::equal(left, right, {}, lower, lower);
}
}

const DocumentKind* kindNamed(std::string_view text)
{
    const auto found = std::ranges::find_if(kDocumentKinds, [&](const DocumentKind& kind)
                                            { return same(text, kind.name) || same(text, kind.key); });
    return found == kDocumentKinds.end() ? nullptr : &*found;
}

const DocumentKind* kindOf(const nlohmann::json& document)
{
    const auto found = std::ranges::find_if(kDocumentKinds, [&](const DocumentKind& kind)
                                            { return document.is_object() && document.contains(kind.key); });
    return found == kDocumentKinds.end() ? nullptr : &*found;
}
}
