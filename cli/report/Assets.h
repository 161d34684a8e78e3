#pragma once

#include "cli/EmbeddedFile.h"

#include <string>

namespace HardwareInventory
{
// report.css and report.js
extern const EmbeddedFile kReportFiles[2];

// Of the page that htmlReport makes.
std::string reportStyle();
std::string reportScript();

// "'sha256-...'", by which a content security policy names a style or a script.
std::string policySource(std::string_view text);
}
