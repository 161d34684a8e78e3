#include "st-core/lib/Hash.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <stdexcept>

namespace ZelStdCore
{
namespace
{
unsigned char* bytes(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}
}

std::string sha256(std::string_view message)
{
    std::string digest(kHashSize, '\0');
    if (!EVP_Digest(message.data(), message.size(), bytes(digest), nullptr, EVP_sha256(), nullptr))
        throw std::runtime_error("SHA-256 failed");
    return digest;
}

std::string hmacSha256(std::string_view key, std::string_view message)
{
    std::string digest(kHashSize, '\0');
    const auto* const data = reinterpret_cast<const unsigned char*>(message.data());
    if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), data, message.size(), bytes(digest), nullptr))
        throw std::runtime_error("HMAC-SHA256 failed");
    return digest;
}

std::string randomKey()
{
    std::string key(kHashSize, '\0');
    if (RAND_bytes(bytes(key), static_cast<int>(key.size())) != 1)
        throw std::runtime_error("no random numbers");
    return key;
}
}
