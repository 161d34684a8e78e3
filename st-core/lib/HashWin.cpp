#include "st-core/lib/Hash.h"

#include "st-core/lib/Unique.h"

#include <windows.h>

#include <bcrypt.h>

#include <stdexcept>

namespace ZelStdCore
{
namespace
{
void closeProvider(BCRYPT_ALG_HANDLE provider)
{
    BCryptCloseAlgorithmProvider(provider, 0);
}

using Provider = Unique<BCRYPT_ALG_HANDLE, closeProvider>;
using Hash = Unique<BCRYPT_HASH_HANDLE, BCryptDestroyHash>;

UCHAR* bytes(std::string_view text)
{
    return reinterpret_cast<UCHAR*>(const_cast<char*>(text.data())); // read alone
}

void require(NTSTATUS status, const char* failure)
{
    if (status < 0)
        throw std::runtime_error(failure);
}

std::string digest(std::string_view key, std::string_view message, ULONG flags, const char* failure)
{
    Provider provider;
    require(BCryptOpenAlgorithmProvider(provider.put(), BCRYPT_SHA256_ALGORITHM, nullptr, flags), failure);
    Hash hash;
    require(BCryptCreateHash(provider.get(), hash.put(), nullptr, 0, bytes(key), static_cast<ULONG>(key.size()), 0), failure);
    require(BCryptHashData(hash.get(), bytes(message), static_cast<ULONG>(message.size()), 0), failure);
    std::string digest(kHashSize, '\0');
    require(BCryptFinishHash(hash.get(), bytes(digest), static_cast<ULONG>(digest.size()), 0), failure);
    return digest;
}
}

std::string sha256(std::string_view message)
{
    return digest({}, message, 0, "SHA-256 failed");
}

std::string hmacSha256(std::string_view key, std::string_view message)
{
    return digest(key, message, BCRYPT_ALG_HANDLE_HMAC_FLAG, "HMAC-SHA256 failed");
}

std::string randomKey()
{
    std::string key(kHashSize, '\0');
    require(BCryptGenRandom(nullptr, bytes(key), static_cast<ULONG>(key.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG),
            "no random numbers");
    return key;
}
}
