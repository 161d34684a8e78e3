#pragma once

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "machine/Recording.h"

#include <functional>
#include <memory>
#include <string>

// WMI out of a recording, and into one.
namespace HardwareInventory
{
using Platform::ManagementSource;
using OptionalSource = ZelStdCore::Result<std::unique_ptr<ManagementSource>, ZelStdCore::LastError>;

// The questions "connect [optional ]NAMESPACE" and "query NAMESPACE WQL".
OptionalSource recordedSource(Recording& recording, const std::string& connect, const std::wstring& namespacePath);

// Notes what the source answers. The answer to the question "connect" is what connect() returns or throws.
OptionalSource recordingSource(Recording& recording, const std::string& connect, const std::wstring& namespacePath,
                               const std::function<OptionalSource()>& connectSource);

// Throw std::runtime_error for what is no answer of the kind.
void checkConnection(const Json& answer);
void checkObjects(const Json& answer);
}
