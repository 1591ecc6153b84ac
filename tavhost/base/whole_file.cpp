#include "tavhost/base/whole_file.h"

#include <tl/expected.hpp>

namespace base {

Result<void> WriteWholeFile(const std::string& path, std::string_view bytes,
                            const WholeFile::Options& options) {
  Result<std::unique_ptr<WholeFile>> file = WholeFile::Open(path, options);
  if (!file) return tl::unexpected<Error>(file.error());
  if (Result<void> written = (*file)->Write(bytes); !written) return written;
  return (*file)->Store();
}

}  // namespace base
