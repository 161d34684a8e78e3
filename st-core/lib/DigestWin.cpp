#include "st-core/lib/Digest.h"

#include "st-core/lib/Unique.h"

#include <windows.h>

#include <bcrypt.h>

#include <stdexcept>

namespace ZelStdCore
{
namespace
{
constexpr std::size_t kSize = 32;

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

std::string digest(ULONG flags, std::string_view key, std::string_view message, const char* failure)
{
    Provider provider;
    require(BCryptOpenAlgorithmProvider(provider.put(), BCRYPT_SHA256_ALGORITHM, nullptr, flags), failure);
    Hash hash;
    require(BCryptCreateHash(provider.get(), hash.put(), nullptr, 0, bytes(key), static_cast<ULONG>(key.size()), 0), failure);
    require(BCryptHashData(hash.get(), bytes(message), static_cast<ULONG>(message.size()), 0), failure);
    std::string result(kSize, '\0');
    require(BCryptFinishHash(hash.get(), bytes(result), static_cast<ULONG>(result.size()), 0), failure);
    return result;
}
}

std::string sha256(std::string_view message)
{
    return digest(0, {}, message, "SHA-256 failed");
}

std::string hmacSha256(std::string_view key, std::string_view message)
{
    return digest(BCRYPT_ALG_HANDLE_HMAC_FLAG, key, message, "HMAC-SHA256 failed");
}

std::string randomKey()
{
    std::string key(kSize, '\0');
    require(BCryptGenRandom(nullptr, bytes(key), static_cast<ULONG>(key.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG),
            "no random numbers");
    return key;
}
}
