#pragma once

#include "tests/fakes/FakeManagementSource.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace fakes
{
// The corpus: data of real machines, in a folder named by the environment variable HW_INVENTORY_CORPUS. Nothing when that is no
// folder.
std::optional<std::filesystem::path> corpusFolder();

// What a real machine's management service told: its objects by class. A machine does not have every class.
struct CorpusMachine
{
    std::string name;
    std::map<std::wstring, FakeObjects, IgnoringCase> classes;

    FakeObjects objectsOf(const std::wstring& managementClass) const;

    // The readers' queries: all objects of a class, those with one property of a value, and the partitions of a drive, which the
    // numbers in the identifiers of both tell.
    FakeObjects query(const std::wstring& wql) const;
};

std::vector<CorpusMachine> readCorpusMachines(const std::filesystem::path& folder);

// The first column of a table of the corpus, comments left out.
Texts readCorpusTexts(const std::filesystem::path& file);

// A property's text, empty when it has none.
std::wstring textOf(const FakeObject& object, const wchar_t* property);
}
