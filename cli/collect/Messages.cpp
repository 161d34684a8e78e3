#include "cli/collect/Messages.h"

#include <cstring>

namespace HardwareInventory
{
namespace
{
// Both sides are this program: the fields are as they lie in memory.
struct Header
{
    std::uint32_t type = 0;
    std::uint32_t number = 0;
    std::uint32_t size = 0;
};
constexpr std::uint32_t kMostBytes = 1U << 30U;
}

bool send(std::FILE* pipe, const Message& message)
{
    const Header header = {message.type, message.number, static_cast<std::uint32_t>(message.text.size())};
    std::string bytes(sizeof(header), '\0');
    std::memcpy(bytes.data(), &header, sizeof(header));
    bytes += message.text;
    return message.text.size() <= kMostBytes && std::fwrite(bytes.data(), 1, bytes.size(), pipe) == bytes.size() &&
           std::fflush(pipe) == 0;
}

std::optional<Message> receive(std::FILE* pipe)
{
    Header header;
    if (std::fread(&header, sizeof(header), 1, pipe) != 1 || header.type > Message::last || header.size > kMostBytes)
        return std::nullopt;
    Message message = {static_cast<Message::Type>(header.type), header.number, std::string(header.size, '\0')};
    if (std::fread(message.text.data(), 1, header.size, pipe) != header.size)
        return std::nullopt;
    return message;
}
}
