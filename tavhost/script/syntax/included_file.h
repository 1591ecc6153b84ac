#pragma once

#include <string>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/base/result.h"

// Files that scripts include.
namespace script {

struct IncludedFile {
  std::string identity;  // the same for every name of the same file
  SV::String text;
};

// Text and identity are those of one opening: a file that is replaced meanwhile is never taken for
// another. Names are UTF-8.
base::Result<IncludedFile> ReadIncludedFile(const std::string& name);

// How a file that exists is known whatever its name; the name itself when there is no such file.
std::string IdentityOf(const std::string& name);

// The file that the file `from` means by `name`: one in the same folder, unless `name` is absolute.
std::string NameBeside(const std::string& from, std::string_view name);

}  // namespace script
