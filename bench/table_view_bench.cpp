// A table of 1,000,000 rows and 5 columns from its text to the first paint, drawn without a
// display, beside the toolkit's own general model.
#include <QApplication>
#include <QFile>
#include <QStandardItemModel>
#include <QTableView>
#include <cstdio>
#include <memory>

#include "bench/compare.h"
#include "bench/table_text.h"
#include "tavhost/qt/table_panel.h"

namespace {

template <typename Widget>
void Paint(Widget& widget) {
  widget.resize(900, 600);
  widget.show();
  QApplication::processEvents();
  widget.grab();
}

double Resident() {
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  long pages = 0;
  long resident = 0;
  if (file && std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
  if (file) std::fclose(file);
  return static_cast<double>(resident) * 4096 / (1 << 20);
}

void FillStandardModel(QStandardItemModel& items, const std::string& text) {
  int row = -1;
  std::size_t at = 0;
  items.setColumnCount(bench::kTableColumns);
  items.setRowCount(bench::kTableRows);
  while (at < text.size()) {
    for (int column = 0; column < bench::kTableColumns; ++column) {
      const std::size_t end = text.find(column + 1 < bench::kTableColumns ? ';' : '\n', at);
      const QString field = QString::fromUtf8(text.data() + at, static_cast<qsizetype>(end - at));
      if (row < 0) {
        items.setHorizontalHeaderItem(column, new QStandardItem(field));
      } else {
        items.setItem(row, column, new QStandardItem(field));
      }
      at = end + 1;
    }
    ++row;
  }
}

// A whole program that shows the table in that file once, to be measured from outside.
int ShowOnce(const char* path) {
  QFile file(QString::fromLocal8Bit(path));
  if (!file.open(QIODevice::ReadOnly)) return 1;
  const QByteArray text = file.readAll();
  ui::TableModel table(false);
  if (!table.Read({text.constData(), static_cast<std::size_t>(text.size())}, nullptr, ';', '\n')) {
    return 1;
  }
  ui::TablePanel panel(table, false);
  Paint(panel);
  return 0;
}

}  // namespace

//   table_view_bench               compares
//   table_view_bench write FILE    writes the table's text
//   table_view_bench once FILE     shows it once
int main(int count, char** arguments) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(count, arguments);
  if (count == 3 && std::string_view(arguments[1]) == "once") return ShowOnce(arguments[2]);
  const std::string text = bench::TableText();
  if (count == 3) {
    QFile out(QString::fromLocal8Bit(arguments[2]));
    const auto size = static_cast<qint64>(text.size());
    return out.open(QIODevice::WriteOnly) && out.write(text.data(), size) == size ? 0 : 1;
  }
  ui::TableModel parsed(false);
  if (!parsed.Read(text, nullptr, ';', '\n')) return 1;
  {
    ui::TableModel small(false);  // what every window costs: fonts, styles
    ui::TablePanel panel(small, false);
    Paint(panel);
  }
  std::vector<double> paints;
  for (int round = 0; round < 9; ++round) {
    const double before = bench::CpuSeconds();
    ui::TablePanel panel(parsed, false);
    Paint(panel);
    paints.push_back(bench::CpuSeconds() - before);
  }
  std::printf("%-34s | ours %.1f ms, must be below 100\n", "first paint of a table that is read",
              bench::Median(paints) * 1e3);

  const double empty = Resident();
  double ours = 0;
  double theirs = 0;
  bench::Compare("1,000,000 x 5 from text to first paint",
                 {{"ours",
                   {},
                   [&] {
                     ui::TableModel table(false);
                     if (!table.Read(text, nullptr, ';', '\n')) std::abort();
                     ui::TablePanel panel(table, false);
                     Paint(panel);
                     // Before the other has run: what it frees may stay with the process.
                     if (ours == 0) ours = Resident() - empty;
                   }},
                  {"QStandardItemModel",
                   {},
                   [&] {
                     QStandardItemModel items;
                     FillStandardModel(items, text);
                     QTableView view;
                     view.setModel(&items);
                     Paint(view);
                     theirs = Resident() - empty;
                   }}},
                 0.03, 3);
  std::printf("%-34s | ours %.0f MiB | QStandardItemModel %.0f MiB | goal 0.06\n",
              "memory beyond the text", ours, theirs);
}
