#include "machine/Hmac.h"

#include "st-core/lib/Unique.h"

#include <windows.h>

#include <bcrypt.h>

#include <stdexcept>

namespace HardwareInventory
{
namespace
{
constexpr std::size_t kSize = 32;

void closeProvider(BCRYPT_ALG_HANDLE provider)
{
    BCryptCloseAlgorithmProvider(provider, 0);
}

using Provider = ZelStdCore::Unique<BCRYPT_ALG_HANDLE, closeProvider>;
using Hash = ZelStdCore::Unique<BCRYPT_HASH_HANDLE, BCryptDestroyHash>;

UCHAR* bytes(std::string_view text)
{
    return reinterpret_cast<UCHAR*>(const_cast<char*>(text.data())); // read alone
}

void require(NTSTATUS status, const char* failure)
{
    if (status < 0)
        throw std::runtime_error(failure);
}
}

std::string hmacSha256(std::string_view key, std::string_view message)
{
    constexpr const char* kFailure = "HMAC-SHA256 failed";
    Provider provider;
    require(BCryptOpenAlgorithmProvider(provider.put(), BCRYPT_SHA256_ALGORITHM, nullptr, BCRYPT_ALG_HANDLE_HMAC_FLAG), kFailure);
    Hash hash;
    require(BCryptCreateHash(provider.get(), hash.put(), nullptr, 0, bytes(key), static_cast<ULONG>(key.size()), 0), kFailure);
    require(BCryptHashData(hash.get(), bytes(message), static_cast<ULONG>(message.size()), 0), kFailure);
    std::string digest(kSize, '\0');
    require(BCryptFinishHash(hash.get(), bytes(digest), static_cast<ULONG>(digest.size()), 0), kFailure);
    return digest;
}

std::string randomKey()
{
    std::string key(kSize, '\0');
    require(BCryptGenRandom(nullptr, bytes(key), static_cast<ULONG>(key.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG),
            "no random numbers");
    return key;
}
}
