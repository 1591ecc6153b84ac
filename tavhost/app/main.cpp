#include "tavhost/app/program.h"
#include "tavhost/app/program_arguments.h"

int main(int count, char** arguments) {
  return app::RunProgram(app::ProgramArguments(count, arguments));
}
