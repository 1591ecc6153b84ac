#pragma once

// Files that plug-ins have opened for writing and forgotten.
namespace open_output_files {

// At the end of the host, while all that they need is there: closes what is open, and so stores
// files of the database area. What cannot be stored is told on standard error; false then.
bool CloseAll();

// At the end of a run that was cut short: closes what is open and stores no file of the database
// area, which keeps what it held before.
void DropAll();

}  // namespace open_output_files
