#include "tests/unit/providers/CorpusMachine.h"

#include "st-core/lib/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <cwctype>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace fakes
{
namespace
{
    FakeValue valueOf(const nlohmann::json& variant)
    {
        const std::string type = variant.at("vt");
        const nlohmann::json& value = variant.at("v");
        if (type == "NULL")
            return Null{};
        if (type == "BSTR")
            return ZelStdCore::widen(value.get<std::string>());
        if (type == "I4")
            return static_cast<std::int32_t>(value.get<std::int64_t>());
        if (type == "BOOL")
            return value.get<bool>();
        if (type.find("ARRAY") == std::string::npos || type.find("BSTR") == std::string::npos)
            return OtherType{};
        Texts texts;
        for (const std::string text : value)
            texts.push_back(ZelStdCore::widen(text));
        return texts;
    }

    FakeObject objectOf(const nlohmann::json& properties)
    {
        FakeObject object;
        for (const auto& [name, variant] : properties.items())
            object[ZelStdCore::widen(name)] = valueOf(variant);
        return object;
    }

    bool sameIgnoringCase(const std::wstring& left, const std::wstring& right)
    {
        return std::ranges::equal(left, right, {}, std::towlower, std::towlower);
    }

    template <class Condition>
    FakeObjects filtered(FakeObjects objects, const Condition& keep)
    {
        std::erase_if(objects, [&](const FakeObject& object) { return !keep(object); });
        return objects;
    }
}

std::optional<std::filesystem::path> corpusFolder()
{
    const char* folder = std::getenv("HW_INVENTORY_CORPUS");
    if (!folder || !std::filesystem::is_directory(folder))
        return std::nullopt;
    return folder;
}

FakeObjects CorpusMachine::objectsOf(const std::wstring& managementClass) const
{
    const auto found = classes.find(managementClass);
    return found == classes.end() ? FakeObjects() : found->second;
}

FakeObjects CorpusMachine::query(const std::wstring& wql) const
{
    static const std::wregex all(LR"(SELECT \* FROM (\w+))");
    static const std::wregex some(LR"(SELECT \* FROM (\w+) WHERE (\w+) ?= ?'([^']*)')");
    static const std::wregex partitions(
        LR"(ASSOCIATORS OF \{Win32_DiskDrive.DeviceID='\D*(\d+)'\} WHERE ResultClass=(Win32_DiskPartition))");
    std::wsmatch match;
    if (std::regex_match(wql, match, all))
        return objectsOf(match[1]);
    if (std::regex_match(wql, match, some))
        return filtered(objectsOf(match[1]), [&](const FakeObject& object)
                        { return sameIgnoringCase(textOf(object, match[2].str().c_str()), match[3]); });
    if (std::regex_match(wql, match, partitions))
        return filtered(objectsOf(match[2]), [&](const FakeObject& object)
                        { return textOf(object, L"DeviceID").starts_with(L"Disk #" + match[1].str() + L","); });
    throw std::logic_error("no reader is expected to ask " + ZelStdCore::toUtf8(wql));
}

std::vector<CorpusMachine> readCorpusMachines(const std::filesystem::path& folder)
{
    std::vector<CorpusMachine> machines;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        if (entry.path().extension() != ".json")
            continue;
        CorpusMachine& machine = machines.emplace_back();
        machine.name = entry.path().stem().string();
        std::ifstream file(entry.path(), std::ios::binary);
        const auto classes = nlohmann::json::parse(file);
        for (const auto& [name, objects] : classes.items())
        {
            for (const auto& object : objects)
                machine.classes[ZelStdCore::widen(name)].push_back(objectOf(object));
        }
    }
    return machines;
}

Texts readCorpusTexts(const std::filesystem::path& path)
{
    Texts texts;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);)
    {
        if (!line.starts_with("#"))
            texts.push_back(ZelStdCore::widen(line.substr(0, line.find('\t'))));
    }
    return texts;
}

std::wstring textOf(const FakeObject& object, const wchar_t* property)
{
    const auto found = object.find(property);
    const std::wstring* text = found == object.end() ? nullptr : std::get_if<std::wstring>(&found->second);
    return text ? *text : std::wstring();
}
}
