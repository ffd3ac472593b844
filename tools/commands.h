// The lumomath tool's commands. Each takes the arguments after its name,
// prints its results on stdout and returns the exit status; problems a
// person must fix are thrown as ToolError (UsageError for a malformed
// command line).
#pragma once

#include <string>
#include <vector>

#include "image.h"

namespace lumotool {

using Args = std::vector<std::string>;

int RunResize(const Args& args);
int RunOtf(const Args& args);
int RunInfo(const Args& args);
int RunDemo(const Args& args);

}  // namespace lumotool
