// A table of 1,000,000 rows and 5 columns: read from its text, sorted by a column of numbers,
// searched. Beside ways that a program would take without it.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/compare.h"
#include "bench/table_text.h"
#include "tavhost/ui/table/table_model.h"
#include "tavhost/ui/table/table_scan.h"
#include "tavhost/ui/table/table_search.h"
#include "tavhost/ui/table/table_sort.h"

namespace {

volatile std::size_t sink;

std::vector<std::vector<std::string>> Split(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::vector<std::string>& row = rows.emplace_back();
    while (at <= end) {
      std::size_t field = text.find(';', at);
      if (field == std::string::npos || field > end) field = end;
      row.emplace_back(text, at, field - at);
      at = field + 1;
    }
    at = end + 1;
  }
  return rows;
}

std::size_t CountLineEnds(const std::string& text) {
  std::size_t count = 0;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (
      (at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at))))) {
    ++count;
    ++at;
  }
  return count;
}

std::size_t CountSeparators(const std::string& text) {
  std::size_t count = 0;
  for (const char* at = text.data(); *at; ++at) {
    at = std::strpbrk(at, ";\n");
    if (!at) break;
    ++count;
  }
  return count;
}

// Bytes of this process's own memory.
std::size_t ResidentBytes() {
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  long pages = 0;
  long resident = 0;
  if (file && std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
  if (file) std::fclose(file);
  return static_cast<std::size_t>(resident) * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void RunProgram(const std::string& command) {
  if (std::system(command.c_str()) != 0) std::fprintf(stderr, "failed: %s\n", command.c_str());
}

}  // namespace

int main() {
  const std::string text = bench::TableText();
  const auto folder =
      std::filesystem::temp_directory_path() / ("table_bench" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string file = (folder / "table.csv").string();
  {
    std::FILE* const out = std::fopen(file.c_str(), "wb");
    if (!out || std::fwrite(text.data(), 1, text.size(), out) != text.size()) return 1;
    std::fclose(out);
  }
  std::printf("1,000,000 x 5 fields, %zu MB of text\n", text.size() >> 20);

  const auto read = [&] {
    ui::TableModel table(false);
    if (!table.Read(text, nullptr, ';', '\n')) std::abort();
    sink = table.Rows();
  };
  bench::Compare("text to a table",
                 {{"ours", {}, read},
                  {"vector of vector of string", {}, [&] { sink = Split(text).size(); }},
                  {"python3 csv",
                   {},
                   [&] {
                     RunProgram(
                         "/usr/bin/python3 -c 'import csv,sys\nrows=list(csv.reader(open("
                         "sys.argv[1],newline=\"\"),delimiter=\";\"))' " +
                         file);
                   }}},
                 0.25, 5);
  bench::Compare("text to a table, beside the floor",
                 {{"ours", {}, read},
                  {"memchr over line ends", {}, [&] { sink = CountLineEnds(text); }},
                  {"strpbrk over separators", {}, [&] { sink = CountSeparators(text); }}},
                 1.0, 5);

  ui::TableModel table(false);
  if (!table.Read(text, nullptr, ';', '\n')) return 1;
  const double cells = static_cast<double>(bench::kTableRows) * bench::kTableColumns;
  std::printf("%-34s | %.2f bytes a cell beyond the text, goal 8", "memory",
              static_cast<double>(table.IndexBytes()) / cells);
  {
    const std::size_t before = ResidentBytes();
    const auto rows = Split(text);
    std::printf(" | vector of vector of string %.1f\n",
                static_cast<double>(ResidentBytes() - before) / cells);
    sink = rows.size();
  }

  bench::Compare(
      "sort by a column of numbers",
      {{"ours", {}, [&] { sink = ui::table_sort::SortedRows(table, 1, false)[0]; }},
       {"sort -t; -k2n", {}, [&] { RunProgram("LC_ALL=C sort -t';' -k2n -o /dev/null " + file); }}},
      1.0, 5);
  bench::Compare("sort by a column of texts",
                 {{"ours", {}, [&] { sink = ui::table_sort::SortedRows(table, 0, false)[0]; }},
                  {"sort -t; -k1,1",
                   {},
                   [&] { RunProgram("LC_ALL=C sort -f -t';' -k1,1 -o /dev/null " + file); }}},
                 1.0, 3);
  bench::Compare(
      "search, without regard to case",
      {{"ours", {}, [&] { sink = ui::table_search::MatchingRows(table, "PART 99999").size(); }},
       {"strcasestr over the text",
        {},
        [&] {
          std::size_t count = 0;
          for (const char* at = text.c_str(); (at = strcasestr(at, "PART 99999")); ++at) ++count;
          sink = count;
        }},
       {"grep -i -c", {}, [&] { RunProgram("grep -i -c 'PART 99999' " + file + " > /dev/null"); }}},
      1.0, 5);
  std::filesystem::remove_all(folder);
}
