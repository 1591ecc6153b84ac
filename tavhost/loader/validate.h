#pragma once

#include <string>

namespace loader {

// Tests in child processes whether a plug-in keeps to what the host expects of it, prints what
// came out, and returns the program's exit code: 0 only when all tests ran and passed.
int RunValidate(const std::string& path, bool json);

// The child's part, `tavhost validate-child PLUGIN TEST MARK`: runs one test and prints its verdict
// on a line that begins with the mark.
int RunValidateChild(const std::string& path, const std::string& test, const std::string& mark);

}  // namespace loader
