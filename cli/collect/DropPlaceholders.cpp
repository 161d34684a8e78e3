#include "cli/collect/DropPlaceholders.h"

#include "cli/documents/Placeholders.h"

#include <algorithm>

namespace HardwareInventory
{
using nlohmann::json;

void dropPlaceholders(json& document)
{
    if (document.is_array())
        std::ranges::for_each(document, dropPlaceholders);
    if (!document.is_object())
        return;
    const std::size_t before = document.size();
    for (auto member = document.begin(); member != document.end();)
    {
        dropPlaceholders(*member);
        const bool drop = member->is_string() && isPlaceholder(member.key(), member->get_ref<const std::string&>());
        member = drop ? document.erase(member) : std::next(member);
    }
    if (document.empty() && before != 0)
        document = nullptr;
}
}
