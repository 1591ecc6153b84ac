#include <windows.h>

#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <tl/expected.hpp>

#include "tavhost/app/standard_streams.h"
#include "tavhost/base/file_text.h"

namespace app {

void PreparePlatformStreams() {
  for (std::FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  SetConsoleCP(CP_UTF8);
  SetConsoleOutputCP(CP_UTF8);
}

base::Result<std::string> ReadStandardInput() { return base::ReadStreamText(stdin); }

bool IsInputTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool IsOutputTerminal() { return _isatty(_fileno(stdout)) != 0; }

}  // namespace app
