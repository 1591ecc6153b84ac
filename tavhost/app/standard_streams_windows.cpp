#include <windows.h>

#include <cstdio>

#include <fcntl.h>
#include <io.h>

#include "tavhost/app/standard_streams.h"

namespace app {

void PreparePlatformStreams() {
  for (std::FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  SetConsoleCP(CP_UTF8);
  SetConsoleOutputCP(CP_UTF8);
}

bool IsInputTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool IsOutputTerminal() { return _isatty(_fileno(stdout)) != 0; }

}  // namespace app
