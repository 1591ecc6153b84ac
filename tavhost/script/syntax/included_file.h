#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/base/string.h"

// Files that scripts include.
namespace script {

struct IncludedFile {
  std::string identity;  // the same for every name of the same file
  SV::String text;
};

// Empty when the file cannot be read; `error` then says why. Names are UTF-8.
std::optional<IncludedFile> ReadIncludedFile(const std::string& name, std::string& error);

// How a file that exists is known whatever its name; the name itself when there is no such file.
std::string IdentityOf(const std::string& name);

// The file that the file `from` means by `name`: one in the same folder, unless `name` is absolute.
std::string NameBeside(const std::string& from, std::string_view name);

}  // namespace script
